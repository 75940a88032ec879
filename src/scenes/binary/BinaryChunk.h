// The chunks that binary scenes are made of.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "files/BigEndian.h"
#include "files/File.h"
namespace orbo::Data {

// Numbers in binary scenes are big-endian.
using Files::bigEndian;
using Files::fromBigEndian;

/// The four characters that say what a chunk is. Four zeros mean no tag.
class ChunkTag {
  public:
    ChunkTag() = default;
    /// Takes at most four characters.
    explicit ChunkTag(std::string_view tag) { tag.substr(0, 4).copy(fBytes.data(), fBytes.size()); }

    [[nodiscard]] std::string_view view() const {
        return {fBytes.data(), fBytes == std::array<char, 4>() ? 0 : fBytes.size()};
    }

  private:
    std::array<char, 4> fBytes{};
};

/// A chunk is a header of 16 bytes (tag, four zeros, data size), the data, and zeros up to the next
/// multiple of 8 bytes of data.
struct BinaryChunk {
    static constexpr std::uint64_t kHeaderSize = 16;
    static constexpr std::uint64_t kAlignment = 8;

    ChunkTag tag;
    std::uint64_t begin = 0;  // of the header, in the file
    std::uint64_t dataSize = 0;

    [[nodiscard]] std::uint64_t dataBegin() const { return begin + kHeaderSize; }
    /// Offset behind the padding. Wraps around for sizes that no file has: see `ChunkWalk`.
    [[nodiscard]] std::uint64_t end() const { return dataBegin() + paddedSize(dataSize); }

    static std::uint64_t paddedSize(std::uint64_t size) {
        return size + (kAlignment - size % kAlignment) % kAlignment;
    }
    static std::string header(std::string_view tag, std::uint64_t dataSize);
    /// Appends a whole chunk.
    /// The data are the parts one behind the other.
    static void append(std::string& out, std::string_view tag,
                       std::initializer_list<std::string_view> data);
};

/// Reads the header at `begin`; false when the file has no 16 bytes there.
bool readChunkHeader(Files::File& file, std::uint64_t begin, BinaryChunk& chunk);

/// Goes from chunk to chunk over a range of a file and checks every size against the end of the
/// range. Reads only headers.
class ChunkWalk {
  public:
    enum class Result {
        kChunk,
        kDone,       ///< the end of the range is the end of the last chunk
        kBadHeader,  ///< cannot be read, or does not fit into the range
        kBadData     ///< does not fit into the range; the chunk is given
    };

    /// The file outlives the walk.
    ChunkWalk(Files::File& file, std::uint64_t begin, std::uint64_t end)
        : fFile(file), fNext(begin), fEnd(end) {}

    Result next(BinaryChunk& chunk);
    /// Offset of the next header, also when it cannot be read.
    [[nodiscard]] std::uint64_t position() const { return fNext; }

  private:
    Files::File& fFile;
    std::uint64_t fNext;
    std::uint64_t fEnd;
};

}  // namespace orbo::Data
