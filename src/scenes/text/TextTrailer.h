// The last line of a text scene, "// End of", and what depends on it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <cstdint>
#include <optional>

#include "files/File.h"
#include "scenes/text/TextLayout.h"

namespace orbo::Data {

/// Reports a trailer that is missing, and text behind its line.
void reportTrailer(Files::File& file, std::optional<std::uint64_t> trailer, std::uint64_t fileSize,
                   SceneVisitor& visitor);

/// False, with a finding, for a scene without a trailer: it may have lost its end, so nothing is
/// written into it.
bool checkTrailer(std::optional<std::uint64_t> trailer, std::uint64_t fileSize, bool hasStatements,
                  SceneVisitor& visitor);

/// False when the scene has no metadata yet and is too short for a first section, or its trailer
/// too long, unless the policy takes any size.
bool checkFirstSection(const TextLayout& layout, const WritePolicy& policy, Finding& problem);

}  // namespace orbo::Data
