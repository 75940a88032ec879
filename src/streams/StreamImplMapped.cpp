// Storage that holds elements of any indices where they were set.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamImplMapped.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

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

std::unique_ptr<StreamImpl> StreamImplMapped::clone() {
    sync();
    auto copy = std::make_unique<StreamImplMapped>(static_cast<const StreamImpl&>(*this));
    copy->fLowest = fLowest;
    copy->fHighest = fHighest;
    for (const auto& [index, chunk] : fElements) {
        OwnedChunk duplicate(layout().duplicate(chunk), ChunkDeleter{&layout()});
        if (chunk && !duplicate) return nullptr;
        copy->store(index, std::move(duplicate));
    }
    return copy;
}

std::unique_ptr<StreamIteratorImpl> StreamImplMapped::begin() {
    return std::make_unique<StreamMappedIteratorImpl>(*this, true);
}

std::unique_ptr<StreamIteratorImpl> StreamImplMapped::end() {
    return std::make_unique<StreamMappedIteratorImpl>(*this, false);
}

unsigned int StreamImplMapped::elementCount() const {
    return static_cast<unsigned int>(fElements.size());
}

bool StreamImplMapped::hasElement(const Index& index) const {
    return fElements.find(index) != fElements.end();
}

char* StreamImplMapped::chunkAt(const Index& index) {
    const auto entry = fElements.find(index);
    return entry == fElements.end() ? nullptr : entry->second;
}

bool StreamImplMapped::store(const Index& index, OwnedChunk&& chunk) {
    // The hint makes storing in index order take constant time.
    char*& slot = fElements.try_emplace(fElements.end(), index, nullptr)->second;
    if (slot && chunk) {
        replace(slot, std::move(chunk));
    } else {
        layout().free(std::exchange(slot, chunk.release()));
    }
    return true;
}

bool StreamImplMapped::removeElement(const Index& index) {
    const auto entry = fElements.find(index);
    if (entry == fElements.end()) return true;
    layout().free(entry->second);
    fElements.erase(entry);
    return true;
}

bool StreamImplMapped::reindexElement(const Index& from, const Index& to) {
    const auto source = fElements.find(from);
    if (source == fElements.end()) return false;
    const auto target = fElements.try_emplace(to, nullptr).first;
    if (source == target) return true;
    layout().free(std::exchange(target->second, source->second));
    fElements.erase(source);
    return true;
}

bool StreamImplMapped::swapElements(const Index& first, const Index& second) {
    const auto one = fElements.find(first);
    const auto other = fElements.find(second);
    if (one == fElements.end() || other == fElements.end()) return false;
    std::swap(one->second, other->second);
    return true;
}

bool StreamImplMapped::setElementRange(const Index& first, const Index& last) {
    fLowest = first;
    fHighest = last;
    return true;
}

bool StreamImplMapped::clear() {
    for (const auto& entry : fElements) layout().free(entry.second);
    fElements.clear();
    return true;
}

bool StreamImplMapped::convert(const Layout& to) {
    const LayoutConversion conversion(layout(), to);
    // Elements of an empty structure have no chunk and still are elements with data.
    const bool allHaveData = layout().totalSize() == 0;
    std::vector<OwnedChunk> chunks;
    chunks.reserve(fElements.size());
    for (const auto& entry : fElements) {
        const bool needed = to.totalSize() != 0 && (entry.second || allHaveData);
        chunks.emplace_back(needed ? to.allocate() : nullptr, ChunkDeleter{&to});
        if (needed && !chunks.back()) return false;
    }
    auto next = chunks.begin();
    for (auto& entry : fElements) {
        OwnedChunk& chunk = *next++;
        if (chunk && entry.second) conversion.move(chunk.get(), entry.second);
        layout().free(std::exchange(entry.second, chunk.release()));
    }
    return true;
}

bool StreamImplMapped::Debug(const StreamImplMapped* storage, Debug::Footprint& footprint) {
    if (!storage) return true;
    const Layout& layout = storage->layout();
    footprint.addObject(storage, sizeof(StreamImplMapped));
    for (const auto& entry : storage->fElements) {
        if (entry.second) footprint.addMember(entry.second, layout.totalSize());
        addStrings(layout, entry.second, footprint);
    }
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
    print.doIndent() << "Element count = " << std::to_string(storage->fElements.size()) << '\n';
    for (const auto& [index, chunk] : storage->fElements) {
        const Handle handle = HandleAccess::borrow(storage->structure(), storage->layout(), chunk);
        print.doIndent() << "Index (" << index.asString() << "), Handle (";
        print.skipNextIndent(true);
        Handle::Debug(&handle, print);
        print.skipNextIndent(true);
        print << ")\n";
    }
    print.endSection();
    print.endSection();
    return true;
}

unsigned long long StreamImplMapped::objectsCreated() { return _objects.created(); }

unsigned long long StreamImplMapped::objectsAlive() { return _objects.alive(); }

}  // namespace orbo::Data
