// What a read, or a write, left in the model: what the next write compares with.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/ReadSnapshot.h"

#include <algorithm>
#include <tuple>

namespace orbo::Data {

namespace {

// False when the text does not have each stream exactly once, as when one replaced another.
bool sortLikeModel(std::vector<StreamOutline>& outlines, const Associations& associations) {
    std::sort(outlines.begin(), outlines.end(), [](const auto& left, const auto& right) {
        return std::tie(left.channel, left.stream) < std::tie(right.channel, right.stream);
    });
    auto outline = outlines.begin();
    for (const Channel& channel : associations) {
        for (const Stream& stream : channel) {
            if (outline == outlines.end() || outline->channel != channel.name() ||
                outline->stream != stream.name()) {
                return false;
            }
            ++outline;
        }
    }
    return outline == outlines.end();
}

}  // namespace

void ReadSnapshot::add(ReadSnapshot part) {
    associations.merge(part.associations);
    partialNodes.merge(part.partialNodes);
    texts.merge(part.texts);
    undigested.merge(part.undigested);
    unreadable.add(std::move(part.unreadable));
}

void ReadSnapshot::add(const std::string& node, const Associations& read, NodeDigest digest) {
    associations.emplace(node, digest.value);
    const auto text = texts.find(node);
    if (text == texts.end()) return;
    if (sortLikeModel(text->second.streams, read)) {
        text->second.digests = std::move(digest.streams);
    } else {
        texts.erase(text);
    }
}

}  // namespace orbo::Data
