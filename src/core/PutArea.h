// The room that a stream buffer has ready.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>
#include <streambuf>

namespace orbo::Data {

/// Puts characters without a call for each lump of them. Never makes the buffer hand any on.
class PutArea : private std::streambuf {
  public:
    /// Where the next characters go; null when there is no room for `size` of them.
    static char* of(const std::streambuf& buffer, std::size_t size) {
        char* next = (buffer.*(&PutArea::pptr))();
        char* end = (buffer.*(&PutArea::epptr))();
        if (!next) return nullptr;
        return static_cast<std::size_t>(end - next) >= size && size <= kMost ? next : nullptr;
    }
    /// Makes those a part of the buffer that were put there; at most `size`.
    static void put(std::streambuf& buffer, std::size_t count) {
        (buffer.*(&PutArea::pbump))(static_cast<int>(count));
    }

  private:
    static constexpr std::size_t kMost = std::numeric_limits<int>::max();
};

}  // namespace orbo::Data
