// Memory for many pieces of one size.
// SPDX-License-Identifier: Apache-2.0
#include "streams/BlockPool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace orbo::Data {

namespace {

constexpr std::size_t kFirstBlock = 64;
constexpr std::size_t kLargestBlock = std::size_t{64} << 10;

// A piece holds an address after it was given back.
std::size_t strideFor(std::size_t size) { return std::max(size, sizeof(char*)); }

}  // namespace

BlockPool::~BlockPool() {
    while (fLast) std::free(std::exchange(fLast, fLast->earlier));
}

// One that was given back, or the first of a new block.
char* BlockPool::takeOther(std::size_t size) {
    if (fReturned) {
        char* piece = fReturned;
        std::memcpy(&fReturned, piece, sizeof fReturned);
        return piece;
    }
    const std::size_t stride = strideFor(size);
    if (!addBlock(nextBlockSize(stride), stride)) return nullptr;
    return take(size);
}

bool BlockPool::reserve(std::size_t size, std::size_t count) {
    const std::size_t stride = strideFor(size);
    if (fLeft / stride >= count) return true;
    while (fLeft != 0) {
        fLeft -= stride;
        giveBack(std::exchange(fNext, fNext + stride));
    }
    return addBlock(std::max(count * stride, nextBlockSize(stride)), stride);
}

// Each block is twice as large as the one before, so that few pieces take little memory.
std::size_t BlockPool::nextBlockSize(std::size_t stride) const {
    const std::size_t wanted = fLast ? 2 * fBlockSize : kFirstBlock;
    return std::max(std::min(wanted, kLargestBlock), stride) / stride * stride;
}

// Call it only when the last block is used up.
bool BlockPool::addBlock(std::size_t size, std::size_t stride) {
    auto* const block = static_cast<Block*>(std::malloc(sizeof(Block) + size));
    if (!block) return false;
    block->earlier = std::exchange(fLast, block);
    fNext = reinterpret_cast<char*>(block + 1);
    fLeft = fBlockSize = size;
    fStride = stride;
    return true;
}

void BlockPool::giveBack(char* piece) {
    std::memcpy(piece, &fReturned, sizeof fReturned);
    fReturned = piece;
}

void BlockPool::takeOver(BlockPool& other) noexcept {
    if (!other.fLast) return;
    Block* first = other.fLast;
    while (first->earlier) first = first->earlier;
    first->earlier = std::exchange(fLast, nullptr);
    std::swap(other.fReturned, fReturned);
    swap(other);
    other.clear();
}

void BlockPool::swap(BlockPool& other) noexcept {
    std::swap(fLast, other.fLast);
    std::swap(fBlockSize, other.fBlockSize);
    std::swap(fNext, other.fNext);
    std::swap(fLeft, other.fLeft);
    std::swap(fStride, other.fStride);
    std::swap(fReturned, other.fReturned);
}

void BlockPool::clear() { BlockPool().swap(*this); }

}  // namespace orbo::Data
