// A named, indexed collection of elements of one structure.
// SPDX-License-Identifier: Apache-2.0

#include <data/Stream.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <memory>
#include <new>
#include <ostream>
#include <utility>

#include "core/DataTypes.h"
#include "core/HandleAccess.h"
#include "debug/ObjectCounter.h"
#include "streams/IndexTypes.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImplDense.h"
#include "streams/StreamImplMapped.h"

namespace orbo::Data {

namespace {

bool carryElements(const StreamImpl& from, StreamImpl& to) {
    const std::unique_ptr<StreamIteratorImpl> element = from.iterator(true);
    for (; element->valid(); element->advance()) {
        if (!to.setElement(element->index(), element->handle())) return false;
    }
    return true;
}

/// Returns null when an element does not fit dense storage, and when memory runs out.
std::unique_ptr<StreamImpl> denseStorage(const StreamImplMapped& mapped) {
    auto dense = std::make_unique<StreamImplDense>(mapped.structure(), mapped.name());
    if (mapped.elementCount() == 0) return dense;
    if (!mapped.typed().empty()) return nullptr;
    const unsigned int highest = mapped.numbered().highest();
    if (highest == ~0U) return nullptr;  // a 32-bit count could not include it
    if (!dense->ensureSpaceForElement(highest) && !dense->reserve(highest + 1)) return nullptr;
    if (!carryElements(mapped, *dense)) return nullptr;
    return dense;
}

std::unique_ptr<StreamImpl> mappedStorage(const StreamImpl& dense) {
    auto mapped = std::make_unique<StreamImplMapped>(dense.structure(), dense.name());
    if (!carryElements(dense, *mapped)) return nullptr;
    return mapped;
}

}  // namespace

const char* const Stream::kDebugHex = "hex";

Stream::Stream() { setImpl(new StreamImplMapped); }

Stream::Stream(const Structure& structure, const std::string& name) {
    setImpl(new StreamImplMapped(structure, name));
}

Stream::Stream(const Stream& other) : Counted(other) { setImpl(&other.impl()); }

Stream::~Stream() { fImpl->unref(); }

Stream& Stream::operator=(const Stream& other) {
    const bool renamed = name() != other.name();
    setImpl(&other.impl());
    if (renamed && fRenameCount) ++*fRenameCount;
    return *this;
}

bool Stream::operator==(const Stream& other) const { return &impl() == &other.impl(); }

void Stream::setImpl(StreamImpl* impl) {
    impl->ref();
    if (fImpl) fImpl->unref();
    fImpl = impl;
}

bool Stream::makeUnique() {
    if (!fImpl->isShared()) return false;
    std::unique_ptr<StreamImpl> copy = fImpl->clone();
    // Keeping shared elements would let later changes reach the other streams.
    if (!copy) throw std::bad_alloc();
    setImpl(copy.release());
    return true;
}

const std::string& Stream::name() const { return impl().name(); }
const Structure& Stream::structure() const { return impl().structure(); }
const std::string& Stream::indexType() const { return impl().indexType(); }
bool Stream::isDense() const { return impl().isDense(); }
bool Stream::useDefaults() const { return impl().useDefaults(); }
bool Stream::setUseDefaults(bool use) { return impl().setUseDefaults(use); }

unsigned int Stream::elementCount() const { return impl().elementCount(); }
// `syncToRead` does not change the result, but the storage must not be read before it.
bool Stream::hasElement(const Index& index) const {
    impl().syncToRead();
    return impl().hasElement(index);
}

bool Stream::hasElement(unsigned int number) const {
    impl().syncToRead();
    return impl().hasElement(number);
}

Handle Stream::element(const Index& index) {
    impl().syncToRead();
    return impl().handleOn(impl().chunkAt(index));
}

Handle Stream::element(unsigned int number) {
    impl().syncToRead();
    return impl().handleOn(impl().chunkOf(number));
}

ConstHandle Stream::element(const Index& index) const {
    impl().syncToRead();
    return HandleAccess::look(impl().structure(), impl().layout(), impl().chunkAt(index));
}

ConstHandle Stream::element(unsigned int number) const {
    impl().syncToRead();
    return HandleAccess::look(impl().structure(), impl().layout(), impl().chunkOf(number));
}

Handle Stream::nothing() const { return impl().handleOn(nullptr); }

bool Stream::setElement(Index index, const Handle& handle) {
    return impl().setElement(index, handle);
}

Handle Stream::emplaceElement(Index index) { return impl().emplaceElement(std::move(index)); }
Handle Stream::emplaceElement(unsigned int number) { return impl().emplaceElement(number); }

bool Stream::reserve(unsigned int elements) {
    impl().sync();
    return impl().reserve(elements);
}

ColumnPlace Stream::columnPlace(const char* member, Member::eDataType type) const {
    ColumnPlace place;
    const auto fail = [&](std::string problem) {
        place.problem = std::move(problem);
        return place;
    };
    const std::string name = member ? member : "";
    impl().syncToRead();
    const Layout& layout = impl().layout();
    const unsigned int index = layout.indexOf(name.c_str());
    if (index == Layout::kNoMember) return fail("There is no member '" + name + "'.");
    const Member& found = layout.member(index);
    const DataType& stored = dataType(found.type());
    if (stored.number != type) return fail("Member '" + name + "' is of type " + stored.name + ".");
    if (!impl().isDense()) return fail("The stream's storage is not dense.");
    const auto& dense = static_cast<const StreamImplDense&>(impl());
    char* const first = dense.elementAddr(0);
    if (!first || dense.elementCount() == 0) return place;
    place.first = first + found.offset();
    place.stride = static_cast<std::size_t>(layout.stride());
    place.valuesPerElement = static_cast<unsigned int>(stored.numbers) * found.length();
    place.count = dense.elementCount();
    return place;
}

bool Stream::removeElement(Index index) { return impl().removeElement(index); }
bool Stream::reindexElement(Index from, Index to) { return impl().reindexElement(from, to); }

bool Stream::swapElements(Index first, Index second) { return impl().swapElements(first, second); }

bool Stream::setElementRange(Index first, Index last) {
    return impl().setElementRange(first, last);
}

bool Stream::clear() { return fImpl->clear(); }

StreamIterator Stream::begin() { return cbegin(); }
StreamIterator Stream::end() { return cend(); }

StreamIterator Stream::cbegin() const {
    return StreamIterator(impl().iterator(!empty()).release());
}

StreamIterator Stream::cend() const { return StreamIterator(impl().iterator(false).release()); }

bool Stream::mergeStream(const Stream& other) { return impl().mergeStream(other.impl()); }
bool Stream::setStructure(const Structure& structure) { return impl().setStructure(structure); }

bool Stream::setIndexType(const std::string& typeName) {
    return !IndexTypes::maker(typeName).isNull() && StreamAccess::setIndexType(*this, typeName);
}

bool Stream::useDenseStorage(bool dense) {
    if (impl().isDense() == dense) return true;
    const bool wasEmpty = empty();
    std::unique_ptr<StreamImpl> storage =
        dense ? denseStorage(static_cast<StreamImplMapped&>(impl())) : mappedStorage(impl());
    if (!storage) return false;
    setImpl(storage.release());
    // By contract the result is false also when all elements were carried over.
    return wasEmpty;
}

bool Stream::Debug(const Stream* stream, Debug::Footprint& footprint) {
    if (!stream) return true;
    footprint.addObject(stream, sizeof(Stream));
    stream->impl().syncToRead();
    return stream->impl().debug(footprint);
}

bool Stream::Debug(const Stream* stream, Debug::Print& print) {
    if (!stream) return true;
    stream->impl().syncToRead();
    return stream->impl().debug(print);
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::Stream>;
