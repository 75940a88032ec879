// Shared storage of streams: what both kinds have in common.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamImpl.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "core/HandleAccess.h"
#include "debug/ObjectCounter.h"

namespace orbo::Data {

Debug::ObjectCounter StreamImpl::_objects;

StreamImpl::StreamImpl()
    : fStructure(Structure::create()),
      fPresentLayout(&Layout::presentOf(*fStructure)),
      fLayout(fPresentLayout->get()),
      fName("Stream"),
      fIndexType(Index::theTypeName()) {
    _objects.objectCreated();
}

StreamImpl::StreamImpl(const Structure& structure, const std::string& name)
    : fStructure(&structure),
      fPresentLayout(&Layout::presentOf(structure)),
      fLayout(fPresentLayout->get()),
      fName(name),
      fIndexType(Index::theTypeName()) {
    _objects.objectCreated();
}

StreamImpl::StreamImpl(const StreamImpl& other)
    : RefCounted(other),
      CRTP_Debug<StreamImpl, Debug::Print>(other),
      CRTP_Debug<StreamImpl, Debug::Footprint>(other),
      fStructure(other.fStructure),
      fPresentLayout(other.fPresentLayout),
      fLayout(other.fLayout),
      fName(other.fName),
      fIndexType(other.fIndexType) {
    _objects.objectCreated();
}

StreamImpl::~StreamImpl() { _objects.objectDestroyed(); }

bool StreamImpl::setStructure(const Structure& structure) {
    if (elementCount() != 0) return false;
    RefPtr<const Structure> next(&structure);
    dropChunks();
    noteChange();
    fPresentLayout = &Layout::presentOf(structure);
    fLayout = RefPtr<const Layout>(fPresentLayout->get());
    fStructure = std::move(next);
    return true;
}

bool StreamImpl::setIndexType(const std::string& typeName) {
    if (elementCount() != 0) return false;
    dropChunks();
    fIndexType = typeName;
    return true;
}

bool StreamImpl::setUseDefaults(bool use) { return std::exchange(fUseDefaults, use); }

Handle StreamImpl::element(const Index& index) {
    if (!index.complexIndex()) return element(index.index());
    sync();
    return HandleAccess::borrow(*fStructure, *fLayout, chunkAt(index));
}

Handle StreamImpl::element(unsigned int number) {
    sync();
    return HandleAccess::borrow(*fStructure, *fLayout, chunkOf(number));
}

bool StreamImpl::setElement(const Index& index, const Handle& handle) {
    if (!handle.usesStructure(*fStructure)) return false;
    const Layout& from = HandleAccess::layout(handle);
    const Layout& to = **fPresentLayout;
    const char* const data = HandleAccess::data(handle);
    if (data && &from == &to && &from == fLayout.get()) return storeCopy(index, data);
    // The copy comes first: the handle may be on a chunk of this storage, which `sync` moves.
    OwnedChunk copy(&from == &to ? to.duplicate(data) : LayoutConversion(from, to).duplicate(data),
                    ChunkDeleter{&to});
    if (data && !copy && to.totalSize() != 0) return false;
    sync();
    // Without memory to convert the others, this one has the wrong layout.
    return (!copy || fLayout.get() == &to) && store(Index(index), std::move(copy));
}

// The copy comes first: `store` may move or free the chunk.
bool StreamImpl::storeCopy(const Index& index, const char* chunk) {
    OwnedChunk copy(fLayout->duplicate(chunk), ChunkDeleter{fLayout.get()});
    return (copy || fLayout->totalSize() == 0) && store(Index(index), std::move(copy));
}

bool StreamImpl::adoptElement(Index&& index, Handle&& handle) {
    if (!handle.usesStructure(*fStructure)) return false;
    const Layout& from = HandleAccess::layout(handle);
    OwnedChunk chunk(HandleAccess::release(handle), ChunkDeleter{&from});
    if (!chunk) return setElement(index, handle);
    sync();
    if (&from == fLayout.get()) return store(std::move(index), std::move(chunk));
    OwnedChunk converted(LayoutConversion(from, *fLayout).duplicate(chunk.get()),
                         ChunkDeleter{fLayout.get()});
    if (!converted && fLayout->totalSize() != 0) return false;
    return store(std::move(index), std::move(converted));
}

Handle StreamImpl::emplaceElement(Index&& index) {
    if (!index.complexIndex()) return emplaceElement(index.index());
    sync();
    return HandleAccess::borrow(*fStructure, *fLayout, placeTyped(std::move(index)));
}

Handle StreamImpl::emplaceElement(unsigned int number) {
    sync();
    return HandleAccess::borrow(*fStructure, *fLayout, place(number));
}

bool StreamImpl::mergeStream(StreamImpl& other) {
    // Only numbers below the count are looked at, also where mapped storage has others.
    for (unsigned int k = 0; k < other.elementCount(); ++k) {
        const Handle handle = other.element(Index(k));
        if (handle.hasData() && !setElement(Index(k), handle)) return false;
    }
    return true;
}

void StreamImpl::convertToPresent() {
    const Layout& now = **fPresentLayout;
    try {
        if (!convert(now)) return;
        fLayout = RefPtr<const Layout>(&now);
        noteChange();
    } catch (const std::bad_alloc&) {
        // The chunks stay as they are, and the next operation tries again.
    }
}

void StreamImpl::replace(char* destination, OwnedChunk&& chunk) const {
    fLayout->destroyStrings(destination);
    std::memcpy(destination, chunk.get(), static_cast<std::size_t>(fLayout->totalSize()));
    std::free(chunk.release());  // its strings live on in the destination
}

void StreamImpl::printMembers(Handle& handle, const Layout& layout, Debug::Print& print) {
    for (unsigned int k = 0; k < layout.memberCount(); ++k) {
        print.skipNextIndent(true);
        if (k > 0) print << " | ";
        handle.setPositionByMemberIndex(k);
        print.skipNextIndent(true);
        Handle::Debug(&handle, print);
    }
}

void StreamImpl::addStrings(const Layout& layout, const char* chunk, Debug::Footprint& footprint) {
    if (!chunk || !layout.hasStrings()) return;
    for (const Member& member : layout.members()) {
        if (member.type() != Member::kString) continue;
        const auto* strings = reinterpret_cast<char* const*>(chunk + member.offset());
        for (unsigned int k = 0; k < member.length(); ++k) {
            if (strings[k]) footprint.addMember(strings[k], std::strlen(strings[k]) + 1);
        }
    }
}

bool StreamImpl::Debug(const StreamImpl* storage, Debug::Footprint& footprint) {
    if (storage) footprint.addObject(storage, sizeof(StreamImpl));
    return true;
}

bool StreamImpl::Debug(const StreamImpl* storage, Debug::Print& print) {
    if (!storage) return true;
    print.doIndent() << "Data Stream '" << storage->fName << "' uses structure '"
                     << storage->structure().name() << "' with index type '" << storage->fIndexType
                     << "'\n";
    return true;
}

unsigned long long StreamImpl::objectsCreated() { return _objects.created(); }

unsigned long long StreamImpl::objectsAlive() { return _objects.alive(); }

}  // namespace orbo::Data
