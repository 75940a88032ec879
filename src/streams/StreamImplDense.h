// Storage in one block, for the numbers from 0.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "streams/StreamImpl.h"

namespace orbo::Data {

/// Every slot below the count is an element; the slots behind it hold defaults. Slots lie
/// `Layout::stride()` bytes apart. Elements of an empty structure need no block. After `clear` the
/// block is gone while the count remains: the elements then have no data until one is set.
class StreamImplDense : public StreamImpl,
                        public Debug::CRTP_Debug<StreamImplDense, Debug::Print>,
                        public Debug::CRTP_Debug<StreamImplDense, Debug::Footprint>,
                        public Counted<StreamImplDense> {
  public:
    StreamImplDense();
    StreamImplDense(const Structure& structure, const std::string& name);
    ~StreamImplDense() override;
    StreamImplDense& operator=(const StreamImplDense&) = delete;

    [[nodiscard]] std::unique_ptr<StreamImpl> clone() const override;
    [[nodiscard]] bool isDense() const override { return true; }
    [[nodiscard]] std::unique_ptr<StreamIteratorImpl> iterator(bool atBegin) const override;

    [[nodiscard]] unsigned int elementCount() const override { return fCount; }
    [[nodiscard]] bool hasElement(const Index& index) const override;
    [[nodiscard]] bool hasElement(unsigned int number) const override { return number < fCount; }
    [[nodiscard]] char* chunkAt(const Index& index) const override;
    [[nodiscard]] char* chunkOf(unsigned int number) const override;
    [[nodiscard]] char* place(unsigned int number) override;
    bool reserve(unsigned int elements) override;
    void visit(ElementVisitor& visitor) const override;
    /// Sets the element to its default; the count stays.
    bool removeElement(const Index& index) override;
    bool reindexElement(const Index& from, const Index& to) override;
    bool swapElements(const Index& first, const Index& second) override;
    bool setElementRange(const Index& first, const Index& last) override;
    /// Drops the block; the count stays.
    bool clear() override;

    /// 4294967295 from the count on.
    [[nodiscard]] Index indexOfPhysicalElement(unsigned int position) const;
    [[nodiscard]] unsigned int physicalElementCount() const { return fAllocated; }
    /// Null for slots that are not allocated.
    [[nodiscard]] char* elementAddr(unsigned int position) const;
    /// Returns false, with nothing changed, when memory runs out, when the number of slots would
    /// exceed 32 bits, and for the first elements of more than 4096 bytes.
    bool ensureSpaceForElement(unsigned int position);

    bool debug(Debug::Print& print) const override { return Debug(this, print); }
    bool debug(Debug::Footprint& footprint) const override { return Debug(this, footprint); }
    static bool Debug(const StreamImplDense* storage, Debug::Footprint& footprint);
    static bool Debug(const StreamImplDense* storage, Debug::Print& print);
    using Counted<StreamImplDense>::objectsAlive;
    using Counted<StreamImplDense>::objectsCreated;

  protected:
    bool store(Index&& index, OwnedChunk&& chunk) override;
    [[nodiscard]] char* placeTyped(Index&& index) override { return place(index.index()); }
    void dropChunks() override;
    bool convert(const Layout& to) override;

  private:
    struct FreeBlock {
        void operator()(char* block) const { std::free(block); }
    };
    using Block = std::unique_ptr<char, FreeBlock>;

    StreamImplDense(const StreamImplDense& other);
    static Block defaultBlock(const Layout& layout, unsigned int slots);
    [[nodiscard]] std::uint64_t grownCapacity(unsigned int position) const;
    bool allocate(unsigned int slots);
    bool copyBlock(const StreamImplDense& other);
    void printElement(unsigned int position, std::size_t digits, bool addresses,
                      Debug::Print& print) const;

    unsigned int fCount = 0;
    unsigned int fAllocated = 0;
    Block fBlock;
};

}  // namespace orbo::Data
