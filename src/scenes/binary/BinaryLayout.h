// What a scan finds in a binary scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <string>

#include "scenes/binary/BinaryTrailer.h"

namespace orbo::Data {

/// The section runs from the first metadata chunk to the end of the trailer. The application's
/// chunks in front of it stay where they are; those in between go to its beginning.
struct BinaryLayout final : SceneLayout {
    BinaryTrailer trailer;
    /// The size fields of the two groups, as the file holds them.
    std::string mainSize, trailerSize;
};

}  // namespace orbo::Data
