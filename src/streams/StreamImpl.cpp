// The storage that streams share: what both kinds have in common.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamImpl.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <ostream>
#include <utility>

#include "debug/ObjectCounter.h"

namespace orbo::Data {

namespace {

/// Held while readers have chunks converted. This is rare, so one mutex serves all streams.
std::mutex conversion;

const Layout* referenced(const Layout& layout) {
    layout.ref();
    return &layout;
}

}  // namespace

StreamImpl::StreamImpl() : StreamImpl(*RefPtr<Structure>(Structure::create()), "Stream") {}

StreamImpl::StreamImpl(const Structure& structure, const std::string& name)
    : fStructure(&structure),
      fPresentLayout(&Layout::presentOf(structure)),
      fLayout(referenced(**fPresentLayout)),
      fName(name),
      fIndexType(Index::theTypeName()) {}

StreamImpl::StreamImpl(const StreamImpl& other)
    : RefCounted(other),
      CRTP_Debug<StreamImpl, Debug::Print>(other),
      CRTP_Debug<StreamImpl, Debug::Footprint>(other),
      Counted(other),
      fStructure(other.fStructure),
      fPresentLayout(other.fPresentLayout),
      fLayout(referenced(other.layout())),
      fName(other.fName),
      fIndexType(other.fIndexType) {}

StreamImpl::~StreamImpl() { layout().unref(); }

void StreamImpl::setLayout(const Layout& layout) {
    fLayout.exchange(referenced(layout), std::memory_order_acq_rel)->unref();
}

bool StreamImpl::setStructure(const Structure& structure) {
    if (elementCount() != 0) return false;
    RefPtr<const Structure> next(&structure);
    dropChunks();
    noteChange();
    fPresentLayout = &Layout::presentOf(structure);
    setLayout(**fPresentLayout);
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

bool StreamImpl::setElement(const Index& index, const Handle& handle) {
    if (!handle.usesStructure(*fStructure)) return false;
    const Layout& from = HandleAccess::layout(handle);
    const Layout& to = **fPresentLayout;
    const char* const data = HandleAccess::data(handle);
    if (data && &from == &to && &from == &layout()) return storeCopy(index, data);
    // Copies first: the handle may be on a chunk of this storage, which `sync` moves.
    OwnedChunk copy(&from == &to ? to.duplicate(data) : LayoutConversion(from, to).duplicate(data),
                    ChunkDeleter{&to});
    if (data && !copy && to.totalSize() != 0) return false;
    sync();
    // If there was no memory to convert the other chunks, the copy has the wrong layout.
    return (!copy || &layout() == &to) && store(Index(index), std::move(copy));
}

// Copies first: `store` may move or free the chunk.
bool StreamImpl::storeCopy(const Index& index, const char* chunk) {
    OwnedChunk copy(layout().duplicate(chunk), ChunkDeleter{&layout()});
    return (copy || layout().totalSize() == 0) && store(Index(index), std::move(copy));
}

bool StreamImpl::adoptElement(Index&& index, Handle&& handle) {
    if (!handle.usesStructure(*fStructure)) return false;
    const Layout& from = HandleAccess::layout(handle);
    OwnedChunk chunk(HandleAccess::release(handle), ChunkDeleter{&from});
    if (!chunk) return setElement(index, handle);
    sync();
    if (&from == &layout()) return store(std::move(index), std::move(chunk));
    OwnedChunk converted(LayoutConversion(from, layout()).duplicate(chunk.get()),
                         ChunkDeleter{&layout()});
    if (!converted && layout().totalSize() != 0) return false;
    return store(std::move(index), std::move(converted));
}

Handle StreamImpl::emplaceElement(Index&& index) {
    sync();
    return handleOn(place(std::move(index)));
}

Handle StreamImpl::emplaceElement(unsigned int number) {
    sync();
    return handleOn(place(number));
}

bool StreamImpl::mergeStream(const StreamImpl& other) {
    // By contract only numbers below the count are merged, also where mapped storage has others.
    for (unsigned int k = 0; k < other.elementCount(); ++k) {
        other.syncToRead();
        const Handle handle = other.handleOn(other.chunkOf(k));
        if (handle.hasData() && !setElement(Index(k), handle)) return false;
    }
    return true;
}

void StreamImpl::convertToPresent(bool toRead) {
    const std::lock_guard<std::mutex> lock(conversion);
    // Another reader may have converted the chunks already. Chunks that readers were given do not
    // move.
    if (isPresent() || (toRead && fIsOutOfMemory)) return;
    const Layout& now = **fPresentLayout;
    try {
        fIsOutOfMemory = !convert(now);
    } catch (const std::bad_alloc&) {
        fIsOutOfMemory = true;
    }
    if (fIsOutOfMemory) return;
    noteChange();
    setLayout(now);
}

void StreamImpl::replace(char* destination, OwnedChunk&& chunk) const {
    layout().destroyStrings(destination);
    std::memcpy(destination, chunk.get(), static_cast<std::size_t>(layout().totalSize()));
    std::free(chunk.release());  // the destination owns its strings now
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

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::StreamImpl>;
