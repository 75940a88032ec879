// Shared storage of streams: what both kinds have in common.
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

#include "core/HandleAccess.h"
#include "core/Layout.h"

namespace orbo::Data {

class StreamIteratorImpl;

struct ChunkDeleter {
    const Layout* layout = nullptr;
    void operator()(char* chunk) const { layout->free(chunk); }
};
/// A chunk on its way into a storage.
using OwnedChunk = std::unique_ptr<char, ChunkDeleter>;

/// Is told of elements. Chunks are null for those without data.
class ElementVisitor {
  public:
    virtual void visit(unsigned int number, char* chunk) = 0;
    virtual void visit(const Index& index, char* chunk) = 0;

  protected:
    ~ElementVisitor() = default;
};

/// Holds its chunks in the layout that the structure had when they were made. Every operation that
/// touches chunks calls `sync` or `syncToRead` first, which converts them when the structure has
/// changed since.
///
/// Any number of threads may use what is `const` at once, while nobody changes the storage or its
/// structure.
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

    /// At the first element in order, or behind the last.
    [[nodiscard]] virtual std::unique_ptr<StreamIteratorImpl> iterator(bool atBegin) const = 0;

    [[nodiscard]] virtual unsigned int elementCount() const = 0;
    [[nodiscard]] virtual bool hasElement(const Index& index) const = 0;
    [[nodiscard]] virtual bool hasElement(unsigned int number) const = 0;
    /// The element's chunk, null without one; after a `sync` or `syncToRead`.
    [[nodiscard]] virtual char* chunkAt(const Index& index) const = 0;
    [[nodiscard]] virtual char* chunkOf(unsigned int number) const = 0;
    /// On the element's chunk.
    [[nodiscard]] Handle handleOn(char* chunk) const {
        return HandleAccess::borrow(*fStructure, layout(), chunk);
    }
    bool setElement(const Index& index, const Handle& handle);
    /// Takes the handle's chunk over when the handle owns it, else copies it.
    bool adoptElement(Index&& index, Handle&& handle);
    /// The same of a default chunk, which is made where it stays.
    [[nodiscard]] Handle emplaceElement(Index&& index);
    [[nodiscard]] Handle emplaceElement(unsigned int number);
    /// The chunk of an element that is there from now on, with default values. Null without memory,
    /// and for chunks of no bytes. After a `sync`.
    [[nodiscard]] virtual char* place(unsigned int number) = 0;
    /// After a `sync`.
    virtual bool reserve(unsigned int elements) = 0;
    /// In order; after a `sync` or `syncToRead`.
    virtual void visit(ElementVisitor& visitor) const = 0;
    virtual bool removeElement(const Index& index) = 0;
    virtual bool reindexElement(const Index& from, const Index& to) = 0;
    virtual bool swapElements(const Index& first, const Index& second) = 0;
    virtual bool setElementRange(const Index& first, const Index& last) = 0;
    virtual bool clear() = 0;
    bool mergeStream(const StreamImpl& other);

    /// Brings the chunks to the structure's present layout. When there is no memory for that, the
    /// storage goes on with the layout that it has.
    void sync() {
        if (!isPresent()) convertToPresent(false);
    }
    /// The same for an operation that only reads. The first thread that reads after the structure's
    /// change converts the chunks and the others wait for it, so that no chunk moves while somebody
    /// reads. Where memory runs out for that, readers go on with the old layout until the next
    /// `sync`.
    void syncToRead() const {
        if (!isPresent()) const_cast<StreamImpl*>(this)->convertToPresent(true);
    }
    /// The one that the chunks have.
    [[nodiscard]] const Layout& layout() const { return *fLayout.load(std::memory_order_relaxed); }
    /// Grows when elements with numbers come or go, when a chunk lies elsewhere and when the
    /// structure is another. Not when dense storage has more elements in the same block.
    [[nodiscard]] const std::uint64_t& changes() const { return fChanges; }

    /// Virtual: both reach the `Debug` of the kind.
    using CRTP_Debug<StreamImpl, Debug::Footprint>::debug;
    using CRTP_Debug<StreamImpl, Debug::Print>::debug;
    static bool Debug(const StreamImpl* storage, Debug::Footprint& footprint);
    /// The line that both kinds of dump begin with.
    static bool Debug(const StreamImpl* storage, Debug::Print& print);

  protected:
    /// Named "Stream", with an empty structure of its own.
    StreamImpl();
    StreamImpl(const Structure& structure, const std::string& name);
    /// The copy does not use defaults, whatever `other` does.
    StreamImpl(const StreamImpl& other);

    /// Stores a chunk of `layout()`, or an element without data. Takes the chunk when the result is
    /// true, and of the index what it needs. An element that is there keeps its address and gets
    /// the new content.
    virtual bool store(Index&& index, OwnedChunk&& chunk) = 0;
    /// `store`, of a copy of a chunk of `layout()`, which may be the element's own. False without
    /// memory.
    virtual bool storeCopy(const Index& index, const char* chunk);
    /// `place`, of a typed index.
    [[nodiscard]] virtual char* placeTyped(Index&& index) = 0;
    /// Forgets all elements, and whatever was allocated for them.
    virtual void dropChunks() = 0;
    /// All chunks from `layout()` to another; false with nothing changed without memory.
    virtual bool convert(const Layout& to) = 0;

    /// Gives `destination` the content of `chunk`, both of `layout()`.
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
    bool fIsOutOfMemory = false;  // the last conversion was
};

}  // namespace orbo::Data
