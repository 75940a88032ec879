// Storage for elements of any indices.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamImplMapped.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

#include <iterator>
#include <ostream>
#include <utility>
#include <vector>

#include "debug/ObjectCounter.h"
#include "streams/StreamMappedIteratorImpl.h"

namespace orbo::Data {

StreamImplMapped::StreamImplMapped() = default;

StreamImplMapped::StreamImplMapped(const Structure& structure, const std::string& name)
    : StreamImpl(structure, name) {}

StreamImplMapped::StreamImplMapped(const StreamImpl& base) : StreamImpl(base) {}

StreamImplMapped::~StreamImplMapped() { freeStrings(); }

template <typename Visit>
void StreamImplMapped::forEach(const Visit& visit) const {
    fNumbered.forEach([&](unsigned int number, char* chunk) { visit(Index(number), chunk); });
    for (const auto& [index, chunk] : fTyped) visit(index, chunk);
}

template <typename Visit>
void StreamImplMapped::forEachChunk(const Visit& visit) const {
    fNumbered.forEach([&](unsigned int, char* chunk) { visit(chunk); });
    for (const auto& entry : fTyped) visit(entry.second);
}

template <typename Change>
void StreamImplMapped::changeEach(std::size_t stride, const Change& change) {
    fNumbered.changeEach(stride, change);
    for (auto& entry : fTyped) change(entry.second);
}

// Whether the place has the element of the index itself, and not the one behind it.
bool StreamImplMapped::isAt(TypedElements::const_iterator place, const Index& index) const {
    return place != fTyped.end() && !(index < place->first);
}

// The first element that is not less. Most elements are stored in order.
StreamImplMapped::TypedElements::iterator StreamImplMapped::placeOf(const Index& index) {
    if (fTyped.empty() || std::prev(fTyped.end())->first < index) return fTyped.end();
    return fTyped.lower_bound(index);
}

char* StreamImplMapped::put(const Index& index, char* chunk) {
    if (!index.complexIndex()) return fNumbered.put(index.index(), chunk, stride());
    return std::exchange(fTyped.try_emplace(placeOf(index), index, nullptr)->second, chunk);
}

char* StreamImplMapped::putFresh(unsigned int number, char* chunk) {
    try {
        return fNumbered.put(number, chunk, stride());
    } catch (...) {
        free(chunk);
        throw;
    }
}

void StreamImplMapped::erase(const Index& index) {
    if (index.complexIndex()) {
        fTyped.erase(index);
    } else {
        fNumbered.erase(index.index(), stride());
    }
}

void StreamImplMapped::free(char* chunk) {
    if (!chunk) return;
    layout().destroyStrings(chunk);
    fPool.giveBack(layout(), chunk);
}

std::unique_ptr<StreamImpl> StreamImplMapped::clone() const {
    syncToRead();
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

std::unique_ptr<StreamIteratorImpl> StreamImplMapped::iterator(bool atBegin) const {
    return std::make_unique<StreamMappedIteratorImpl>(*this, atBegin);
}

unsigned int StreamImplMapped::elementCount() const {
    return static_cast<unsigned int>(fNumbered.size() + fTyped.size());
}

bool StreamImplMapped::hasElement(const Index& index) const {
    return index.complexIndex() ? fTyped.count(index) > 0 : fNumbered.has(index.index());
}

bool StreamImplMapped::hasElement(unsigned int number) const { return fNumbered.has(number); }

char* StreamImplMapped::chunkAt(const Index& index) const {
    if (!index.complexIndex()) return chunkOf(index.index());
    const auto found = fTyped.find(index);
    return found == fTyped.end() ? nullptr : found->second;
}

char* StreamImplMapped::chunkOf(unsigned int number) const {
    return fNumbered.chunkOf(number, stride());
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
    char* const copy = fPool.take(layout());
    if (!copy) return false;
    if (!layout().fillWithDuplicate(copy, chunk)) {
        fPool.giveBack(layout(), copy);
        return false;
    }
    putFresh(index.index(), copy);
    return true;
}

bool StreamImplMapped::store(Index&& index, OwnedChunk&& chunk) {
    const auto typed = index.complexIndex() ? placeOf(index) : fTyped.end();
    char* const there = index.complexIndex() ? (isAt(typed, index) ? typed->second : nullptr)
                                             : present(index.index());
    if (there && chunk) {
        replace(there, std::move(chunk));
        return true;
    }
    noteChange();
    char* const stored = adopt(std::move(chunk));
    if (!index.complexIndex()) {
        free(putFresh(index.index(), stored));
        return true;
    }
    try {
        free(std::exchange(fTyped.try_emplace(typed, std::move(index), nullptr)->second, stored));
    } catch (...) {
        free(stored);
        throw;
    }
    return true;
}

void StreamImplMapped::visit(ElementVisitor& visitor) const {
    fNumbered.forEach([&](unsigned int number, char* chunk) { visitor.visit(number, chunk); });
    for (const auto& [index, chunk] : fTyped) visitor.visit(index, chunk);
}

bool StreamImplMapped::reserve(unsigned int elements) {
    const unsigned int count = elementCount();
    return elements <= count || fPool.reserve(layout(), elements - count);
}

// Returns null when memory runs out, and for chunks of no bytes.
char* StreamImplMapped::takeDefault() {
    char* const chunk = fPool.take(layout());
    if (chunk) layout().fillWithDefault(chunk);
    return chunk;
}

char* StreamImplMapped::place(unsigned int number) {
    // The chunk stays where it is, so iterators stay valid.
    if (char* const there = present(number)) {
        layout().reset(there);
        return there;
    }
    noteChange();
    char* const chunk = takeDefault();
    if (chunk || layout().totalSize() == 0) putFresh(number, chunk);
    return chunk;
}

// The map looks behind its last element first, for most elements are stored in order.
char* StreamImplMapped::placeTyped(Index&& index) {
    const std::size_t before = fTyped.size();
    const auto entry = fTyped.try_emplace(fTyped.end(), std::move(index), nullptr);
    if (entry->second) {
        layout().reset(entry->second);
        return entry->second;
    }
    char* const chunk = entry->second = takeDefault();
    if (!chunk && layout().totalSize() != 0 && fTyped.size() > before) fTyped.erase(entry);
    return chunk;
}

bool StreamImplMapped::removeElement(const Index& index) {
    if (!hasElement(index)) return true;
    noteChange();
    free(chunkAt(index));
    erase(index);
    if (elementCount() == 0) fPool.clear();
    if (fTyped.empty()) fNodes.clear();
    return true;
}

bool StreamImplMapped::reindexElement(const Index& from, const Index& to) {
    if (!hasElement(from)) return false;
    if (from == to) return true;
    noteChange();
    // Indices that differ may be equal in their type's order: both then name one element.
    if (from < to || to < from) {
        free(put(to, chunkAt(from)));
        erase(from);
    }
    return true;
}

bool StreamImplMapped::swapElements(const Index& first, const Index& second) {
    if (!hasElement(first) || !hasElement(second)) return false;
    noteChange();
    put(first, put(second, chunkAt(first)));
    return true;
}

bool StreamImplMapped::setElementRange(const Index& first, const Index& last) {
    fLowest = first;
    fHighest = last;
    return true;
}

bool StreamImplMapped::takeOver(StreamImplMapped& later) {
    if (&layout() != &later.layout() || !fTyped.empty() || !later.fTyped.empty()) return false;
    if (!fNumbered.takeOver(later.fNumbered)) return false;
    noteChange();
    fPool.takeOver(later.fPool);
    return true;
}

void StreamImplMapped::freeStrings() {
    if (ChunkPool::isLarge(layout())) {
        forEachChunk([this](char* chunk) { free(chunk); });
    } else if (layout().hasStrings()) {
        forEachChunk([this](char* chunk) {
            if (chunk) layout().destroyStrings(chunk);
        });
    }
}

bool StreamImplMapped::clear() {
    noteChange();
    freeStrings();
    fNumbered.clear();
    fTyped.clear();
    fNodes.clear();
    fPool.clear();
    return true;
}

bool StreamImplMapped::convert(const Layout& to) {
    const LayoutConversion conversion(layout(), to);
    // Elements of an empty structure have no chunk, but count as having data.
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
    changeEach(pool.stride(), [&](char*& chunk) {
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
    storage->forEachChunk([&](const char* chunk) {
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
    storage->forEach([&](const Index& index, char* chunk) {
        const Handle handle = storage->handleOn(chunk);
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

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::StreamImplMapped>;
