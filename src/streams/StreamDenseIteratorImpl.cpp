// Walks dense storage, slot by slot.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamDenseIteratorImpl.h"

#include "streams/StreamImplDense.h"

namespace orbo::Data {

StreamDenseIteratorImpl::StreamDenseIteratorImpl(StreamImplDense& storage, bool begin)
    : fStorage(&storage) {
    moveTo(begin ? 0 : storage.elementCount());
}

StreamDenseIteratorImpl::StreamDenseIteratorImpl(const StreamDenseIteratorImpl& other)
    : StreamIteratorImpl(other), fStorage(other.fStorage), fPosition(other.fPosition) {
    if (fStorage) repoint();
}

std::unique_ptr<StreamIteratorImpl> StreamDenseIteratorImpl::clone() const {
    return std::make_unique<StreamDenseIteratorImpl>(*this);
}

Index StreamDenseIteratorImpl::index() const {
    if (!fStorage) return Index(0);
    return fStorage->indexOfPhysicalElement(fAtEnd ? fStorage->elementCount() : fPosition);
}

void StreamDenseIteratorImpl::step() {
    moveTo(fPosition + 1);
    // Without a block nothing follows the first element.
    if (fStorage->layout().totalSize() != 0 && !fStorage->elementAddr(fPosition)) fAtEnd = true;
}

void StreamDenseIteratorImpl::moveTo(unsigned int position) {
    fPosition = position;
    fAtEnd = position >= fStorage->elementCount();
    repoint();
}

void StreamDenseIteratorImpl::repoint() {
    fStorage->sync();
    const bool there = !fAtEnd && fPosition < fStorage->elementCount();
    pointAt(*fStorage, there ? fStorage->elementAddr(fPosition) : nullptr);
}

const StreamImpl* StreamDenseIteratorImpl::storage() const { return fStorage; }

bool StreamDenseIteratorImpl::samePlace(const StreamIteratorImpl& other) const {
    return fPosition == static_cast<const StreamDenseIteratorImpl&>(other).fPosition;
}

}  // namespace orbo::Data
