// The end of a binary scene, where its metadata is.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>

#include <cstdint>
#include <string>

#include "files/File.h"
#include "scenes/binary/BinaryChunk.h"

namespace orbo::Data {

/// Where it lies. The file's main group ends with the trailer group, whose chunks lie from
/// `begin` to `end`; there the last chunk of both begins, which says how far back `begin` is.
struct BinaryTrailer {
    /// Of the fields that tell the sizes of the two groups, 8 bytes each.
    static constexpr std::uint64_t kMainSizeAt = 8;
    [[nodiscard]] std::uint64_t sizeAt() const { return begin - 12; }

    /// From `end` to the end of the file.
    static constexpr std::uint64_t kEndChunkSize = 24;
    /// From `end` to behind the distance, which counts from there.
    static constexpr std::uint64_t kDistanceEnd = 20;

    std::uint64_t begin = 0;
    std::uint64_t end = 0;

    [[nodiscard]] std::uint64_t fileEnd() const { return end + kEndChunkSize; }
    [[nodiscard]] std::uint64_t mainSize() const { return fileEnd() - BinaryChunk::kHeaderSize; }
    /// With the form type in front and the end chunk.
    [[nodiscard]] std::uint64_t size() const { return end - begin + 4 + kEndChunkSize; }
    [[nodiscard]] std::uint64_t distance() const { return end - begin + kDistanceEnd; }
};

/// Follows the sizes in the file, none of which is believed. False, with code, message and place in
/// `problem`, when the file is no binary scene or damaged.
bool locateTrailer(Files::File& file, BinaryTrailer& trailer, Finding& problem);
/// What is wrong when the file does not end where the trailer does; empty when it does.
std::string misplacedEnd(const BinaryTrailer& trailer, std::uint64_t fileSize);

}  // namespace orbo::Data
