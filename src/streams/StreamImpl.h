// The storage that streams share: what both kinds have in common.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Index.h>
#include <data/Structure.h>
#include <debug/CRTP_Debug.h>
#include <debug/Counted.h>
#include <debug/RefCounted.h>
#include <debug/RefPtr.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "core/HandleAccess.h"
#include "core/Layout.h"

namespace orbo::Data {

class StreamIteratorImpl;

struct ChunkDeleter {
    const Layout* layout = nullptr;
    void operator()(char* chunk) const { layout->free(chunk); }
};
/// A chunk that no storage owns yet.
using OwnedChunk = std::unique_ptr<char, ChunkDeleter>;

/// Receives elements. The chunk of an element without data is null.
class ElementVisitor {
  public:
    virtual void visit(unsigned int number, char* chunk) = 0;
    virtual void visit(const Index& index, char* chunk) = 0;

  protected:
    ~ElementVisitor() = default;
};

/// Holds chunks in the layout that the structure had when they were made. Every operation that
/// touches chunks first calls `sync` or `syncToRead`, which converts them when the structure has
/// changed since.
///
/// Any number of threads may call `const` functions at once, while no thread changes the storage or
/// its structure.
class StreamImpl : public RefCounted,
                   public Debug::CRTP_Debug<StreamImpl, Debug::Print>,
                   public Debug::CRTP_Debug<StreamImpl, Debug::Footprint>,
                   public Counted<StreamImpl> {
  public:
    ~StreamImpl() override;
    StreamImpl& operator=(const StreamImpl&) = delete;

    /// A deep copy of the same kind; null when memory runs out.
    [[nodiscard]] virtual std::unique_ptr<StreamImpl> clone() const = 0;
    [[nodiscard]] virtual bool isDense() const = 0;

    [[nodiscard]] const std::string& name() const { return fName; }
    void setName(const std::string& name) { fName = name; }
    [[nodiscard]] const Structure& structure() const { return *fStructure; }
    bool setStructure(const Structure& structure);
    [[nodiscard]] const std::string& indexType() const { return fIndexType; }
    bool setIndexType(const std::string& typeName);
    [[nodiscard]] bool useDefaults() const { return fUseDefaults; }
    bool setUseDefaults(bool use);

    /// An iterator at the first element, or behind the last.
    [[nodiscard]] virtual std::unique_ptr<StreamIteratorImpl> iterator(bool atBegin) const = 0;

    [[nodiscard]] virtual unsigned int elementCount() const = 0;
    [[nodiscard]] virtual bool hasElement(const Index& index) const = 0;
    [[nodiscard]] virtual bool hasElement(unsigned int number) const = 0;
    /// The element's chunk; null when there is none. Call `sync` or `syncToRead` before.
    [[nodiscard]] virtual char* chunkAt(const Index& index) const = 0;
    [[nodiscard]] virtual char* chunkOf(unsigned int number) const = 0;
    /// A handle on an element's chunk.
    [[nodiscard]] Handle handleOn(char* chunk) const {
        return HandleAccess::borrow(*fStructure, layout(), chunk);
    }
    bool setElement(const Index& index, const Handle& handle);
    /// Takes the chunk over when the handle owns it, otherwise copies it.
    bool adoptElement(Index&& index, Handle&& handle);
    /// Stores a default chunk, which is made where it stays.
    [[nodiscard]] Handle emplaceElement(Index&& index);
    [[nodiscard]] Handle emplaceElement(unsigned int number);
    /// Returns the chunk of a new or existing element, set to default values. Null when memory runs
    /// out, and for chunks of no bytes. Call `sync` before.
    [[nodiscard]] virtual char* place(unsigned int number) = 0;
    [[nodiscard]] char* place(Index&& index) {
        return index.complexIndex() ? placeTyped(std::move(index)) : place(index.index());
    }
    /// Call `sync` before.
    virtual bool reserve(unsigned int elements) = 0;
    /// Shows the elements in order. Call `sync` or `syncToRead` before.
    virtual void visit(ElementVisitor& visitor) const = 0;
    virtual bool removeElement(const Index& index) = 0;
    virtual bool reindexElement(const Index& from, const Index& to) = 0;
    virtual bool swapElements(const Index& first, const Index& second) = 0;
    virtual bool setElementRange(const Index& first, const Index& last) = 0;
    virtual bool clear() = 0;
    bool mergeStream(const StreamImpl& other);

    /// Converts the chunks to the structure's present layout. Without memory for that, the storage
    /// keeps the layout that it has.
    void sync() {
        if (!isPresent()) convertToPresent(false);
    }
    /// Does the same for an operation that only reads. The first thread that reads after the
    /// structure's change converts the chunks; the others wait, so no chunk moves while somebody
    /// reads. Without memory, readers keep the old layout until the next `sync`.
    void syncToRead() const {
        if (!isPresent()) const_cast<StreamImpl*>(this)->convertToPresent(true);
    }
    /// The layout of the chunks.
    [[nodiscard]] const Layout& layout() const { return *fLayout.load(std::memory_order_relaxed); }
    /// A number that grows when numbered elements come or go, when a chunk moves and when the
    /// structure is replaced. It does not grow when dense storage gets more elements in the same
    /// block.
    [[nodiscard]] const std::uint64_t& changes() const { return fChanges; }

    /// These are virtual and reach the `Debug` of the kind of storage.
    using CRTP_Debug<StreamImpl, Debug::Footprint>::debug;
    using CRTP_Debug<StreamImpl, Debug::Print>::debug;
    static bool Debug(const StreamImpl* storage, Debug::Footprint& footprint);
    /// Prints the first line of the dump of both kinds.
    static bool Debug(const StreamImpl* storage, Debug::Print& print);

  protected:
    /// Named "Stream", with an empty structure of its own.
    StreamImpl();
    StreamImpl(const Structure& structure, const std::string& name);
    /// The copy does not use defaults, whatever `other` does.
    StreamImpl(const StreamImpl& other);

    /// Stores a chunk of `layout()`, or an element without data. Takes the chunk when the result is
    /// true, and moves from the index if it needs it. An existing element keeps its address and
    /// gets the new content.
    virtual bool store(Index&& index, OwnedChunk&& chunk) = 0;
    /// Stores a copy of a chunk of `layout()`, which may be the element's own. Returns false when
    /// memory runs out.
    virtual bool storeCopy(const Index& index, const char* chunk);
    /// Does what `place` does, for a typed index.
    [[nodiscard]] virtual char* placeTyped(Index&& index) = 0;
    /// Removes all elements and frees their memory.
    virtual void dropChunks() = 0;
    /// Converts all chunks from `layout()` to another. Returns false, with nothing changed, when
    /// memory runs out.
    virtual bool convert(const Layout& to) = 0;

    /// Moves the content of `chunk` to `destination`, both of `layout()`.
    void replace(char* destination, OwnedChunk&& chunk) const;

    void noteChange() { ++fChanges; }

    static void printMembers(Handle& handle, const Layout& layout, Debug::Print& print);
    static void addStrings(const Layout& layout, const char* chunk, Debug::Footprint& footprint);

  private:
    [[nodiscard]] bool isPresent() const {
        return fPresentLayout->get() == fLayout.load(std::memory_order_acquire);
    }
    void convertToPresent(bool toRead);
    void setLayout(const Layout& layout);

    RefPtr<const Structure> fStructure;
    const RefPtr<Layout>* fPresentLayout;
    std::atomic<const Layout*> fLayout;  // one reference
    std::uint64_t fChanges = 0;
    std::string fName;
    std::string fIndexType;
    bool fUseDefaults = false;
    bool fIsOutOfMemory = false;  // the last conversion ran out of memory
};

}  // namespace orbo::Data
