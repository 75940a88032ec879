// What a selection finds in a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "selection/Selection.h"

#include <data/Accessor.h>
#include <data/Channel.h>
#include <data/Stream.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

struct ChannelView {
    Data::Channel channel;
    std::vector<Data::Stream> streams;
};

struct NodeView {
    std::string name;  ///< empty for the scene itself
    std::vector<ChannelView> channels;
};

/// Shares its content with the accessor and must not outlive it. The order is the library's.
struct SceneView {
    /// Has one structure for each name: those that the selected streams use, and with an empty
    /// selection also those that the file defines.
    std::vector<const Data::Structure*> structures;
    std::vector<NodeView> nodes;

    [[nodiscard]] bool empty() const { return structures.empty() && nodes.empty(); }
};

SceneView select(const Data::Accessor& accessor, const Selection& selection);

}  // namespace orbo::Quilmeta
