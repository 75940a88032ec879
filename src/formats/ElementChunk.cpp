// Holds the chunk of an element while its values are read.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ElementChunk.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "core/DataTypes.h"

namespace orbo::Data {

namespace {

/// Chunks of up to this many bytes are allocated as a whole; larger ones grow by at least as many.
constexpr std::uint64_t kSmall = 64 * 1024;

std::uint64_t sizeOf(const Member& member) {
    return static_cast<std::uint64_t>(dataType(member.type()).size);
}

void freeStrings(char* slots, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        char* text;
        std::memcpy(&text, slots + i * sizeof text, sizeof text);
        std::free(text);
    }
}

}  // namespace

ElementChunk::~ElementChunk() {
    clear();
    freeDiscarded();
    std::free(fScratch);
}

unsigned int ElementChunk::mostAtOnce(const Member& member) {
    return static_cast<unsigned int>(kSmall / sizeOf(member));
}

char* ElementChunk::slots(const Member& member, unsigned int first, unsigned int count) {
    if (fDiscards) return discardedSlots(member, count);
    const std::uint64_t begin = member.offset() + first * sizeOf(member);
    reach(begin + count * sizeOf(member));
    return fChunk + begin;
}

// Allocates a quarter more than is needed. The text of the values is at least as long, so memory
// stays in proportion to the text.
void ElementChunk::reach(std::uint64_t end) {
    if (end <= fSize) return;
    const std::uint64_t total = fLayout.totalSize();
    const std::uint64_t size =
        total <= kSmall ? total : std::min(end + std::max(end / 4, kSmall), total);
    char* const chunk =
        total <= kSmall ? fLayout.allocate() : static_cast<char*>(std::realloc(fChunk, size));
    if (!chunk) throw std::bad_alloc();
    if (total > kSmall) std::memset(chunk + fSize, 0, size - fSize);
    fChunk = chunk;
    fSize = size;
}

bool ElementChunk::isWhole() const {
    return fLayout.totalSize() <= kSmall || fSize == fLayout.totalSize();
}

char* ElementChunk::release() {
    reach(fLayout.totalSize());
    fSize = 0;
    return std::exchange(fChunk, nullptr);
}

void ElementChunk::clear() {
    if (!fChunk) return;
    for (const Member& member : fLayout.members()) {
        if (member.offset() >= fSize) break;
        if (member.type() != Member::kString) continue;
        const std::uint64_t reached = (fSize - member.offset()) / sizeof(char*);
        freeStrings(fChunk + member.offset(), std::min<std::uint64_t>(reached, member.length()));
    }
    std::free(std::exchange(fChunk, nullptr));
    fSize = 0;
}

void ElementChunk::discard() {
    clear();
    fDiscards = true;
}

char* ElementChunk::discardedSlots(const Member& member, unsigned int count) {
    freeDiscarded();
    if (!fScratch) fScratch = static_cast<char*>(std::malloc(kSmall));
    if (!fScratch) throw std::bad_alloc();
    if (member.type() == Member::kString) {
        std::memset(fScratch, 0, count * sizeof(char*));
        fScratchStrings = count;
    }
    return fScratch;
}

void ElementChunk::freeDiscarded() { freeStrings(fScratch, std::exchange(fScratchStrings, 0)); }

}  // namespace orbo::Data
