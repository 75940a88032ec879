// The model's texts, in the format that scene files hold.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "formats/WriteContext.h"
#include "scenes/Findings.h"

namespace orbo::Data {

/// Both functions return nothing, and add the format's messages as findings, when the format
/// reports an error.
std::optional<SceneRecord> recordOf(const Structure& structure, Findings& findings);
std::optional<SceneRecord> recordOf(const std::string& node, const Associations& associations,
                                    bool exactNumbers, Findings& findings);

/// A text that took over what was kept.
struct KeptRecord {
    SceneRecord record;
    /// Where the kept parts stand in the text.
    std::vector<std::pair<std::size_t, std::size_t>> places;
};
/// `expectedSize` is a hint, in bytes.
std::optional<KeptRecord> recordOf(const std::string& node, const Associations& associations,
                                   KeptTexts kept, std::size_t expectedSize, bool exactNumbers,
                                   Findings& findings);

}  // namespace orbo::Data
