// Memory for the chunks of one layout, in blocks of many chunks.
// SPDX-License-Identifier: Apache-2.0
#include "streams/ChunkPool.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace orbo::Data {

char* ChunkPool::take(const Layout& layout) {
    if (isLarge(layout)) return layout.allocate();
    if (layout.totalSize() == 0) return nullptr;
    return fPool.take(static_cast<std::size_t>(layout.stride()));
}

bool ChunkPool::reserve(const Layout& layout, std::size_t chunks) {
    if (isLarge(layout) || layout.totalSize() == 0) return true;
    return fPool.reserve(static_cast<std::size_t>(layout.stride()), chunks);
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
    fPool.giveBack(chunk);
}

}  // namespace orbo::Data
