// Feeds the metadata statements of a text scene to a reading of the model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "files/File.h"
#include "scenes/Findings.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/text/TextSceneScanner.h"

namespace orbo::Data {

/// True, with a finding, when the file could not be read there.
bool isFailure(TextSceneScanner::Result result, std::uint64_t offset, Findings& findings);

/// Scans until the reading wants no more. False, with a finding, when the file cannot be read.
bool readStatements(Files::File& file, TextSceneScanner& scanner, ModelReading& reading,
                    Findings& findings);

/// Finds a trailer that is missing, and text behind its line.
void checkTextSceneTrailer(Files::File& file, std::optional<std::uint64_t> trailer,
                           std::uint64_t fileSize, Findings& findings);

}  // namespace orbo::Data
