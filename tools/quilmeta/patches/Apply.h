// Applies a patch to the metadata of a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Patch.h"

#include <data/Accessor.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Something that the scene has otherwise than a patch wants it, such as an old value.
struct ApplyProblem {
    Change place;  ///< without values
    std::string message;

    /// "node arm, channel joints, stream pose, index 3, member side: is 1 instead of 2"
    [[nodiscard]] std::string text() const { return place.place() + ": " + message; }
};

/// Holds what stands in the way of a patch.
struct ApplyProblems {
    std::vector<ApplyProblem> ofScene{};
    JsonProblems ofPatch{};  ///< "line 3: $.changes[0].new: is not a string"

    [[nodiscard]] bool empty() const { return ofScene.empty() && ofPatch.empty(); }
    /// Those of the scene, with a line feed behind each.
    [[nodiscard]] std::string sceneText() const;
    /// All in one text, each with a line feed behind it.
    [[nodiscard]] std::string text() const { return ofPatch.text() + sceneText(); }
};

/// Makes all changes in memory, or none: then it returns what stands in the way. New structures
/// come first and removed ones go last, whatever the order of the changes. Streams that are changed
/// in part are copied for that. Problems of a patch that was not read have no lines, and count as
/// those of the scene.
ApplyProblems apply(const Patch& patch, Data::Accessor& scene);

}  // namespace orbo::Quilmeta
