// Finds nodes, channels, streams and elements by the names that a user gives.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Address.h"

#include "process/CommandError.h"
#include "values/ClosestName.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/Channel.h>
#include <data/IndexPair.h>
#include <data/IndexText.h>
#include <fmt/format.h>

namespace orbo::Quilmeta {

namespace {

/// `, did you mean "arm"? (nodes: arm, leg)`
template <typename Container>
std::string instead(const std::string& wanted, const char* what, const Container& container) {
    ClosestName closest(wanted);
    for (const auto& item : container) closest.offer(item.name());
    return closest.question() +
           nameList(what, container, [](const auto& item) { return shownName(item.name()); });
}

}  // namespace

const Data::Stream* findStreamOrNull(const Data::Accessor& scene, const StreamAddress& address) {
    const auto node = scene.associations().find(address.node);
    if (node == scene.associations().end()) return nullptr;
    const Data::Channel* channel = node->second.findChannel(address.channel);
    return channel ? channel->findDataStream(address.stream) : nullptr;
}

Data::Associations& findNode(Data::Accessor& scene, const std::string& name) {
    auto& nodes = scene.associations();
    const auto found = nodes.find(name);
    if (found != nodes.end()) return found->second;
    const std::string list =
        nameList("nodes", nodes, [](const auto& entry) { return shownNode(entry.first); });
    if (name.empty()) throw CommandError("the scene itself has no metadata" + list);
    ClosestName closest(name);
    for (const auto& entry : nodes) closest.offer(entry.first);
    throw CommandError(
        fmt::format("there is no node {}{}{}", inQuotes(name), closest.question(), list));
}

Data::Stream& findStream(Data::Accessor& scene, const StreamAddress& address) {
    Data::Associations& node = findNode(scene, address.node);
    Data::Channel* channel = node.findChannel(address.channel);
    if (!channel)
        throw CommandError(fmt::format("node {} has no channel {}{}", shownNode(address.node),
                                       inQuotes(address.channel),
                                       instead(address.channel, "channels", node)));
    Data::Stream* stream = channel->findDataStream(address.stream);
    if (!stream)
        throw CommandError(fmt::format("channel {} has no stream {}{}", inQuotes(address.channel),
                                       inQuotes(address.stream),
                                       instead(address.stream, "streams", *channel)));
    return *stream;
}

Data::Index indexOf(const Data::Stream& stream, const std::string& text) {
    try {
        return Data::Index::doCreate(stream.indexType(), text);
    } catch (Data::Index::eCreationErrors error) {
        if (error == Data::Index::eCreatorNotFound)
            return Data::Index(Data::IndexText(stream.indexType(), text));
        const bool isPair = stream.indexType() == Data::IndexPair::myTypeName;
        throw CommandError(fmt::format("{} is no index of type {}{}", inQuotes(text),
                                       shownName(stream.indexType()),
                                       isPair ? ", which is like \"3 12\"" : ""));
    }
}

}  // namespace orbo::Quilmeta
