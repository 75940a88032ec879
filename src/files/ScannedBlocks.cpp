// Remembers what a scan has read from a file, for those who read it again.
// SPDX-License-Identifier: Apache-2.0
#include "files/ScannedBlocks.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orbo::Files {

// Outside of the blocks the file decides whether the offset can be reached.
bool ScannedBlocks::seek(std::uint64_t offset) {
    fPosition = offset;
    return has(offset, offset) || noting(fFile.seek(offset));
}

std::optional<std::size_t> ScannedBlocks::read(char* to, std::size_t count) {
    if (has(fPosition, fPosition + count)) {
        copy(fPosition, to, count);
        // A scan goes on in front of the record. Of a small part of one the rest may follow.
        forgetFrom(count < kBlockSize ? fPosition + count : fPosition);
        fPosition += count;
        return count;
    }
    if (!fFile.seek(fPosition)) return noting(std::optional<std::size_t>());
    const auto got = noting(fFile.read(to, count));
    if (got) remember(to, *got);
    fPosition += got.value_or(0);
    return got;
}

void ScannedBlocks::copy(std::uint64_t from, char* to, std::size_t count) const {
    auto block = std::upper_bound(
        fBlocks.begin(), fBlocks.end(), from,
        [](std::uint64_t offset, const Block& each) { return offset < each.begin; });
    for (--block; count > 0; ++block) {
        const auto inside = static_cast<std::size_t>(from - block->begin);
        const std::size_t size = std::min(count, block->size - inside);
        std::memcpy(to, block->bytes.get() + inside, size);
        to += size;
        from += size;
        count -= size;
    }
}

// A whole block that is not directly in front of the others begins another scan. The first one of
// the file may be smaller.
void ScannedBlocks::remember(const char* bytes, std::size_t count) {
    const bool goesOn = !fBlocks.empty() && fPosition + count == fBlocks.front().begin;
    if (goesOn ? count > kBlockSize : count != kBlockSize) return;
    if (!goesOn) fBlocks.clear();
    Block block{fPosition, count, std::unique_ptr<char[]>(new char[count])};
    std::memcpy(block.bytes.get(), bytes, count);
    fBlocks.push_front(std::move(block));
    if (fBlocks.size() > kMostBlocks) fBlocks.pop_back();
}

void ScannedBlocks::forgetFrom(std::uint64_t offset) {
    while (!fBlocks.empty() && fBlocks.back().begin >= offset) fBlocks.pop_back();
}

}  // namespace orbo::Files
