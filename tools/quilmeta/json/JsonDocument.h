// Writes metadata as the lossless JSON document.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"
#include "selection/SceneView.h"

#include <string>

namespace orbo::Data {
class Member;
}

namespace orbo::Quilmeta {

/// Writes one line for each member, element and container, which is easy to read and to compare.
/// Holds no more than one element in memory.
class JsonDocument {
  public:
    explicit JsonDocument(Output& output) : fOutput(output) {}
    void write(const SceneView& view);

  private:
    void write(const Data::Structure* structure);
    void write(const Data::Member& member);
    void write(const NodeView& node);
    void write(const ChannelView& channel);
    void write(const Data::Stream& stream);

    /// `fill` is given a function, which it calls before it writes each item.
    template <typename Fill>
    void list(Fill&& fill);
    template <typename Items>
    void writeAll(const Items& items);
    void indent();

    Output& fOutput;
    size_t fDepth = 1;
};

}  // namespace orbo::Quilmeta
