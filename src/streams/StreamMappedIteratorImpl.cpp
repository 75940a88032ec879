// Walks mapped storage in the order of the indices.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamMappedIteratorImpl.h"

#include <iterator>

namespace orbo::Data {

StreamMappedIteratorImpl::StreamMappedIteratorImpl(StreamImplMapped& storage, bool begin)
    : fStorage(&storage) {
    moveTo(begin ? storage.elements().begin() : storage.elements().end());
}

StreamMappedIteratorImpl::StreamMappedIteratorImpl(const StreamMappedIteratorImpl& other)
    : StreamIteratorImpl(other), fStorage(other.fStorage) {
    if (fStorage) moveTo(fAtEnd ? fStorage->elements().end() : other.fCursor);
}

std::unique_ptr<StreamIteratorImpl> StreamMappedIteratorImpl::clone() const {
    return std::make_unique<StreamMappedIteratorImpl>(*this);
}

Index StreamMappedIteratorImpl::index() const { return fAtEnd ? Index() : fCursor->first; }

void StreamMappedIteratorImpl::step() { moveTo(std::next(fCursor)); }

void StreamMappedIteratorImpl::moveTo(StreamImplMapped::Elements::iterator cursor) {
    fStorage->sync();
    fCursor = cursor;
    fAtEnd = cursor == fStorage->elements().end();
    pointAt(*fStorage, fAtEnd ? nullptr : cursor->second);
}

bool StreamMappedIteratorImpl::samePlace(const StreamIteratorImpl& other) const {
    return fCursor == static_cast<const StreamMappedIteratorImpl&>(other).fCursor;
}

}  // namespace orbo::Data
