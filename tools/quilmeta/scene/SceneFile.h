// Opens, checks and writes a scene file the way every command does.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/CommandError.h"
#include "scene/SceneAccess.h"
#include "selection/Selection.h"

#include <data/Accessor.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// The part of a scene to read; the scene's own metadata has the empty node name.
struct SceneNames {
    std::set<std::string> structures;
    std::optional<std::set<std::string>> nodes;  ///< all nodes when there is no value
};

/// A scene that was read.
struct Scene {
    std::unique_ptr<Data::Accessor> accessor;
    bool complete = false;  ///< all metadata that was to be read could be read
    /// The part that was read; all of the scene when there is no value.
    std::optional<SceneNames> names = {};

    [[nodiscard]] Outcome outcome() const {
        return complete ? Outcome::kDone : Outcome::kUnreadable;
    }
};

/// Reads the file, with the careful write policy and unknown index types as text; all of it without
/// `names`. Reports metadata that cannot be read to standard error. Throws `CommandError` when the
/// file is no scene or cannot be read at all.
Scene openScene(const std::string& file, const SceneAccess& access,
                const SceneNames* names = nullptr);

/// Whether a read with these findings has read all metadata that was to be read.
bool isComplete(const std::vector<Data::Finding>& findings);

struct TwoScenes {
    Scene left, right;
};
/// Room for the only scenes of a command. The end of the process frees them all at once; to take
/// two large scenes apart would take a tenth of the time of comparing them.
TwoScenes& lastingScenes();

/// The same as `openScene`, but nodes that the selection does not want stay unloaded. For commands
/// that only look.
Scene openSelected(const std::string& file, const SceneAccess& access, const Selection& selection);

/// Whether the accessor that serves the file's extension takes the file for a scene.
bool isScene(const std::string& file);

/// Holds what a check finds in a file.
struct CheckedScene {
    std::unique_ptr<Data::Accessor> accessor;  ///< what could be read
    std::vector<Data::Finding> findings;
};
/// Throws `CommandError` when the file cannot be read, or no accessor serves its extension.
CheckedScene checkScene(const std::string& file, const SceneAccess& access);

/// Whether all metadata of these nodes can be read. Reads the file once more, so ask it only about
/// scenes that are not `complete`.
bool isReadable(const std::string& file, const std::set<std::string>& nodes);

/// Whether some metadata cannot be read because the file lacks this structure. Reads the file once
/// more, so ask it only about scenes that are not `complete`.
bool lacksStructure(const std::string& file, const std::string& name);

/// Somebody else has changed the metadata since it was read.
class Conflict : public CommandError {
  public:
    using CommandError::CommandError;
};

/// Writes the scene to its file. A dry run only checks whether that would work, and prints what
/// would change to `output`, which is that of the scene's results. Throws `CommandError` when the
/// write is refused or fails, and `Conflict` when it is refused because of somebody else's change.
/// The file is as before then. False when the scene has had these contents already: then nothing is
/// written, nor copied ahead of that.
bool writeScene(const Scene& scene, const SceneAccess& access, Output& output);

/// Calls `edit`, which opens, changes and writes one scene, and calls it again after a `Conflict`:
/// a few times at least, and as long as the access has patience.
FileResult repeatAfterConflict(const SceneAccess& access, const std::function<FileResult()>& edit);

/// `forEachFile` for an `edit` that changes one scene, with `repeatAfterConflict` around each.
Outcome editFiles(const std::vector<std::string>& files, const SceneAccess& access,
                  const EachFile& how, Output& output, const FileWork& edit);

}  // namespace orbo::Quilmeta
