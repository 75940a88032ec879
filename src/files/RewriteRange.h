// A part of a file that gives way to new bytes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace orbo::Files {

/// The ranges of one rewrite are in the order of the file and do not overlap. All keep their length
/// but the last, which runs to the end of the file and makes it longer or shorter.
struct RewriteRange {
    std::uint64_t offset;
    std::string_view oldBytes;  // what the file holds there
    /// What it is to hold, one behind the other.
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
