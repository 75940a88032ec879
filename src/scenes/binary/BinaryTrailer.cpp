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

namespace {

// The size of the main group's tag, zeros, size and form type together.
constexpr std::size_t kIdentificationSize = 20;
// The headers of main and trailer group, with their form types, stand in front of any chunk.
constexpr std::uint64_t kSmallestBegin = 2 * kIdentificationSize;

bool isScene(std::string_view identification) {
    return identification.substr(0, 4) == getFormChunkName() &&
           identification.substr(16, 4) == getMainFormChunkType();
}

// Returns false, for `return fail(...)`.
bool fail(Finding& problem, Code code, const char* message, std::uint64_t offset,
          const ChunkTag& tag = {}) {
    problem.code = code;
    problem.message = message;
    problem.offset = offset;
    problem.tag = tag.view();
    return false;
}

}  // namespace

bool locateTrailer(Files::File& file, BinaryTrailer& trailer, Finding& problem) {
    char identification[kIdentificationSize];
    if (!file.seek(0) || !Files::readExactly(file, identification, sizeof identification)) {
        return fail(problem, Code::kNotAScene, "Could not read file identification.", 0);
    }
    if (!isScene({identification, sizeof identification})) {
        return fail(problem, Code::kNotAScene, "Not a supported file type.", 0);
    }
    const std::uint64_t mainSize = fromBigEndian({identification + BinaryTrailer::kMainSizeAt, 8});
    trailer.end = mainSize - 8;
    if (mainSize < 8 || !file.seek(trailer.end)) {
        return fail(problem, Code::kChunkDamaged, "Error seeking to the end of main chunk.", 0,
                    ChunkTag(getFormChunkName()));
    }
    BinaryChunk endChunk;
    if (!readChunkHeader(file, trailer.end, endChunk)) {
        return fail(problem, Code::kChunkDamaged, "Error reading the trailer-size chunk header.",
                    trailer.end);
    }
    const auto failAtEnd = [&](const char* message) {
        return fail(problem, Code::kChunkDamaged, message, endChunk.begin, endChunk.tag);
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

}  // namespace orbo::Data
