// Writes metadata as the lossless JSON document.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"
#include "selection/SceneView.h"

#include <string>
#include <string_view>

namespace orbo::Data {
class Member;
}

namespace orbo::Quilmeta {

/// Writes one line for each member, element and container, which is easy to read and to compare, or
/// everything on one line. Holds no more than one element in memory beside the output's pieces.
class JsonDocument {
  public:
    enum class Layout { kLines, kOneLine };

    /// `depth` is that of the document in the text around it.
    explicit JsonDocument(Output& output, Layout layout = Layout::kLines, size_t depth = 0)
        : fOutput(output), fLayout(layout), fDepth(depth) {}
    void write(const SceneView& view);
    /// Writes the document as a part of a larger one, with the name of the scene's file.
    void write(const SceneView& view, const std::string& file);

  private:
    void writeParts(const SceneView& view);
    void write(const Data::Structure* structure);
    void write(const Data::Member& member);
    void write(const NodeView& node);
    void write(const ChannelView& channel);
    void write(const Data::Stream& stream);

    /// `fill` is given a function that tells what to write in front of the next item.
    template <typename Fill>
    void list(Fill&& fill);
    template <typename Items>
    void writeAll(const Items& items);
    [[nodiscard]] std::string_view lineStart(bool hasComma);
    /// Goes to the next line, at the present depth, if there are lines.
    void startLine(const char* otherwise);
    /// What stands in front of an item: the same, behind a comma unless it is the first.
    [[nodiscard]] std::string_view itemStart(bool isFirst);

    Output& fOutput;
    Layout fLayout;
    size_t fDepth;
    std::string fLineStart;  // behind a comma; keeps its room from line to line
};

}  // namespace orbo::Quilmeta
