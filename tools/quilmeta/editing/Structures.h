// The structures of a scene, who uses them, and what may be changed about them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "selection/NamePatterns.h"

#include <data/Accessor.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <map>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

using StructuresByName = std::map<std::string, RefPtr<const Data::Structure>>;
/// The structures that the scene defines and those that its streams use.
StructuresByName structuresOf(const Data::Accessor& scene);

/// The places of the streams that use each structure, by its name, such as
/// `node arm, channel "joints", stream "pose"`.
std::map<std::string, std::vector<std::string>> usersOfStructures(const Data::Accessor& scene);

/// Throws `CommandError` that lists the structures there are, or names one that was perhaps meant.
const Data::Structure& findStructure(const Data::Accessor& scene, const std::string& name);

/// Makes a structure of a text such as "name=Tag:int32=ID:float[3]=Origin". Throws `CommandError`
/// for a text with another meaning than it seems to have: a name that comes twice, a length of 0.
RefPtr<const Data::Structure> parseStructure(const std::string& text);

/// Adds the structure to the scene, and returns false when the scene has an equal one. Throws
/// `CommandError` when the scene has another one of that name.
bool define(Data::Accessor& scene, const Data::Structure& structure);

/// A structure with the members of `structure` and those behind them that `members` lists, as in
/// "float[3]=Origin". It is equal to `structure` when that has them all. Throws `CommandError` when
/// it has one of another type.
RefPtr<const Data::Structure> withMembers(const Data::Structure& structure,
                                          const std::vector<std::string>& members);

/// Structures that take the place of others, by the name of the other. The members of the other
/// come first, in their order; their names may differ.
using Replacements = StructuresByName;

/// Replaces structures in the scene, and in all streams that use them: elements keep the values of
/// the old members, and new members have default values.
void replaceStructures(Data::Accessor& scene, const Replacements& replacements);

/// Which structures to remove.
struct StructuresToRemove {
    NamePatterns names;
    bool unusedOnly = false;  ///< leave those that streams use, instead of refusing
};

/// Removes the structures and returns how many. Throws `CommandError` that names the users of each
/// one that is in use. In a scene that is not `complete`, metadata that cannot be read may use any.
size_t removeStructures(Data::Accessor& scene, const StructuresToRemove& wanted, bool complete);

}  // namespace orbo::Quilmeta
