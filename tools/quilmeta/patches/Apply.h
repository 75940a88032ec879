// Applies a patch to the metadata of a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Patch.h"

#include <data/Accessor.h>

#include <cstddef>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Holds what stands in the way of a patch, a line each.
struct ApplyProblems {
    std::vector<std::string> ofScene{};  ///< such as an old value that the scene does not have
    std::vector<std::string> ofPatch{};  ///< "line 3: $.changes[0].new: is not a string"

    [[nodiscard]] size_t size() const { return ofScene.size() + ofPatch.size(); }
    [[nodiscard]] bool empty() const { return size() == 0; }
    /// All in one text, each with a line feed behind it.
    [[nodiscard]] std::string text() const;
};

/// Makes all changes in memory, or none: then it returns what stands in the way. New structures
/// come first and removed ones go last, whatever the order of the changes. Streams that are changed
/// in part are copied for that. Problems of a patch that was not read have no lines, and count as
/// those of the scene.
ApplyProblems apply(const Patch& patch, Data::Accessor& scene);

}  // namespace orbo::Quilmeta
