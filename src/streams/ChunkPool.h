// Memory for the chunks of one layout, in blocks of many chunks.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "core/Layout.h"

namespace orbo::Data {

/// Chunks do not move until they are given back. Large ones have blocks of their own, from
/// `Layout::allocate`, which `giveBack` frees.
class ChunkPool {
  public:
    ChunkPool() = default;
    ChunkPool(const ChunkPool&) = delete;
    ChunkPool& operator=(const ChunkPool&) = delete;
    ~ChunkPool();
    void swap(ChunkPool& other) noexcept;

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
    /// Owns the blocks of another pool from now on. What had been returned there stays unused, and
    /// so does the rest of this pool's last block.
    void takeOver(ChunkPool& other) noexcept;
    /// Frees all chunks but large ones, which must have been given back before.
    void clear();
    /// The bytes from one chunk to the next in a block; 0 without a block.
    [[nodiscard]] std::size_t stride() const { return fStride; }
    static bool isLarge(const Layout& layout) { return layout.totalSize() > kLargestPooled; }

  private:
    static constexpr std::size_t kLargestPooled = 4096;

    static std::size_t strideOf(const Layout& layout);
    [[nodiscard]] std::size_t nextBlockSize(std::size_t stride) const;
    [[nodiscard]] bool addBlock(std::size_t size, std::size_t stride);

    static constexpr std::size_t kFirstBlock = 64;
    static constexpr std::size_t kLargestBlock = 64 * 1024;

    /// Stands in front of the chunks of a block.
    struct alignas(std::max_align_t) Block {
        Block* earlier;
    };
    Block* fLast = nullptr;
    std::size_t fBlockSize = 0;  // the bytes of the last block's chunks
    char* fNext = nullptr;       // the unused rest of them
    std::size_t fLeft = 0;       // in bytes, a multiple of the stride
    std::size_t fStride = 0;
    char* fReturned = nullptr;  // the free list: each chunk begins with the address of the next
};

}  // namespace orbo::Data
