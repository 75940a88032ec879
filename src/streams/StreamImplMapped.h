// Storage for elements of any indices.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "streams/BlockPool.h"
#include "streams/ChunkPool.h"
#include "streams/NumberedElements.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

class StreamImplMapped : public StreamImpl,
                         public Debug::CRTP_Debug<StreamImplMapped, Debug::Print>,
                         public Debug::CRTP_Debug<StreamImplMapped, Debug::Footprint>,
                         public Counted<StreamImplMapped> {
  public:
    /// Maps indices to chunks, which are null for elements without data. Keys are never assigned,
    /// because assigned indices share their typed values.
    using TypedElements =
        std::map<Index, char*, std::less<>, PoolAllocator<std::pair<const Index, char*>>>;

    StreamImplMapped();
    StreamImplMapped(const Structure& structure, const std::string& name);
    /// An empty storage with the name, structure and index type of the other.
    explicit StreamImplMapped(const StreamImpl& base);
    ~StreamImplMapped() override;
    StreamImplMapped& operator=(const StreamImplMapped&) = delete;

    [[nodiscard]] std::unique_ptr<StreamImpl> clone() const override;
    [[nodiscard]] bool isDense() const override { return false; }
    [[nodiscard]] std::unique_ptr<StreamIteratorImpl> iterator(bool atBegin) const override;

    [[nodiscard]] unsigned int elementCount() const override;
    void visit(ElementVisitor& visitor) const override;
    bool reserve(unsigned int elements) override;
    bool clear() override;
    /// Stores the range, which restricts nothing.
    bool setElementRange(const Index& first, const Index& last) override;

    [[nodiscard]] bool hasElement(unsigned int number) const override;
    [[nodiscard]] char* chunkOf(unsigned int number) const override;
    [[nodiscard]] char* place(unsigned int number) override;

    /// Moves all elements of another storage of this layout here, if they have numbers above all
    /// that are here; where memory runs out, `std::bad_alloc` is thrown and nothing moved.
    bool takeOver(StreamImplMapped& later);

    [[nodiscard]] bool hasElement(const Index& index) const override;
    [[nodiscard]] char* chunkAt(const Index& index) const override;
    bool removeElement(const Index& index) override;
    bool reindexElement(const Index& from, const Index& to) override;
    bool swapElements(const Index& first, const Index& second) override;

    /// The elements with numbers, which come first in order.
    [[nodiscard]] const NumberedElements& numbered() const { return fNumbered; }
    /// The bytes from one chunk to the next in a block.
    [[nodiscard]] std::size_t stride() const { return fPool.stride(); }
    [[nodiscard]] const TypedElements& typed() const { return fTyped; }

    bool debug(Debug::Print& print) const override { return Debug(this, print); }
    bool debug(Debug::Footprint& footprint) const override { return Debug(this, footprint); }
    static bool Debug(const StreamImplMapped* storage, Debug::Footprint& footprint);
    static bool Debug(const StreamImplMapped* storage, Debug::Print& print);
    using Counted<StreamImplMapped>::objectsAlive;
    using Counted<StreamImplMapped>::objectsCreated;

  protected:
    bool store(Index&& index, OwnedChunk&& chunk) override;
    bool storeCopy(const Index& index, const char* chunk) override;
    [[nodiscard]] char* placeTyped(Index&& index) override;
    void dropChunks() override { clear(); }
    bool convert(const Layout& to) override;

  private:
    /// Calls `visit(index, chunk)` for each in order.
    template <typename Visit>
    void forEach(const Visit& visit) const;
    /// Calls `visit(chunk)` for each in order.
    template <typename Visit>
    void forEachChunk(const Visit& visit) const;
    /// Calls `change(chunk)`, which may replace the chunk, for each in order.
    template <typename Change>
    void changeEach(std::size_t stride, const Change& change);
    /// The element's chunk; null when there is none.
    [[nodiscard]] char* present(unsigned int number) {
        return fNumbered.chunkToChange(number, stride());
    }
    [[nodiscard]] TypedElements::iterator placeOf(const Index& index);
    [[nodiscard]] bool isAt(TypedElements::const_iterator place, const Index& index) const;
    /// Stores the chunk of an element, and returns the chunk that it had: null for a new element.
    char* put(const Index& index, char* chunk);
    /// Does the same with a chunk of the pool, which goes back there when memory runs out.
    char* putFresh(unsigned int number, char* chunk);
    void erase(const Index& index);
    void free(char* chunk);
    /// Frees what the chunks own, and large chunks themselves.
    void freeStrings();
    [[nodiscard]] char* takeDefault();
    [[nodiscard]] char* adopt(OwnedChunk&& chunk);

    NumberedElements fNumbered;
    BlockPool fNodes;
    TypedElements fTyped{TypedElements::allocator_type(fNodes)};
    ChunkPool fPool;
    Index fLowest;
    Index fHighest;
};

}  // namespace orbo::Data
