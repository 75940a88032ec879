// What a selection finds in a scene.
// SPDX-License-Identifier: Apache-2.0
#include "selection/SceneView.h"

#include <data/Associations.h>
#include <data/Structure.h>

#include <map>
#include <utility>

namespace orbo::Quilmeta {

namespace {

ChannelView viewOf(const Data::Channel& channel, const Selection& selection) {
    ChannelView view{channel, {}};
    for (const Data::Stream& stream : channel)
        if (selection.streams.want(stream.name())) view.streams.push_back(stream);
    return view;
}

NodeView viewOf(const std::string& name, const Data::Associations& associations,
                const Selection& selection) {
    NodeView view{name, {}};
    for (const Data::Channel& channel : associations) {
        if (!selection.channels.want(channel.name())) continue;
        ChannelView kept = viewOf(channel, selection);
        // A user who asks for a stream does not want to see channels without it.
        if (selection.streams.empty() || !kept.streams.empty())
            view.channels.push_back(std::move(kept));
    }
    return view;
}

/// Returns the structures that streams in the view use, and with `everything` all others, too.
std::vector<const Data::Structure*> structuresOf(const Data::Accessor& accessor,
                                                 const SceneView& view, bool everything) {
    // The file's structures come first, so they win over namesakes that streams use.
    std::map<std::string, const Data::Structure*> byName;
    if (everything)
        for (const Data::Structure* structure : accessor.structures())
            byName.emplace(structure->name(), structure);
    for (const NodeView& node : view.nodes)
        for (const ChannelView& channel : node.channels)
            for (const Data::Stream& stream : channel.streams)
                byName.emplace(stream.structure().name(), &stream.structure());
    std::vector<const Data::Structure*> result;
    result.reserve(byName.size());
    for (const auto& [name, structure] : byName) result.push_back(structure);
    return result;
}

}  // namespace

SceneView select(const Data::Accessor& accessor, const Selection& selection) {
    SceneView view;
    const bool wholeNodes = selection.channels.empty() && selection.streams.empty();
    for (const auto& [name, associations] : accessor.associations()) {
        if (!selection.wantsNode(name)) continue;
        NodeView kept = viewOf(name, associations, selection);
        if (wholeNodes || !kept.channels.empty()) view.nodes.push_back(std::move(kept));
    }
    view.structures = structuresOf(accessor, view, selection.everything());
    return view;
}

}  // namespace orbo::Quilmeta
