// Names a place in the model for messages.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelPlace.h"

#include "core/Excerpt.h"

namespace orbo::Data::ModelPlace {

std::string Spot::words() const {
    if (index) return of(node, *channel, *stream, *index);
    if (stream) return of(node, *channel, *stream);
    return channel ? of(node, *channel) : of(node);
}

Finding Spot::finding(const std::string& what) const {
    Finding finding;
    finding.message = words() + ": " + what;
    finding.node = node;
    if (channel) finding.channel = channel->name();
    if (stream) finding.stream = stream->name();
    if (index) finding.index = index->asString();
    if (member) finding.member = member;
    return finding;
}

std::string of(const std::string& node) {
    return node.empty() ? "Scene" : "Node " + inQuotes(node);
}

std::string ofStructure(std::string_view name) { return "Structure " + inQuotes(name); }

std::string of(const std::string& node, const Channel& channel) {
    return of(node) + ", channel " + inQuotes(channel.name());
}

std::string of(const std::string& node, const Channel& channel, const Stream& stream) {
    return of(node, channel) + ", stream " + inQuotes(stream.name());
}

std::string of(const std::string& node, const Channel& channel, const Stream& stream,
               const Index& index) {
    return of(node, channel, stream) + ", index " + excerptOf(index.asString());
}

}  // namespace orbo::Data::ModelPlace
