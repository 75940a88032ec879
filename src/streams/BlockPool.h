// Memory for many pieces of one size.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace orbo::Data {

/// Pieces do not move until they are given back. They are cut from blocks, which are freed by
/// `clear` and the destructor.
class BlockPool {
  public:
    BlockPool() = default;
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;
    ~BlockPool();
    void swap(BlockPool& other) noexcept;

    /// Returns a piece with undefined content; null when memory runs out. All pieces out at a time
    /// have one size.
    [[nodiscard]] char* take(std::size_t size) {
        if (fReturned || fLeft == 0) return takeOther(size);
        fLeft -= fStride;
        return std::exchange(fNext, fNext + fStride);
    }
    /// Makes room for that many more pieces. Returns false when memory runs out.
    bool reserve(std::size_t size, std::size_t count);
    void giveBack(char* piece);
    /// Owns the blocks of another pool from now on. What had been returned there stays unused, and
    /// so does the rest of this pool's last block.
    void takeOver(BlockPool& other) noexcept;
    void clear();
    /// The bytes from one piece to the next in a block; 0 without a block.
    [[nodiscard]] std::size_t stride() const { return fStride; }

  private:
    /// Stands in front of the pieces of a block.
    struct alignas(std::max_align_t) Block {
        Block* earlier;
    };

    [[nodiscard]] char* takeOther(std::size_t size);
    [[nodiscard]] std::size_t nextBlockSize(std::size_t stride) const;
    [[nodiscard]] bool addBlock(std::size_t size, std::size_t stride);

    Block* fLast = nullptr;
    std::size_t fBlockSize = 0;  // the bytes of the last block's pieces
    char* fNext = nullptr;       // the unused rest of them
    std::size_t fLeft = 0;       // in bytes, a multiple of the stride
    std::size_t fStride = 0;
    char* fReturned = nullptr;  // the free list: each piece begins with the address of the next
};

/// Lets a container of the standard library take its nodes from a pool, which outlives it.
template <typename T>
class PoolAllocator {
  public:
    using value_type = T;

    explicit PoolAllocator(BlockPool& pool) : fPool(&pool) {}
    template <typename Other>
    PoolAllocator(const PoolAllocator<Other>& other)  // NOLINT(google-explicit-constructor)
        : fPool(other.pool()) {}

    /// Only one at a time.
    T* allocate(std::size_t) {
        char* const node = fPool->take(sizeof(T));
        if (!node) throw std::bad_alloc();
        return reinterpret_cast<T*>(node);
    }
    void deallocate(T* node, std::size_t) noexcept {
        fPool->giveBack(reinterpret_cast<char*>(node));
    }
    [[nodiscard]] BlockPool* pool() const { return fPool; }

    template <typename Other>
    bool operator==(const PoolAllocator<Other>& other) const {
        return fPool == other.pool();
    }
    template <typename Other>
    bool operator!=(const PoolAllocator<Other>& other) const {
        return fPool != other.pool();
    }

  private:
    BlockPool* fPool;
};

}  // namespace orbo::Data
