// Memory for the chunks of one layout, in blocks of many chunks.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "core/Layout.h"
#include "streams/BlockPool.h"

namespace orbo::Data {

/// Chunks do not move until they are given back. Large ones have blocks of their own, from
/// `Layout::allocate`, which `giveBack` frees.
class ChunkPool {
  public:
    void swap(ChunkPool& other) noexcept { fPool.swap(other.fPool); }

    /// Returns a chunk with undefined content; null for a size of 0 and when memory runs out. All
    /// chunks out at a time have one layout.
    [[nodiscard]] char* take(const Layout& layout);
    /// Makes room for that many more chunks. Returns false when memory runs out.
    bool reserve(const Layout& layout, std::size_t chunks);
    /// Takes a chunk, moves the content of a heap block into it and frees the block. Throws
    /// `std::bad_alloc`, leaving the block alone.
    [[nodiscard]] char* adopt(const Layout& layout, char* block);
    /// Takes a chunk back. Does not free its strings; the caller already has.
    void giveBack(const Layout& layout, char* chunk);
    /// Owns the chunks of another pool of the layout from now on.
    void takeOver(ChunkPool& other) noexcept { fPool.takeOver(other.fPool); }
    /// Frees all chunks but large ones, which must have been given back before.
    void clear() { fPool.clear(); }
    /// The bytes from one chunk to the next in a block; 0 without a block.
    [[nodiscard]] std::size_t stride() const { return fPool.stride(); }
    static bool isLarge(const Layout& layout) { return layout.totalSize() > kLargestPooled; }

  private:
    static constexpr std::size_t kLargestPooled = 4096;

    BlockPool fPool;
};

}  // namespace orbo::Data
