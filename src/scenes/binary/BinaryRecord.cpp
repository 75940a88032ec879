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

// A zero byte would end a text.
bool isCarried(const SceneRecord& record) {
    return (record.name + record.format).find('\0') == std::string::npos &&
           record.text.find('\0') == std::string::npos;
}

const std::string& nodeTagOf(const SceneRecord& record) {
    return record.name.empty() ? getApplySceneMetaDataChunkName() : getApplyNodeMetaDataChunkName();
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
    if (!isCarried(record)) return false;
    if (record.kind == Kind::kStructure) {
        BinaryChunk::append(out, getMetaDataStructureChunkName(),
                            {record.format, end, record.text, end});
        return true;
    }
    BinaryChunk::append(out, nodeTagOf(record),
                        {record.name, end, record.format, end, record.text, end});
    return true;
}

std::optional<std::pair<std::size_t, std::size_t>> textRangeIn(std::string_view chunk) {
    if (chunk.size() < BinaryChunk::kHeaderSize) return std::nullopt;
    std::string_view left = chunk.substr(BinaryChunk::kHeaderSize);
    if (!takeString(left) || !takeString(left)) return std::nullopt;
    const std::size_t begin = chunk.size() - left.size();
    const auto text = takeString(left);
    if (!text) return std::nullopt;
    return std::make_pair(begin, begin + text->size());
}

bool addChunk(PieceList& pieces, const SceneRecord& record,
              const std::vector<SceneSplicing::Splice>& splices) {
    if (!isCarried(record)) return false;
    const std::string end(1, '\0');
    const std::string front = record.name + end + record.format + end;
    std::uint64_t size = front.size() + record.text.size() + end.size();
    for (const SceneSplicing::Splice& splice : splices) size += splice.bytes.size();
    pieces.add(BinaryChunk::header(nodeTagOf(record), size) + front);
    const std::string_view text = record.text;
    std::size_t at = 0;
    for (const SceneSplicing::Splice& splice : splices) {
        pieces.add(text.substr(at, splice.at - at));
        pieces.keep(splice.bytes);
        at = splice.at;
    }
    pieces.add(text.substr(at));
    pieces.add(end);
    pieces.add(std::string(static_cast<std::size_t>(BinaryChunk::paddedSize(size) - size), '\0'));
    return true;
}

std::optional<SceneRecord> parseChunk(const std::vector<SceneChange::Piece>& pieces) {
    std::string chunk;
    std::uint64_t kept = 0;
    for (const SceneChange::Piece& piece : pieces) {
        chunk += piece.bytes;
        kept += piece.kept.size();
    }
    if (chunk.size() < BinaryChunk::kHeaderSize) return std::nullopt;
    const std::uint64_t size = fromBigEndian(std::string_view(chunk).substr(8, 8));
    const std::uint64_t all = chunk.size() - BinaryChunk::kHeaderSize + kept;
    if (size < kept || size > all || BinaryChunk::paddedSize(size) != all) return std::nullopt;
    chunk.resize(static_cast<std::size_t>(BinaryChunk::kHeaderSize + size - kept));
    const ChunkTag tag(std::string_view(chunk).substr(0, 4));
    return parseChunk(tag, std::move(chunk), BinaryChunk::kHeaderSize);
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
