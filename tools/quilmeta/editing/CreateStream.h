// Streams that are made when they are first written to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/Address.h"
#include "scene/SceneFile.h"

#include <optional>
#include <string>

namespace orbo::Quilmeta {

/// Holds what the user says about a stream that may have to be made.
struct StreamToCreate {
    std::optional<std::string> structure;  ///< a stream that is there must have this one
    std::optional<std::string> indexType;  ///< and this one; else the type that an index looks like
};

/// The stream, which is made with its node and channel where they are missing. `index` is the text
/// of its first index. Throws `CommandError` when the stream cannot be made, or is there and not as
/// the user says.
Data::Stream& findOrCreateStream(Scene& scene, const StreamAddress& address,
                                 const StreamToCreate& wanted, const std::string& index);

}  // namespace orbo::Quilmeta
