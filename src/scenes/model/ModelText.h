// The model's texts, in the format that scene files hold.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>

#include <optional>
#include <string>
#include <vector>

#include "formats/WriteContext.h"
#include "scenes/Findings.h"

namespace orbo::Data {

/// Both functions return nothing, and add the format's messages as findings, when the format
/// reports an error.
std::optional<SceneRecord> recordOf(const Structure& structure, Findings& findings);
std::optional<SceneRecord> recordOf(const std::string& node, const Associations& associations,
                                    bool exactNumbers, Findings& findings);

/// A record without the texts that were kept, and where they belong.
struct KeptRecord {
    SceneRecord record;
    std::vector<WriteContext::Place> places;
};
std::optional<KeptRecord> recordOf(const std::string& node, const Associations& associations,
                                   KeptTexts kept, bool exactNumbers, Findings& findings);

}  // namespace orbo::Data
