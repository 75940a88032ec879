// Puts the metadata of a document into a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/DocumentReader.h"
#include "scene/SceneFile.h"

#include <set>
#include <string>

namespace orbo::Quilmeta {

enum class ImportHow {
    kMerge,    ///< streams and structures replace those of the same name; all others stay
    kReplace,  ///< the scene has afterwards what the document has
};

/// Streams that stay use structures which the document has in another form.
class StructuresInTheWay : public CommandError {
  public:
    using CommandError::CommandError;
};

/// Throws `CommandError` when metadata of these nodes is in the scene but cannot be read: nobody
/// can tell what a change would replace. A scene that is complete has no such metadata.
void demandReadable(const Data::Accessor& scene, bool isComplete,
                    const std::set<std::string>& nodes);

/// Changes the scene in memory, which shares the content of the model then. Throws `CommandError`
/// with everything that stands in the way, a line each, and the scene as it was: a structure that
/// would change under a stream that stays (`StructuresInTheWay`), or metadata that cannot be read
/// and may be meant.
void import(const SceneModel& model, Data::Accessor& scene, bool isComplete, ImportHow how);
/// The same for a scene that a command has opened.
inline void import(const SceneModel& model, const Scene& scene, ImportHow how) {
    import(model, *scene.accessor, scene.complete, how);
}

/// Says after a write that was refused what of the document the scene cannot hold, with lines and
/// paths; empty when it was refused for another reason. The scene in memory is of no use then.
JsonProblems refusedPartsOf(const SceneModel& model, Data::Accessor& scene);

}  // namespace orbo::Quilmeta
