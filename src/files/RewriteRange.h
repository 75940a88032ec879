// A range of a file, with its old and its new bytes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace orbo::Files {

/// The ranges of one rewrite are in file order and do not overlap. Each keeps its length, except
/// the last, which runs to the end of the file and may grow or shrink it.
struct RewriteRange {
    std::uint64_t offset;
    std::string_view oldBytes;  // the bytes there now
    /// The new bytes, in pieces that follow each other.
    std::vector<std::string_view> pieces;

    [[nodiscard]] std::uint64_t newSize() const {
        std::uint64_t size = 0;
        for (const std::string_view piece : pieces) size += piece.size();
        return size;
    }
    [[nodiscard]] std::uint64_t oldEnd() const { return offset + oldBytes.size(); }
    [[nodiscard]] std::uint64_t newEnd() const { return offset + newSize(); }
};

}  // namespace orbo::Files
