// Opens and writes a scene file the way every command does.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/CommandError.h"
#include "process/Outcome.h"
#include "scene/SceneAccess.h"

#include <data/Accessor.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// What to read of a scene; nodes by name, the scene itself being the empty one.
struct SceneNames {
    std::set<std::string> structures;
    std::optional<std::set<std::string>> nodes;  ///< all if there are none
};

/// Reads the file, with the careful write policy and unknown index types as text. Statements that
/// could not be used are reported to standard error, and `complete` says that there were none.
/// Without names all is read. Throws `CommandError` when there is nothing to work on.
std::unique_ptr<Data::Accessor> openScene(const std::string& file, const SceneAccess& access,
                                          bool* complete = nullptr,
                                          const SceneNames* names = nullptr);

/// All there is to find in a file. Throws `CommandError` when it cannot be read, or is no scene by
/// its extension.
std::vector<Data::Finding> checkScene(const std::string& file, const SceneAccess& access);

/// Whether all that the file says of these nodes can be read. For files where something cannot be:
/// it reads the file once more.
bool isReadable(const std::string& file, const std::set<std::string>& nodes);

/// Whether some of the file's metadata cannot be read for want of this structure. For files where
/// something cannot be: it reads the file once more.
bool lacksStructure(const std::string& file, const std::string& name);

/// The empty name is the scene's own. Throws `CommandError` that lists the nodes there are.
Data::Associations& findNode(Data::Accessor& scene, const std::string& name);

/// Writes it back to its file, or goes through the checks of that. Throws `CommandError` when that
/// is refused or fails, the file being as it was, and `Conflict` when it is refused because
/// somebody else changed the metadata since the read.
void writeScene(const Data::Accessor& scene, const SceneAccess& access);

class Conflict : public CommandError {
  public:
    using CommandError::CommandError;
};

/// Calls `edit`, which reads, changes and writes a scene, again after a conflict: a few times, and
/// for as long as the access has patience.
Outcome repeatAfterConflict(const SceneAccess& access, const std::function<Outcome()>& edit);

}  // namespace orbo::Quilmeta
