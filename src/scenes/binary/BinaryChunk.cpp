// The chunks that binary scenes are made of.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/binary/BinaryChunk.h"

namespace orbo::Data {

std::string BinaryChunk::header(std::string_view tag, std::uint64_t dataSize) {
    return std::string(tag) + bigEndian(0, 4) + bigEndian(dataSize, 8);
}

void BinaryChunk::append(std::string& out, std::string_view tag,
                         std::initializer_list<std::string_view> data) {
    std::uint64_t size = 0;
    for (const std::string_view part : data) size += part.size();
    const std::uint64_t padded = paddedSize(size);
    out.reserve(out.size() + kHeaderSize + static_cast<std::size_t>(padded));
    out += header(tag, size);
    for (const std::string_view part : data) out += part;
    out.append(static_cast<std::size_t>(padded - size), '\0');
}

bool readChunkHeader(Files::File& file, std::uint64_t begin, BinaryChunk& chunk) {
    char bytes[BinaryChunk::kHeaderSize];
    if (!Files::readExactlyAt(file, begin, bytes, sizeof bytes)) return false;
    chunk.tag = ChunkTag({bytes, 4});
    chunk.begin = begin;
    chunk.dataSize = fromBigEndian({bytes + 8, 8});
    return true;
}

ChunkWalk::Result ChunkWalk::next(BinaryChunk& chunk) {
    if (fNext == fEnd) return Result::kDone;
    if (fEnd - fNext < BinaryChunk::kHeaderSize) return Result::kBadHeader;
    if (!readChunkHeader(fFile, fNext, chunk)) return Result::kBadHeader;
    // `room` need not be a multiple of 8. Computing the padded size is safe once the size fits.
    const std::uint64_t room = fEnd - chunk.dataBegin();
    if (chunk.dataSize > room || BinaryChunk::paddedSize(chunk.dataSize) > room) {
        return Result::kBadData;
    }
    fNext = chunk.end();
    return Result::kChunk;
}

}  // namespace orbo::Data
