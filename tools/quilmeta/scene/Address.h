// Finds nodes, channels, streams and elements by the names that a user gives.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/Index.h>
#include <data/Stream.h>

#include <string>

namespace orbo::Quilmeta {

struct StreamAddress {
    std::string node;  ///< empty for the scene's own metadata
    std::string channel;
    std::string stream;
};

/// Returns null when there is no such stream.
const Data::Stream* findStreamOrNull(const Data::Accessor& scene, const StreamAddress& address);
/// Throws `CommandError` that lists the nodes there are, and names one that was perhaps meant.
Data::Associations& findNode(Data::Accessor& scene, const std::string& name);
/// Throws `CommandError` that lists what there is instead of the missing node, channel or stream,
/// and names what was perhaps meant.
Data::Stream& findStream(Data::Accessor& scene, const StreamAddress& address);
/// Makes an index of the stream's type from its text. A type that nobody registered takes any text;
/// else throws `CommandError` for a text that is no index.
Data::Index indexOf(const Data::Stream& stream, const std::string& text);

}  // namespace orbo::Quilmeta
