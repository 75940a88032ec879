// One edit of many scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/SceneFile.h"
#include "selection/FileList.h"
#include "selection/NameHints.h"

#include <cstddef>
#include <functional>
#include <string>

namespace orbo::Quilmeta {

/// Says what an edit has made of a scene in memory.
struct Edited {
    size_t selected = 0;   ///< what the user's selection found
    bool changed = false;  ///< the scene has to be written
    std::string report;    ///< a note for people, such as "2 streams removed"
};

/// Opens each scene, edits it, and writes it where it has changed. When the selection finds nothing
/// in any of the files, says that nothing matches `selection`, with names that are close to
/// `names`, and returns `kNothingSelected`. The edit is called on any thread.
Outcome editScenes(const FileArguments& files, const SceneAccess& access, Output& output,
                   const std::string& selection, const std::function<Edited(Scene&)>& edit,
                   const GivenNames& names = {});

}  // namespace orbo::Quilmeta
