// The metadata chunks of binary scenes: their data, taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/binary/BinaryRecord.h"

#include <data/AccessorQuil.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace orbo::Data {

using namespace AccessorQuil::Binary;
using Kind = SceneRecord::Kind;

namespace {

// Takes the zero-terminated string at the beginning off `left`.
std::optional<std::string_view> takeString(std::string_view& left) {
    const std::size_t end = left.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view string = left.substr(0, end);
    left.remove_prefix(end + 1);
    return string;
}

}  // namespace

FilePlace placeOf(const BinaryChunk& chunk) { return {chunk.begin, std::string(chunk.tag.view())}; }

std::optional<Kind> kindOfChunk(ChunkTag tag) {
    const std::string_view name = tag.view();
    if (name == getMetaDataStructureChunkName()) return Kind::kStructure;
    if (name == getApplyNodeMetaDataChunkName()) return Kind::kAssociations;
    if (name == getApplySceneMetaDataChunkName()) return Kind::kAssociations;
    return std::nullopt;
}

// The tag says whose metadata it is. A name in the chunk of the scene itself is ignored.
std::optional<SceneRecord> parseChunk(ChunkTag tag, std::string data, std::size_t begin) {
    SceneRecord record;
    record.kind = kindOfChunk(tag).value_or(Kind::kStructure);
    std::string_view left = data;
    left.remove_prefix(begin);
    if (record.kind == Kind::kAssociations) {
        const auto name = takeString(left);
        if (!name) return std::nullopt;
        if (tag.view() == getApplyNodeMetaDataChunkName()) {
            record.name = *name;
        } else {
            record.leftover = name->size();
        }
    }
    const auto format = takeString(left);
    if (!format) return std::nullopt;
    record.format = *format;
    const std::size_t textBegin = data.size() - left.size();
    const auto text = takeString(left);
    if (!text) return std::nullopt;
    const std::size_t textSize = text->size();
    record.leftover += left.size();
    data.erase(textBegin + textSize);
    data.erase(0, textBegin);
    record.text = std::move(data);
    return record;
}

const char* readFailureOf(Kind kind) {
    return kind == Kind::kStructure ? "Could not read data structure chunk."
                                    : "Could not read apply metadata chunk.";
}

bool appendChunk(std::string& out, const SceneRecord& record) {
    const std::string end(1, '\0');
    if ((record.name + record.format).find('\0') != std::string::npos) return false;
    if (record.text.find('\0') != std::string::npos) return false;
    if (record.kind == Kind::kStructure) {
        BinaryChunk::append(out, getMetaDataStructureChunkName(),
                            {record.format, end, record.text, end});
        return true;
    }
    BinaryChunk::append(
        out,
        record.name.empty() ? getApplySceneMetaDataChunkName() : getApplyNodeMetaDataChunkName(),
        {record.name, end, record.format, end, record.text, end});
    return true;
}

// Reads no more than a name can have: the chunk may claim any size.
SceneRecord damagedRecord(Files::File& file, const BinaryChunk& chunk) {
    constexpr std::uint64_t kLongestName = 4096;
    SceneRecord record;
    record.place = placeOf(chunk);
    const bool isNode = chunk.tag.view() == getApplyNodeMetaDataChunkName();
    if (!isNode || !file.seek(chunk.dataBegin())) return record;
    std::string data(static_cast<std::size_t>(std::min(chunk.dataSize, kLongestName)), '\0');
    data.resize(file.read(data.data(), data.size()).value_or(0));
    std::string_view left = data;
    if (const auto name = takeString(left)) {
        record.kind = Kind::kAssociations;
        record.name = *name;
    }
    return record;
}

}  // namespace orbo::Data
