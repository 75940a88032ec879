// The names that were perhaps meant where a selection finds nothing.
// SPDX-License-Identifier: Apache-2.0
#include "selection/NameHints.h"

namespace orbo::Quilmeta {

NameHints::NameHints(const GivenNames& given)
    : fNodes(namesIn(given.selection.nodes)),
      fChannels(namesIn(given.selection.channels)),
      fStreams(namesIn(given.selection.streams)),
      fStructures(namesIn(given.structures)),
      fMembers(namesIn(given.members)),
      fAny(!fNodes.empty() || !fChannels.empty() || !fStreams.empty() || !fStructures.empty() ||
           !fMembers.empty()) {}

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
    if (!fAny) return;
    const SceneView view = select(scene, {});
    const std::lock_guard<std::mutex> lock(fMutex);
    for (const std::string& name : scene.unloadedNodes()) offer(fNodes, name);
    for (const NodeView& node : view.nodes) offerParts(node);
    for (const Data::Structure* structure : view.structures) offerStructure(*structure);
}

void NameHints::offerParts(const NodeView& node) {
    offer(fNodes, node.name);
    for (const ChannelView& channel : node.channels) {
        offer(fChannels, channel.channel.name());
        for (const Data::Stream& stream : channel.streams) offer(fStreams, stream.name());
    }
}

void NameHints::offerStructure(const Data::Structure& structure) {
    offer(fStructures, structure.name());
    for (const Data::Member& member : structure) offer(fMembers, member.name());
}

std::string NameHints::question() {
    const std::lock_guard<std::mutex> lock(fMutex);
    for (const Names* names : {&fNodes, &fChannels, &fStreams, &fStructures, &fMembers})
        for (const Wanted& wanted : *names)
            if (wanted.closest.found() != wanted.name && !wanted.closest.found().empty())
                return wanted.closest.question();
    return {};
}

}  // namespace orbo::Quilmeta
