// The chunk of an element while its values are read.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "core/Layout.h"

namespace orbo::Data {

/// The chunk of a large structure grows with the values that are read: what a structure says about
/// lengths reserves nothing. A small one is allocated as a whole.
class ElementChunk {
  public:
    /// The layout outlives it.
    explicit ElementChunk(const Layout& layout) : fLayout(layout) {}
    ElementChunk(const ElementChunk&) = delete;
    ElementChunk& operator=(const ElementChunk&) = delete;
    ~ElementChunk();

    /// So many values of a member are read at once; a matrix is one value.
    static unsigned int mostAtOnce(const Member& member);
    /// Where to put `count` values of the member, from value `first` on. Members and values come in
    /// order. The slots are default. Good until the next call; throws `std::bad_alloc`.
    char* slots(const Member& member, unsigned int first, unsigned int count);
    /// False for a large chunk as long as there were no slots for all values.
    [[nodiscard]] bool isWhole() const;
    /// Gives away a whole chunk, and begins anew. Throws `std::bad_alloc`.
    [[nodiscard]] char* release();
    /// Frees what was read, and begins anew.
    void clear();
    /// From now on the slots serve to count errors: they are used again and again, and no chunk
    /// comes of them.
    void discard();

  private:
    void reach(std::uint64_t end);
    char* discardedSlots(const Member& member, unsigned int count);
    void freeDiscarded();

    const Layout& fLayout;
    char* fChunk = nullptr;
    std::uint64_t fSize = 0;  // bytes of it
    bool fDiscards = false;
    char* fScratch = nullptr;
    std::uint64_t fScratchStrings = 0;
};

}  // namespace orbo::Data
