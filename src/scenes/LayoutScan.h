// Finds the records of a scene for a write, and the fingerprint of them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "scenes/Findings.h"

namespace orbo::Data {

/// Null, with a finding, when the file cannot be written as it is. With `mostRecords`, looks only
/// for so many of the last records in kinds that are scanned from the end.
std::unique_ptr<SceneLayout> scanLayout(const SceneKind& kind, SceneInput& input,
                                        const WritePolicy& policy, Findings& findings,
                                        std::optional<std::size_t> mostRecords = std::nullopt);

/// The value of the `Fingerprint` of all records, or of the last `count`. `tail` is everything from
/// `layout.begin` on; if it is empty the records are read from the input. The result is empty when
/// they cannot be read.
std::optional<std::uint64_t> fingerprintOf(const SceneLayout& layout, std::string_view tail,
                                           SceneInput& input,
                                           std::optional<std::size_t> count = std::nullopt);

}  // namespace orbo::Data
