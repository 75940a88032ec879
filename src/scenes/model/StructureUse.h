// Which structures a record needs that a write leaves in the file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "scenes/SceneRecord.h"

namespace orbo::Data {

struct StructureUse {
    std::string structure;
    std::string node;
    /// "Node 'n', channel 'c', stream 's'", for people.
    std::string place;
};

/// The structures out of `names` that the associations need, each once. This thread's registry
/// holds all structures of the file; it changes for the duration of the call. A text in a format
/// that nobody registered may need any of them.
std::vector<StructureUse> usesOf(const SceneRecord& record, const std::set<std::string>& names);

/// The same for the bytes of a statement that could not be taken apart.
std::vector<StructureUse> usesIn(std::string_view statement, const std::set<std::string>& names);

}  // namespace orbo::Data
