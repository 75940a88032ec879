// New names for what a scene holds: all that a pattern fits, at once.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "editing/Parts.h"
#include "selection/NamePatterns.h"
#include "values/Glob.h"

#include <data/Accessor.h>

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Makes a new name of an old one: what the wildcards of the old name's pattern stand for takes the
/// places of the wildcards of the new one's, by position.
class NewName {
  public:
    /// Takes a new name for each pattern, or one for all. The first pattern that fits a name
    /// counts. Throws `UsageError` unless a pattern has the wildcards of its new name, in number
    /// and kind. `option` is the one that `to` was given by, for the message.
    NewName(const std::vector<std::string>& from, const std::vector<std::string>& to,
            NamePatterns::As as, const char* option = "--to");

    /// No value for a name that no pattern fits.
    [[nodiscard]] std::optional<std::string> of(const std::string& name) const;

  private:
    struct Pair {
        Glob from, to;
    };
    std::vector<Pair> fPairs;
};

/// Renames within one set of names, such as the streams of a channel.
struct Renames {
    /// The pairs of old and new names that differ.
    std::map<std::string, std::string> pairs;
    size_t selected = 0;  ///< names that a pattern fits, those that stay the same included
};

/// Plans the renames of `selected`, which are some of `names`. Adds a line for each name that two
/// would have, and for each that would be empty, to `collisions`; `place` says what the names are
/// of, as in `node arm, channel`.
Renames planRenames(const std::set<std::string>& names, const std::set<std::string>& selected,
                    const NewName& newName, const std::string& place, std::string& collisions);

/// What was renamed in a scene.
struct Renamed {
    size_t selected = 0;    ///< what the patterns fit
    size_t changed = 0;     ///< what has another name now
    size_t references = 0;  ///< rows of the table of external files that name another node now
};

/// Renames what the selection finds on its deepest level. Throws `CommandError` that lists all
/// collisions, with nothing changed.
Renamed renameParts(Data::Accessor& scene, const Selection& selection, const NewName& newName);
/// Renames structures, and thereby their streams' structures.
Renamed renameStructures(Data::Accessor& scene, const NewName& newName);
/// Renames members of the structures with these names.
Renamed renameMembers(Data::Accessor& scene, const NamePatterns& structures,
                      const NewName& newName);
/// Gives the elements with the index `from` the index `to`, in the streams that the selection
/// finds.
Renamed renameElements(Data::Accessor& scene, const Selection& selection, const std::string& from,
                       const std::string& to);
/// Renames the nodes that the rows of the table of external files name, whether or not these nodes
/// have metadata.
size_t renameReferences(Data::Stream& table, const NewName& newName);

}  // namespace orbo::Quilmeta
