// The external files that a scene refers to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/SceneFile.h"

#include <data/Stream.h>

#include <set>
#include <string>

namespace orbo::Quilmeta {

/// One row of the table.
struct Reference {
    std::string node, key, path, resolvedPath;
    std::set<std::string> roles;
};

/// Listing the table needs only the scene's own metadata. Writing it reads all nodes, so that each
/// keeps its place in the file.
enum class ReferencesFor { kReading, kWriting };

/// Opens a scene whose table is to be used, and reads no more than that takes. Throws
/// `CommandError` as `openScene` does.
Scene openForReferences(const std::string& file, const SceneAccess& access, ReferencesFor purpose);

/// The table of external files; null when the scene has none. It belongs to the scene. Throws
/// `CommandError` for a table that lacks one of the members. When the scene is not `complete`, a
/// table may be in the part that was not read.
Data::Stream* tableOf(const Scene& scene);

/// A copy of what a row of the table says.
Reference referenceOf(Data::Handle& row);

/// Sets both paths of a row. Throws `CommandError` when the table cannot hold one of them.
void setPaths(Data::Handle& row, const std::string& path, const std::string& resolvedPath);

}  // namespace orbo::Quilmeta
