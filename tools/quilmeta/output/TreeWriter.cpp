// Metadata as an indented list for people.
// SPDX-License-Identifier: Apache-2.0
#include "output/TreeWriter.h"

#include "output/FittedText.h"
#include "output/StreamTable.h"
#include "process/TerminalWidth.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Structure.h>
#include <fmt/format.h>

#include <algorithm>

namespace orbo::Quilmeta {

TreeWriter::TreeWriter(Output& output, bool values)
    : fOutput(output), fValues(values), fWidth(terminalWidth(output)) {}

void TreeWriter::line(size_t depth, const std::string& text) {
    fOutput.write(fittedLine(std::string(2 * depth, ' ') + text, fWidth) + '\n');
}

void TreeWriter::write(const std::string& title, const SceneView& view) {
    line(0, safeLine(title));
    if (view.empty()) line(1, "no metadata");
    for (const Data::Structure* structure : view.structures) write(*structure);
    for (const NodeView& node : view.nodes) write(node);
}

void TreeWriter::write(const Data::Structure& structure) {
    line(1, "structure " + shownName(structure.name()));
    // The names of the members stand below each other, behind the longest type.
    size_t width = 0;
    for (const Data::Member& member : structure) width = std::max(width, typeText(member).size());
    for (const Data::Member& member : structure)
        line(2, fmt::format("{:{}}  {}", typeText(member), width, shownName(member.name())));
}

void TreeWriter::write(const NodeView& node) {
    line(1, "node " + shownNode(node.name));
    for (const ChannelView& channel : node.channels) {
        line(2, "channel " + shownName(channel.channel.name()));
        for (const Data::Stream& stream : channel.streams) write(stream);
    }
}

// A stream without elements gets no table, which would be a header line alone.
void TreeWriter::write(const Data::Stream& stream) {
    const unsigned int count = stream.elementCount();
    line(3, fmt::format("stream {}: {} of {}, {} index", shownName(stream.name()),
                        counted(count, "element"), shownName(stream.structure().name()),
                        shownName(stream.indexType())));
    if (fValues && count > 0) StreamTable(fOutput, stream, 8).write();
}

}  // namespace orbo::Quilmeta
