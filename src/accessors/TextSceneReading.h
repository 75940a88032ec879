// Feeds the metadata statements of a text scene to a reading of the model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "accessors/ModelReading.h"
#include "accessors/TextSceneScanner.h"
#include "files/File.h"

namespace orbo::Data {

/// Scans until the reading wants no more. False, with a message, when the file cannot be read.
bool readStatements(Files::File& file, TextSceneScanner& scanner, ModelReading& reading,
                    std::string& errors);

}  // namespace orbo::Data
