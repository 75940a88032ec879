// The external files that a scene refers to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/SceneAccess.h"

#include <data/Accessor.h>
#include <data/Stream.h>

#include <memory>
#include <set>
#include <string>

namespace orbo::Quilmeta {

struct Reference {
    std::string node, key, path, resolvedPath;
    std::set<std::string> roles;
};

/// A scene, and the table in it.
struct SceneReferences {
    std::unique_ptr<Data::Accessor> scene;
    Data::Stream* table = nullptr;  ///< null when there is none
    /// Nothing that was read was unreadable. Without a table there may be one otherwise.
    bool complete = false;
};

/// To look at the table, the scene's own metadata is enough. To write it the nodes are read, too,
/// so that each keeps its place in the file.
enum class ReferencesFor { kReading, kWriting };
/// Throws `CommandError`, also for a table that lacks one of the members.
SceneReferences openReferences(const std::string& file, const SceneAccess& access,
                               ReferencesFor purpose);
/// Of an element of the table.
Reference referenceOf(Data::Handle& row);

}  // namespace orbo::Quilmeta
