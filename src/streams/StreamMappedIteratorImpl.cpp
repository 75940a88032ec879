// Walks mapped storage in the order of the indices.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamMappedIteratorImpl.h"

namespace orbo::Data {

StreamMappedIteratorImpl::StreamMappedIteratorImpl(StreamImplMapped& storage, bool begin)
    : fStorage(&storage), fTyped(storage.typed().end()) {
    fAtEnd = !begin;
    if (begin) {
        fNumbered = NumberedElements::Cursor(storage.numbered());
        fTyped = storage.typed().begin();
    }
    show();
}

StreamMappedIteratorImpl::StreamMappedIteratorImpl(const StreamMappedIteratorImpl& other)
    : StreamIteratorImpl(other),
      fStorage(other.fStorage),
      fNumbered(other.fNumbered),
      fTyped(other.fTyped) {
    if (fStorage) show();
}

std::unique_ptr<StreamIteratorImpl> StreamMappedIteratorImpl::clone() const {
    return std::make_unique<StreamMappedIteratorImpl>(*this);
}

Index StreamMappedIteratorImpl::index() const {
    if (fAtEnd) return Index();
    return fNumbered.atEnd() ? fTyped->first : Index(fNumbered.number());
}

void StreamMappedIteratorImpl::step() {
    if (fNumbered.atEnd()) {
        ++fTyped;
    } else {
        fNumbered.advance();
        if (fNumbered.atEnd()) fTyped = fStorage->typed().begin();
    }
    show();
}

void StreamMappedIteratorImpl::show() {
    fStorage->sync();
    fAtEnd = fAtEnd || (fNumbered.atEnd() && fTyped == fStorage->typed().end());
    char* const chunk = fAtEnd ? nullptr : fNumbered.atEnd() ? fTyped->second : fNumbered.chunk();
    pointAt(*fStorage, chunk);
}

bool StreamMappedIteratorImpl::samePlace(const StreamIteratorImpl& base) const {
    const auto& other = static_cast<const StreamMappedIteratorImpl&>(base);
    if (fNumbered.atEnd() != other.fNumbered.atEnd()) return false;
    return fNumbered.atEnd() ? fTyped == other.fTyped
                             : fNumbered.number() == other.fNumbered.number();
}

}  // namespace orbo::Data
