// The end of a binary scene, where its metadata is.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/binary/BinaryTrailer.h"

#include <data/AccessorQuil.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace orbo::Data {

using namespace AccessorQuil::Binary;
using Code = Finding::Code;
using Kind = SceneRecord::Kind;

namespace {

// Tag, zeros, size and form type of the main group.
constexpr std::size_t kIdentificationSize = 20;
// Behind that, the headers of the main and of the trailer group with their form types.
constexpr std::uint64_t kSmallestBegin = 2 * kIdentificationSize;

bool isScene(std::string_view identification) {
    return identification.substr(0, 4) == getFormChunkName() &&
           identification.substr(16, 4) == getMainFormChunkType();
}

// The zero-terminated string at the beginning of what is left, which is shortened by it.
std::optional<std::string_view> takeString(std::string_view& left) {
    const std::size_t end = left.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view string = left.substr(0, end);
    left.remove_prefix(end + 1);
    return string;
}

FilePlace placeOf(const BinaryChunk& chunk) { return {chunk.begin, chunk.tag}; }

bool isWanted(Kind kind, const ModelReading& reading) {
    return kind == Kind::kStructure ? reading.wantsMore() : reading.wantsAssociations();
}

std::optional<SceneRecord> readRecord(Files::File& file, const BinaryChunk& chunk) {
    std::string data(static_cast<std::size_t>(chunk.dataSize), '\0');
    if (!file.seek(chunk.dataBegin())) return std::nullopt;
    if (!Files::readExactly(file, data.data(), data.size())) return std::nullopt;
    return parseChunk(chunk.tag, std::move(data));
}

// With the node, as far as its name is there. The chunk may claim any size.
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

}  // namespace

bool locateTrailer(Files::File& file, BinaryTrailer& trailer, Findings& findings) {
    char identification[kIdentificationSize];
    if (!file.seek(0) || !Files::readExactly(file, identification, sizeof identification)) {
        return findings.fail(Code::kNotAScene, "Could not read file identification.", {0});
    }
    if (!isScene({identification, sizeof identification})) {
        return findings.fail(Code::kNotAScene, "Not a supported file type.", {0});
    }
    const std::uint64_t mainSize = fromBigEndian({identification + BinaryTrailer::kMainSizeAt, 8});
    trailer.end = mainSize - 8;
    if (mainSize < 8 || !file.seek(trailer.end)) {
        return findings.fail(Code::kChunkDamaged, "Error seeking to the end of main chunk.",
                             {0, ChunkTag(getFormChunkName())});
    }
    BinaryChunk endChunk;
    if (!readChunkHeader(file, trailer.end, endChunk)) {
        return findings.fail(Code::kChunkDamaged, "Error reading the trailer-size chunk header.",
                             {trailer.end});
    }
    const auto failAtEnd = [&](const char* message) {
        return findings.fail(Code::kChunkDamaged, message, placeOf(endChunk));
    };
    if (endChunk.tag.view() != getBackwardChunkSizeChunkName()) {
        return failAtEnd("File does not end with trailer-size chunk.");
    }
    if (endChunk.dataSize != 4) return failAtEnd("Invalid trailer-size chunk.");
    char bytes[4];
    if (!Files::readExactly(file, bytes, sizeof bytes)) {
        return failAtEnd("Could not read trailer backward offset.");
    }
    const std::uint64_t distance = fromBigEndian({bytes, sizeof bytes});
    trailer.begin = trailer.end + BinaryTrailer::kDistanceEnd - distance;
    const bool isInside = distance >= BinaryTrailer::kDistanceEnd &&
                          distance <= trailer.end + BinaryTrailer::kDistanceEnd &&
                          trailer.begin >= kSmallestBegin;
    return isInside || failAtEnd("Could not seek to start of trailer.");
}

std::string misplacedEnd(const BinaryTrailer& trailer, std::uint64_t fileSize) {
    const std::uint64_t end = trailer.fileEnd();
    if (fileSize > end) {
        return "The scene ends at byte " + std::to_string(end) + ", but " +
               std::to_string(fileSize - end) + " more follow.";
    }
    if (fileSize < end) {
        return "The last " + std::to_string(end - fileSize) + " bytes of the scene are missing.";
    }
    return {};
}

std::optional<Kind> kindOfChunk(ChunkTag tag) {
    const std::string_view name = tag.view();
    if (name == getMetaDataStructureChunkName()) return Kind::kStructure;
    if (name == getApplyNodeMetaDataChunkName()) return Kind::kAssociations;
    if (name == getApplySceneMetaDataChunkName()) return Kind::kAssociations;
    return std::nullopt;
}

// The tag tells whose metadata it is: what stands for the name of the scene is passed over.
std::optional<SceneRecord> parseChunk(ChunkTag tag, std::string data) {
    SceneRecord record;
    record.kind = kindOfChunk(tag).value_or(Kind::kStructure);
    std::string_view left = data;
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
                            record.format + end + record.text + end);
        return true;
    }
    BinaryChunk::append(
        out,
        record.name.empty() ? getApplySceneMetaDataChunkName() : getApplyNodeMetaDataChunkName(),
        record.name + end + record.format + end + record.text + end);
    return true;
}

bool readChunks(Files::File& file, std::uint64_t begin, std::uint64_t end, ModelReading& reading,
                Findings& findings) {
    using Result = ChunkWalk::Result;
    ChunkWalk walk(file, begin, end);
    for (;;) {
        BinaryChunk chunk;
        const Result result = walk.next(chunk);
        if (result == Result::kDone) return true;
        if (result == Result::kBadHeader) {
            return findings.fail(
                Code::kChunkDamaged,
                "Error reading chunk header at byte " + std::to_string(walk.position()) + ".",
                {walk.position()});
        }
        const auto kind = kindOfChunk(chunk.tag);
        if (!kind || !isWanted(*kind, reading)) {
            if (result == Result::kChunk) continue;
            return findings.fail(Code::kChunkDamaged,
                                 "The chunk at byte " + std::to_string(chunk.begin) +
                                     " reaches beyond the end of the trailer.",
                                 placeOf(chunk));
        }
        std::optional<SceneRecord> record;
        if (result == Result::kChunk) record = readRecord(file, chunk);
        if (!record) {
            return findings.fail(Code::kChunkDamaged, readFailureOf(*kind),
                                 damagedRecord(file, chunk));
        }
        record->place = placeOf(chunk);
        reading.add(std::move(*record));
    }
}

}  // namespace orbo::Data
