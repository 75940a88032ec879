// The names that were perhaps meant where a selection finds nothing.
// SPDX-License-Identifier: Apache-2.0
#include "selection/NameHints.h"

#include "selection/SceneView.h"

namespace orbo::Quilmeta {

NameHints::NameHints(const Selection& selection)
    : fNodes(namesIn(selection.nodes)),
      fChannels(namesIn(selection.channels)),
      fStreams(namesIn(selection.streams)) {}

NameHints::Names NameHints::namesIn(const NamePatterns& patterns) {
    Names names;
    const auto exact = patterns.onlyNames();
    if (exact)
        for (const std::string& name : *exact) names.emplace_back(name);
    return names;
}

void NameHints::offer(Names& names, const std::string& name) {
    for (Wanted& wanted : names) wanted.closest.offer(name);
}

void NameHints::offer(const Data::Accessor& scene) {
    if (fNodes.empty() && fChannels.empty() && fStreams.empty()) return;
    const std::lock_guard<std::mutex> lock(fMutex);
    for (const NodeView& node : select(scene, {}).nodes) {
        offer(fNodes, node.name);
        for (const ChannelView& channel : node.channels) {
            offer(fChannels, channel.channel.name());
            for (const Data::Stream& stream : channel.streams) offer(fStreams, stream.name());
        }
    }
}

std::string NameHints::question() {
    const std::lock_guard<std::mutex> lock(fMutex);
    for (const Names* names : {&fNodes, &fChannels, &fStreams})
        for (const Wanted& wanted : *names)
            if (wanted.closest.found() != wanted.name && !wanted.closest.found().empty())
                return wanted.closest.question();
    return {};
}

}  // namespace orbo::Quilmeta
