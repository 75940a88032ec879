// Storage that holds elements of any indices where they were set.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamImplMapped.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

#include <iterator>
#include <utility>
#include <vector>

#include "core/HandleAccess.h"
#include "debug/ObjectCounter.h"
#include "streams/StreamMappedIteratorImpl.h"

namespace orbo::Data {

Debug::ObjectCounter StreamImplMapped::_objects;

StreamImplMapped::StreamImplMapped() { _objects.objectCreated(); }

StreamImplMapped::StreamImplMapped(const Structure& structure, const std::string& name)
    : StreamImpl(structure, name) {
    _objects.objectCreated();
}

StreamImplMapped::StreamImplMapped(const StreamImpl& base) : StreamImpl(base) {
    _objects.objectCreated();
}

StreamImplMapped::~StreamImplMapped() {
    clear();
    _objects.objectDestroyed();
}

template <typename Visit>
void StreamImplMapped::forEach(const Visit& visit) {
    fNumbered.forEach([&](unsigned int number, char*& chunk) { visit(Index(number), chunk); });
    for (auto& [index, chunk] : fTyped) visit(index, chunk);
}

template <typename Visit>
void StreamImplMapped::forEachChunk(const Visit& visit) {
    fNumbered.forEach([&](unsigned int, char*& chunk) { visit(chunk); });
    for (auto& entry : fTyped) visit(entry.second);
}

char** StreamImplMapped::find(const Index& index) {
    if (!index.complexIndex()) {
        NumberedElements::Entry* entry = fNumbered.find(index.index());
        return entry ? &entry->chunk : nullptr;
    }
    return chunkIn(placeOf(index), index);
}

// At the place of an index is its element or the one behind it.
char** StreamImplMapped::chunkIn(TypedElements::iterator place, const Index& index) {
    return place == fTyped.end() || index < place->first ? nullptr : &place->second;
}

// The first that is not less. Most are stored in order.
StreamImplMapped::TypedElements::iterator StreamImplMapped::placeOf(const Index& index) {
    if (fTyped.empty() || std::prev(fTyped.end())->first < index) return fTyped.end();
    return fTyped.lower_bound(index);
}

char*& StreamImplMapped::insert(const Index& index) {
    if (!index.complexIndex()) return fNumbered.insert(index.index()).chunk;
    return fTyped.try_emplace(placeOf(index), index, nullptr)->second;
}

void StreamImplMapped::erase(const Index& index) {
    if (index.complexIndex()) {
        fTyped.erase(index);
    } else {
        fNumbered.erase(index.index());
    }
}

void StreamImplMapped::free(char* chunk) {
    if (!chunk) return;
    layout().destroyStrings(chunk);
    fPool.giveBack(layout(), chunk);
}

std::unique_ptr<StreamImpl> StreamImplMapped::clone() {
    sync();
    auto copy = std::make_unique<StreamImplMapped>(static_cast<const StreamImpl&>(*this));
    copy->fLowest = fLowest;
    copy->fHighest = fHighest;
    bool copied = true;
    forEach([&](const Index& index, const char* chunk) {
        if (!copied) return;
        OwnedChunk duplicate(layout().duplicate(chunk), ChunkDeleter{&layout()});
        copied = (!chunk || duplicate) && copy->store(Index(index), std::move(duplicate));
    });
    if (!copied) return nullptr;
    return copy;
}

std::unique_ptr<StreamIteratorImpl> StreamImplMapped::begin() {
    return std::make_unique<StreamMappedIteratorImpl>(*this, true);
}

std::unique_ptr<StreamIteratorImpl> StreamImplMapped::end() {
    return std::make_unique<StreamMappedIteratorImpl>(*this, false);
}

unsigned int StreamImplMapped::elementCount() const {
    return static_cast<unsigned int>(fNumbered.size() + fTyped.size());
}

bool StreamImplMapped::hasElement(const Index& index) const {
    return index.complexIndex() ? fTyped.count(index) > 0 : fNumbered.has(index.index());
}

char* StreamImplMapped::chunkAt(const Index& index) {
    char** const place = find(index);
    return place ? *place : nullptr;
}

char* StreamImplMapped::chunkOf(unsigned int number) {
    return fNumbered.chunkOf(number, fPool.stride());
}

char* StreamImplMapped::adopt(OwnedChunk&& chunk) {
    if (!chunk) return nullptr;
    char* const adopted = fPool.adopt(layout(), chunk.get());
    static_cast<void>(chunk.release());
    return adopted;
}

bool StreamImplMapped::storeCopy(const Index& index, const char* chunk) {
    if (index.complexIndex() || layout().totalSize() == 0 || present(index.index())) {
        return StreamImpl::storeCopy(index, chunk);
    }
    noteChange();
    const std::size_t before = fNumbered.size();
    char*& place = fNumbered.insert(index.index()).chunk;
    if (place) return StreamImpl::storeCopy(index, chunk);
    place = fPool.take(layout());
    if (place && layout().fillWithDuplicate(place, chunk)) return true;
    if (place) fPool.giveBack(layout(), std::exchange(place, nullptr));
    if (fNumbered.size() > before) fNumbered.erase(index.index());
    return false;
}

bool StreamImplMapped::store(Index&& index, OwnedChunk&& chunk) {
    if (char* const there = chunk && !index.complexIndex() ? present(index.index()) : nullptr) {
        replace(there, std::move(chunk));
        return true;
    }
    const auto typed = index.complexIndex() ? placeOf(index) : fTyped.end();
    char** place = index.complexIndex() ? chunkIn(typed, index) : find(index);
    if (place && *place && chunk) {
        replace(*place, std::move(chunk));
        return true;
    }
    noteChange();
    char* const stored = adopt(std::move(chunk));
    try {
        if (index.complexIndex() && !place) {
            fTyped.try_emplace(typed, std::move(index), stored);
        } else {
            free(std::exchange(place ? *place : insert(index), stored));
        }
    } catch (...) {
        free(stored);
        throw;
    }
    return true;
}

void StreamImplMapped::visit(ElementVisitor& visitor) {
    fNumbered.forEach([&](unsigned int number, char* chunk) { visitor.visit(number, chunk); });
    for (const auto& [index, chunk] : fTyped) visitor.visit(index, chunk);
}

bool StreamImplMapped::reserve(unsigned int elements) {
    const unsigned int count = elementCount();
    return elements <= count || fPool.reserve(layout(), elements - count);
}

// An element's chunk becomes a default one; a new element's is made. False without memory.
bool StreamImplMapped::fillWithDefault(char*& chunk) {
    if (chunk) {
        layout().reset(chunk);
        return true;
    }
    chunk = fPool.take(layout());
    if (chunk) layout().fillWithDefault(chunk);
    return chunk || layout().totalSize() == 0;
}

// Iterators need not know of what keeps its place.
char* StreamImplMapped::present(unsigned int number) {
    if (fNumbered.size() == 0 || number > fNumbered.highest()) return nullptr;
    return fNumbered.chunkOf(number, fPool.stride());
}

char* StreamImplMapped::place(unsigned int number) {
    if (char* const there = present(number)) {
        layout().reset(there);
        return there;
    }
    noteChange();
    const std::size_t before = fNumbered.size();
    char*& chunk = fNumbered.insert(number).chunk;
    if (fillWithDefault(chunk)) return chunk;
    if (fNumbered.size() > before) fNumbered.erase(number);
    return nullptr;
}

char* StreamImplMapped::placeTyped(Index&& index) {
    const std::size_t before = fTyped.size();
    const auto entry = fTyped.try_emplace(placeOf(index), std::move(index), nullptr);
    if (fillWithDefault(entry->second)) return entry->second;
    if (fTyped.size() > before) fTyped.erase(entry);
    return nullptr;
}

bool StreamImplMapped::removeElement(const Index& index) {
    char** const place = find(index);
    if (!place) return true;
    noteChange();
    free(*place);
    erase(index);
    if (elementCount() == 0) fPool.clear();
    return true;
}

bool StreamImplMapped::reindexElement(const Index& from, const Index& to) {
    if (!find(from)) return false;
    if (from == to) return true;
    noteChange();
    insert(to);
    if (find(from) == find(to)) return true;  // of a type that orders what it tells apart alike
    char*& source = *find(from);
    free(std::exchange(*find(to), std::exchange(source, nullptr)));
    erase(from);
    return true;
}

bool StreamImplMapped::swapElements(const Index& first, const Index& second) {
    char** const one = find(first);
    char** const other = find(second);
    if (!one || !other) return false;
    noteChange();
    std::swap(*one, *other);
    return true;
}

bool StreamImplMapped::setElementRange(const Index& first, const Index& last) {
    fLowest = first;
    fHighest = last;
    return true;
}

bool StreamImplMapped::clear() {
    noteChange();
    if (ChunkPool::isLarge(layout())) {
        forEachChunk([this](char* chunk) { free(chunk); });
    } else if (layout().hasStrings()) {
        forEachChunk([this](char* chunk) {
            if (chunk) layout().destroyStrings(chunk);
        });
    }
    fNumbered.clear();
    fTyped.clear();
    fPool.clear();
    return true;
}

bool StreamImplMapped::convert(const Layout& to) {
    const LayoutConversion conversion(layout(), to);
    // Elements of an empty structure have no chunk and still are elements with data.
    const bool allHaveData = layout().totalSize() == 0;
    ChunkPool pool;
    std::vector<char*> chunks;
    chunks.reserve(elementCount());
    bool enough = true;
    forEachChunk([&](const char* chunk) {
        const bool needed = enough && to.totalSize() != 0 && (chunk || allHaveData);
        chunks.push_back(needed ? pool.take(to) : nullptr);
        enough = enough && (!needed || chunks.back());
        if (chunks.back()) to.fillWithDefault(chunks.back());
    });
    if (!enough) {
        for (char* chunk : chunks) {
            if (chunk) pool.giveBack(to, chunk);
        }
        return false;
    }
    auto next = chunks.begin();
    forEachChunk([&](char*& chunk) {
        if (*next && chunk) conversion.move(*next, chunk);
        free(std::exchange(chunk, *next++));
    });
    fPool.swap(pool);
    return true;
}

bool StreamImplMapped::Debug(const StreamImplMapped* storage, Debug::Footprint& footprint) {
    if (!storage) return true;
    const Layout& layout = storage->layout();
    footprint.addObject(storage, sizeof(StreamImplMapped));
    const_cast<StreamImplMapped*>(storage)->forEachChunk([&](const char* chunk) {
        if (chunk) footprint.addMember(chunk, layout.totalSize());
        addStrings(layout, chunk, footprint);
    });
    return true;
}

bool StreamImplMapped::Debug(const StreamImplMapped* storage, Debug::Print& print) {
    if (!storage) return true;
    const auto printRange = [&print](const char* label, const Index& index) {
        print.doIndent() << label;
        print.skipNextIndent(true);
        Index::Debug(&index, print);
        print.skipNextIndent(true);
        print << "\n";
    };
    print.beginSection("Data Stream (Mapped)");
    StreamImpl::Debug(storage, print);
    printRange("Lowest valid index = ", storage->fLowest);
    printRange("Highest valid index = ", storage->fHighest);
    print.beginSection("Stream Elements");
    print.doIndent() << "Element count = " << std::to_string(storage->elementCount()) << '\n';
    const_cast<StreamImplMapped*>(storage)->forEach([&](const Index& index, char* chunk) {
        const Handle handle = HandleAccess::borrow(storage->structure(), storage->layout(), chunk);
        print.doIndent() << "Index (" << index.asString() << "), Handle (";
        print.skipNextIndent(true);
        Handle::Debug(&handle, print);
        print.skipNextIndent(true);
        print << ")\n";
    });
    print.endSection();
    print.endSection();
    return true;
}

unsigned long long StreamImplMapped::objectsCreated() { return _objects.created(); }

unsigned long long StreamImplMapped::objectsAlive() { return _objects.alive(); }

}  // namespace orbo::Data
