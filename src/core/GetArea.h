// Reads the characters that a stream buffer holds ready.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <streambuf>
#include <string_view>

namespace orbo::Data {

/// Reads and takes characters without a call for each of them. Never makes the buffer read on.
class GetArea : private std::streambuf {
  public:
    static std::string_view of(const std::streambuf& buffer) {
        const char* first = (buffer.*(&GetArea::gptr))();
        const char* last = (buffer.*(&GetArea::egptr))();
        return first ? std::string_view(first, static_cast<std::size_t>(last - first))
                     : std::string_view();
    }

    /// `count` is at most the size of the area.
    static void take(std::streambuf& buffer, std::size_t count) {
        constexpr std::size_t kMost = std::numeric_limits<int>::max();
        for (std::size_t left = count; left != 0;) {
            const std::size_t step = std::min(left, kMost);
            (buffer.*(&GetArea::gbump))(static_cast<int>(step));
            left -= step;
        }
    }
};

}  // namespace orbo::Data
