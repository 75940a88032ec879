// The model's texts, in the format that scene files hold.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scenes/Findings.h"

namespace orbo::Data {

/// Both are empty, with the format's messages as findings, when the format counts an error.
std::optional<SceneRecord> recordOf(const Structure& structure, Findings& findings);
std::optional<SceneRecord> recordOf(const std::string& node, const Associations& associations,
                                    bool exactNumbers, Findings& findings);

/// A structure that an associations text names, and where it does.
struct NamedStructure {
    std::string structure;
    std::string channel;
    std::string stream;
};

/// All structures that the text needs, and some more where values look like the line of one.
std::vector<NamedStructure> structuresNamedIn(std::string_view text);

}  // namespace orbo::Data
