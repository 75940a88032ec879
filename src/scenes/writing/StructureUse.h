// Finds which structures a kept record needs.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneRecord.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "formats/TextPlace.h"

namespace orbo::Data {

/// A use of a structure by associations that stay in the file, or a possible one.
struct StructureUse {
    std::string structure;
    std::optional<std::string> node;  // empty for the scene; none where it cannot be told
    TextPlace where;                  // channel and stream, as far as they are known
    std::string words;                // "Node 'n', channel 'c', stream 's'"
};

/// Tells which of the structures in `names` the associations need, each once. This thread's
/// registry holds the structures of the file and is changed during the call. A text in a format
/// that nobody registered may need any of them.
std::vector<StructureUse> usesOf(const SceneRecord& record, const std::set<std::string>& names);

/// The same for the bytes of a statement that could not be taken apart.
std::vector<StructureUse> usesIn(std::string_view statement, const std::set<std::string>& names);

}  // namespace orbo::Data
