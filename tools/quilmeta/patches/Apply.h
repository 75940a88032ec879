// Applies a patch to the metadata of a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Patch.h"

#include <data/Accessor.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Makes all changes in memory, or none: then it lists what stands in the way, a line each, such as
/// an old value that the scene does not have. New structures come first and removed ones go last,
/// whatever the order of the changes. Streams that are changed in part are copied for that.
std::vector<std::string> apply(const Patch& patch, Data::Accessor& scene);

}  // namespace orbo::Quilmeta
