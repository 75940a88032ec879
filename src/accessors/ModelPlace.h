// Names a place in the model for messages.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Channel.h>
#include <data/Index.h>
#include <data/Stream.h>

#include <string>

namespace orbo::Data::ModelPlace {

inline std::string of(const std::string& node) {
    return node.empty() ? "Scene" : "Node '" + node + "'";
}
inline std::string of(const std::string& node, const Channel& channel) {
    return of(node) + ", channel '" + channel.name() + "'";
}
inline std::string of(const std::string& node, const Channel& channel, const Stream& stream) {
    return of(node, channel) + ", stream '" + stream.name() + "'";
}
/// "Node 'x', channel 'c', stream 's', index 7".
inline std::string of(const std::string& node, const Channel& channel, const Stream& stream,
                      const Index& index) {
    return of(node, channel, stream) + ", index " + index.asString();
}

}  // namespace orbo::Data::ModelPlace
