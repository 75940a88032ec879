// Names a place in the model for messages.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelPlace.h"

namespace orbo::Data::ModelPlace {

std::string of(const std::string& node) { return node.empty() ? "Scene" : "Node '" + node + "'"; }

std::string of(const std::string& node, const Channel& channel) {
    return of(node) + ", channel '" + channel.name() + "'";
}

std::string of(const std::string& node, const Channel& channel, const Stream& stream) {
    return of(node, channel) + ", stream '" + stream.name() + "'";
}

std::string of(const std::string& node, const Channel& channel, const Stream& stream,
               const Index& index) {
    return of(node, channel, stream) + ", index " + index.asString();
}

}  // namespace orbo::Data::ModelPlace
