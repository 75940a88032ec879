// The model's texts, in the format that scene files hold.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/Structure.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "accessors/SceneRecord.h"

namespace orbo::Data {

/// Both are empty, with the format's messages in `errors`, when the format counts an error.
std::optional<SceneRecord> recordOf(const Structure& structure, std::string& errors);
std::optional<SceneRecord> recordOf(const std::string& node, const Associations& associations,
                                    bool exactNumbers, std::string& errors);

/// The names of all structures that an associations text needs, and some more where values look
/// like one.
std::set<std::string> structuresNamedIn(std::string_view text);

}  // namespace orbo::Data
