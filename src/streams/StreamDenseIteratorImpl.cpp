// Walks dense storage slot by slot.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamDenseIteratorImpl.h"

#include "streams/StreamImplDense.h"

namespace orbo::Data {

StreamDenseIteratorImpl::StreamDenseIteratorImpl(const StreamImplDense& storage, bool begin)
    : fStorage(&storage) {
    moveTo(begin ? 0 : storage.elementCount());
}

StreamDenseIteratorImpl::StreamDenseIteratorImpl(const StreamDenseIteratorImpl& other)
    : StreamIteratorImpl(other), fStorage(other.fStorage) {
    if (fStorage) show(number());
}

StreamIteratorImpl* StreamDenseIteratorImpl::clone() const {
    return new StreamDenseIteratorImpl(*this);
}

Index StreamDenseIteratorImpl::index() const {
    if (!fStorage) return Index(0);
    return fStorage->indexOfPhysicalElement(fAtEnd ? fStorage->elementCount() : number());
}

void StreamDenseIteratorImpl::step() {
    moveTo(number() + 1);
    // Without a block the walk ends behind the first element.
    if (fStorage->layout().totalSize() != 0 && !fStorage->elementAddr(number())) fAtEnd = true;
}

void StreamDenseIteratorImpl::moveTo(unsigned int position) {
    fAtEnd = position >= fStorage->elementCount();
    show(position);
}

void StreamDenseIteratorImpl::show(unsigned int position) {
    fStorage->syncToRead();
    const bool there = !fAtEnd && position < fStorage->elementCount();
    Stretch stretch;
    stretch.number = stretch.last = position;
    stretch.chunk = there ? fStorage->elementAddr(position) : nullptr;
    if (stretch.chunk) {
        stretch.last = fStorage->elementCount() - 1;
        stretch.step = static_cast<std::size_t>(fStorage->layout().stride());
    }
    enter(stretch, *fStorage);
}

const StreamImpl* StreamDenseIteratorImpl::storage() const { return fStorage; }

bool StreamDenseIteratorImpl::samePlace(const StreamIteratorImpl& other) const {
    return number() == static_cast<const StreamDenseIteratorImpl&>(other).number();
}

}  // namespace orbo::Data
