// Streams, and selections of their elements.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>

#include <string>

#include "Model.h"

namespace orbo::Python {

/// Makes an empty stream. The type of indices may be one that nobody registered.
Data::Stream newStream(const StructurePtr& structure, const std::string& name,
                       const std::string& indexType);
/// Makes a copy that shares nothing.
Data::Stream copyOf(const StreamState& state, const std::string& name);
/// Compares what scene files can tell: names, structures, indices and values; numbers bit by bit.
bool isSameStream(const Data::Stream& ours, const Data::Stream& theirs);

/// The names of the file, node and channel that a stream belongs to; empty without.
struct PlaceNames {
    explicit PlaceNames(const StreamState& stream);

    std::string file, node, channel;
};

}  // namespace orbo::Python
