// Writes metadata as the lossless JSON document.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonDocument.h"

#include "json/JsonElement.h"
#include "json/JsonText.h"

#include <data/Structure.h>

#include <utility>

namespace orbo::Quilmeta {

namespace {

std::string json(std::string_view text) {
    std::string result;
    appendJson(result, text);
    return result;
}

}  // namespace

std::string_view JsonDocument::lineStart(bool hasComma) {
    const size_t size = 2 + 2 * fDepth;
    if (fLineStart.size() != size) fLineStart.assign(",\n").append(size - 2, ' ');
    return std::string_view(fLineStart).substr(hasComma ? 0 : 1);
}

void JsonDocument::startLine(const char* otherwise) {
    fOutput.write(fLayout == Layout::kLines ? lineStart(false) : otherwise);
}

std::string_view JsonDocument::itemStart(bool isFirst) {
    if (fLayout == Layout::kLines) return lineStart(!isFirst);
    return isFirst ? "" : ", ";
}

// An empty list stays on one line.
template <typename Fill>
void JsonDocument::list(Fill&& fill) {
    bool empty = true;
    fOutput.write("[");
    ++fDepth;
    fill([&] { return itemStart(std::exchange(empty, false)); });
    --fDepth;
    if (!empty) startLine("");
    fOutput.write("]");
}

template <typename Items>
void JsonDocument::writeAll(const Items& items) {
    list([&](auto&& nextStart) {
        for (const auto& item : items) {
            fOutput.write(nextStart());
            write(item);
        }
    });
}

void JsonDocument::write(const SceneView& view) {
    fOutput.write("{");
    ++fDepth;
    writeParts(view);
    fOutput.write("\n");
}

void JsonDocument::write(const SceneView& view, const std::string& file) {
    fOutput.write("{");
    ++fDepth;
    startLine(" ");
    fOutput.write("\"file\": " + json(file) + ',');
    writeParts(view);
}

void JsonDocument::writeParts(const SceneView& view) {
    startLine(" ");
    fOutput.write("\"quilmeta\": 1,");
    startLine(" ");
    fOutput.write("\"structures\": ");
    writeAll(view.structures);
    fOutput.write(",");
    startLine(" ");
    fOutput.write("\"associations\": ");
    writeAll(view.nodes);
    --fDepth;
    startLine(" ");
    fOutput.write("}");
}

void JsonDocument::write(const Data::Structure* structure) {
    fOutput.write("{ \"name\": " + json(structure->name()) + ", \"members\": ");
    writeAll(*structure);
    fOutput.write(" }");
}

void JsonDocument::write(const Data::Member& member) {
    fOutput.write(fmt::format("{{ \"name\": {}, \"type\": \"{}\", \"length\": {} }}",
                              json(member.name()), Data::Member::typeName(member.type()),
                              member.length()));
}

void JsonDocument::write(const NodeView& node) {
    fOutput.write("{ \"name\": " + json(node.name) + ", \"channels\": ");
    writeAll(node.channels);
    fOutput.write(" }");
}

void JsonDocument::write(const ChannelView& channel) {
    fOutput.write("{ \"name\": " + json(channel.channel.name()) + ", \"streams\": ");
    writeAll(channel.streams);
    fOutput.write(" }");
}

// Elements are written one by one, because a stream may be larger than the memory for its text.
void JsonDocument::write(const Data::Stream& stream) {
    fOutput.write("{ \"name\": " + json(stream.name()) +
                  ", \"structure\": " + json(stream.structure().name()) +
                  ", \"indexType\": " + json(stream.indexType()) + ", \"elements\": ");
    list([&](auto&& nextStart) {
        const JsonElement writer(stream.structure());
        for (Data::StreamIterator element = stream.cbegin(); element.valid(); ++element) {
            fOutput.writeBy([&](std::string& text) { writer.append(text, nextStart(), element); });
        }
    });
    fOutput.write(" }");
}

}  // namespace orbo::Quilmeta
