// Memory for the chunks of one layout, in blocks of many chunks.
// SPDX-License-Identifier: Apache-2.0
#include "streams/ChunkPool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace orbo::Data {

ChunkPool::~ChunkPool() {
    while (fLast) std::free(std::exchange(fLast, fLast->earlier));
}

char* ChunkPool::take(const Layout& layout) {
    if (isLarge(layout)) return layout.allocate();
    if (layout.totalSize() == 0) return nullptr;
    if (fReturned) {
        char* chunk = fReturned;
        std::memcpy(&fReturned, chunk, sizeof fReturned);
        return chunk;
    }
    if (fLeft == 0) {
        const std::size_t stride = strideOf(layout);
        if (!addBlock(nextBlockSize(stride), stride)) return nullptr;
    }
    fLeft -= fStride;
    return std::exchange(fNext, fNext + fStride);
}

bool ChunkPool::reserve(const Layout& layout, std::size_t chunks) {
    const std::size_t stride = strideOf(layout);
    if (isLarge(layout) || layout.totalSize() == 0 || fLeft / stride >= chunks) return true;
    while (fLeft != 0) {
        fLeft -= stride;
        giveBack(layout, std::exchange(fNext, fNext + stride));
    }
    return addBlock(std::max(chunks * stride, nextBlockSize(stride)), stride);
}

// Each block is twice as large as the one before, so that few elements take little memory.
std::size_t ChunkPool::nextBlockSize(std::size_t stride) const {
    const std::size_t wanted = fLast ? 2 * fBlockSize : kFirstBlock;
    return std::max(std::min(wanted, kLargestBlock), stride) / stride * stride;
}

// Call it only when the last block is used up.
bool ChunkPool::addBlock(std::size_t size, std::size_t stride) {
    auto* const block = static_cast<Block*>(std::malloc(sizeof(Block) + size));
    if (!block) return false;
    block->earlier = std::exchange(fLast, block);
    fNext = reinterpret_cast<char*>(block + 1);
    fLeft = fBlockSize = size;
    fStride = stride;
    return true;
}

char* ChunkPool::adopt(const Layout& layout, char* block) {
    if (isLarge(layout)) return block;
    char* chunk = take(layout);
    if (!chunk) throw std::bad_alloc();
    std::memcpy(chunk, block, static_cast<std::size_t>(layout.totalSize()));
    std::free(block);
    return chunk;
}

void ChunkPool::giveBack(const Layout& layout, char* chunk) {
    if (isLarge(layout)) return std::free(chunk);
    std::memcpy(chunk, &fReturned, sizeof fReturned);
    fReturned = chunk;
}

// A chunk needs room for an address, which it holds after it was given back.
std::size_t ChunkPool::strideOf(const Layout& layout) {
    return std::max(static_cast<std::size_t>(layout.stride()), sizeof(char*));
}

void ChunkPool::swap(ChunkPool& other) noexcept {
    std::swap(fLast, other.fLast);
    std::swap(fBlockSize, other.fBlockSize);
    std::swap(fNext, other.fNext);
    std::swap(fLeft, other.fLeft);
    std::swap(fStride, other.fStride);
    std::swap(fReturned, other.fReturned);
}

void ChunkPool::takeOver(ChunkPool& other) noexcept {
    if (!other.fLast) return;
    Block* first = other.fLast;
    while (first->earlier) first = first->earlier;
    first->earlier = std::exchange(fLast, nullptr);
    std::swap(other.fReturned, fReturned);
    swap(other);
    other.clear();
}

void ChunkPool::clear() { ChunkPool().swap(*this); }

}  // namespace orbo::Data
