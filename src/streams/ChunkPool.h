// Memory for the chunks of one layout, many to a block.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/Layout.h"

namespace orbo::Data {

/// Chunks stay where they are until they are given back. Large ones have blocks of their own, from
/// `Layout::allocate` and given back to `free`.
class ChunkPool {
  public:
    ChunkPool() = default;
    ChunkPool(const ChunkPool&) = delete;
    ChunkPool& operator=(const ChunkPool&) = delete;
    void swap(ChunkPool& other) noexcept;

    /// A chunk of any content; null for a size of 0 and when memory runs out. All that are there at
    /// a time are of one layout.
    [[nodiscard]] char* take(const Layout& layout);
    /// Room for so many more. False when memory runs out.
    bool reserve(const Layout& layout, std::size_t chunks);
    /// `take`, of a heap block with its content, which is gone afterwards. Throws
    /// `std::bad_alloc`, and leaves the block.
    [[nodiscard]] char* adopt(const Layout& layout, char* block);
    /// Its strings are nobody's any more.
    void giveBack(const Layout& layout, char* chunk);
    /// All chunks but large ones are gone.
    void clear();
    /// Bytes from one chunk to the next in a block; 0 without a block.
    [[nodiscard]] std::size_t stride() const { return fStride; }
    static bool isLarge(const Layout& layout) { return layout.totalSize() > kLargestPooled; }

  private:
    static constexpr std::size_t kLargestPooled = 4096;

    static std::size_t strideOf(const Layout& layout);
    [[nodiscard]] std::size_t nextBlockSize(std::size_t stride) const;
    [[nodiscard]] bool addBlock(std::size_t size, std::size_t stride);

    static constexpr std::size_t kFirstBlock = 64;
    static constexpr std::size_t kLargestBlock = 64 * 1024;

    struct Free {
        void operator()(char* block) const;
    };
    std::vector<std::unique_ptr<char, Free>> fBlocks;
    std::size_t fBlockSize = 0;  // of the last one
    char* fNext = nullptr;       // what is left of it
    std::size_t fLeft = 0;       // in bytes, a multiple of the stride
    std::size_t fStride = 0;
    char* fReturned = nullptr;  // begins with the address of the next
};

}  // namespace orbo::Data
