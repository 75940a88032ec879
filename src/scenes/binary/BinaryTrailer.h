// The end of a binary scene, where its metadata is.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>

#include <cstdint>
#include <string>

#include "files/File.h"
#include "scenes/binary/BinaryChunk.h"

namespace orbo::Data {

/// The place of the trailer. The main group ends with the trailer group, whose chunks lie from
/// `begin` to `end`. At `end` the last chunk of both groups begins, which says how far back `begin`
/// is.
struct BinaryTrailer {
    /// Offsets of the size fields of the two groups, 8 bytes each.
    static constexpr std::uint64_t kMainSizeAt = 8;
    [[nodiscard]] std::uint64_t sizeAt() const { return begin - 12; }

    /// Bytes from `end` to the end of the file.
    static constexpr std::uint64_t kEndChunkSize = 24;
    /// Bytes from `end` to behind the distance field; the distance counts from there.
    static constexpr std::uint64_t kDistanceEnd = 20;

    std::uint64_t begin = 0;
    std::uint64_t end = 0;

    [[nodiscard]] std::uint64_t fileEnd() const { return end + kEndChunkSize; }
    [[nodiscard]] std::uint64_t mainSize() const { return fileEnd() - BinaryChunk::kHeaderSize; }
    /// Includes the form type and the end chunk.
    [[nodiscard]] std::uint64_t size() const { return end - begin + 4 + kEndChunkSize; }
    [[nodiscard]] std::uint64_t distance() const { return end - begin + kDistanceEnd; }
};

/// Follows the sizes in the file and checks each. Returns false, with code, message and place in
/// `problem`, when the file is damaged or no binary scene.
bool locateTrailer(Files::File& file, BinaryTrailer& trailer, Finding& problem);
/// Says what is wrong when the file does not end where the trailer does; empty when it does.
std::string misplacedEnd(const BinaryTrailer& trailer, std::uint64_t fileSize);

}  // namespace orbo::Data
