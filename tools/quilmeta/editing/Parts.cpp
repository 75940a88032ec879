// The nodes, channels and streams that a command acts on.
// SPDX-License-Identifier: Apache-2.0
#include "editing/Parts.h"

#include "process/CommandError.h"
#include "values/SafeText.h"

#include <data/Channel.h>
#include <fmt/format.h>

namespace orbo::Quilmeta {

namespace {

void addStreams(const std::string& node, const Data::Channel& channel, const Selection& selection,
                std::vector<StreamAddress>& parts) {
    for (const Data::Stream& stream : channel)
        if (selection.streams.want(stream.name()))
            parts.push_back({node, channel.name(), stream.name()});
}

void removeChannel(Data::Accessor& scene, const StreamAddress& part) {
    Data::Associations& node = scene.associations().at(part.node);
    node.removeChannel(part.channel);
    if (node.empty()) scene.associations().erase(part.node);
}

void removeStream(Data::Accessor& scene, const StreamAddress& part) {
    Data::Channel& channel = *scene.associations().at(part.node).findChannel(part.channel);
    channel.removeDataStream(part.stream);
    if (channel.empty()) removeChannel(scene, part);
}

}  // namespace

Level deepestLevel(const Selection& selection) {
    if (!selection.streams.empty()) return Level::kStream;
    return selection.channels.empty() ? Level::kNode : Level::kChannel;
}

const NamePatterns& patternsOf(const Selection& selection, Level level) {
    if (level == Level::kNode) return selection.nodes;
    return level == Level::kChannel ? selection.channels : selection.streams;
}

const char* wordFor(Level level) {
    if (level == Level::kNode) return "node";
    return level == Level::kChannel ? "channel" : "stream";
}

std::vector<StreamAddress> partsOf(const Data::Accessor& scene, const Selection& selection,
                                   Level level) {
    std::vector<StreamAddress> parts;
    for (const auto& [node, associations] : scene.associations()) {
        if (!selection.wantsNode(node)) continue;
        if (level == Level::kNode) {
            parts.push_back({node, {}, {}});
            continue;
        }
        for (const Data::Channel& channel : associations) {
            if (!selection.channels.want(channel.name())) continue;
            if (level == Level::kChannel)
                parts.push_back({node, channel.name(), {}});
            else
                addStreams(node, channel, selection, parts);
        }
    }
    return parts;
}

std::string placeText(const StreamAddress& part, Level level) {
    std::string text = "node " + shownNode(part.node);
    if (level == Level::kNode) return text;
    text += ", channel " + inQuotes(part.channel);
    return level == Level::kChannel ? text : text + ", stream " + inQuotes(part.stream);
}

void removeParts(Data::Accessor& scene, const std::vector<StreamAddress>& parts, Level level) {
    for (const StreamAddress& part : parts) {
        if (level == Level::kNode)
            scene.associations().erase(part.node);
        else if (level == Level::kChannel)
            removeChannel(scene, part);
        else
            removeStream(scene, part);
    }
}

std::optional<Data::Index> findIndex(const Data::Stream& stream, const std::string& text) {
    try {
        const Data::Index index = indexOf(stream, text);
        if (stream.hasElement(index)) return index;
    } catch (const CommandError&) {
        // The text may be an index of the other streams.
    }
    return {};
}

size_t removeElements(Data::Accessor& scene, const std::vector<StreamAddress>& streams,
                      const std::vector<std::string>& indices) {
    size_t removed = 0;
    for (const StreamAddress& address : streams) {
        Data::Stream& stream = findStream(scene, address);
        for (const std::string& text : indices) {
            const auto index = findIndex(stream, text);
            if (!index) continue;
            stream.removeElement(*index);
            ++removed;
        }
    }
    return removed;
}

}  // namespace orbo::Quilmeta
