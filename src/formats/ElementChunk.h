// Holds the chunk of an element while its values are read.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "core/Layout.h"

namespace orbo::Data {

/// The chunk of a large structure grows with the values that are read, so that lengths in a
/// structure's text reserve no memory. A small chunk is allocated as a whole.
class ElementChunk {
  public:
    /// The layout outlives this object.
    explicit ElementChunk(const Layout& layout) : fLayout(layout) {}
    ElementChunk(const ElementChunk&) = delete;
    ElementChunk& operator=(const ElementChunk&) = delete;
    ~ElementChunk();

    /// The number of values of a member that are read at once; a matrix is one value.
    static unsigned int mostAtOnce(const Member& member);
    /// Returns slots for `count` values of the member, from value `first` on. Members and values
    /// come in order. The slots hold defaults, and are valid until the next call. Throws
    /// `std::bad_alloc`.
    char* slots(const Member& member, unsigned int first, unsigned int count);
    /// False for a large chunk until there were slots for all values.
    [[nodiscard]] bool isWhole() const;
    /// Gives away a whole chunk, and starts a new one. Throws `std::bad_alloc`.
    [[nodiscard]] char* release();
    /// Frees what was read, and starts a new chunk.
    void clear();
    /// From now on no chunk is kept: the same slots are given again and again, so that the reader
    /// can count errors.
    void discard();

  private:
    void reach(std::uint64_t end);
    char* discardedSlots(const Member& member, unsigned int count);
    void freeDiscarded();

    const Layout& fLayout;
    char* fChunk = nullptr;
    std::uint64_t fSize = 0;  // its bytes
    bool fDiscards = false;
    char* fScratch = nullptr;
    std::uint64_t fScratchStrings = 0;
};

}  // namespace orbo::Data
