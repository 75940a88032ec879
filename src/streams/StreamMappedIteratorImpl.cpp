// Walks mapped storage in the order of the indices.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamMappedIteratorImpl.h"

#include <algorithm>

namespace orbo::Data {

StreamMappedIteratorImpl::StreamMappedIteratorImpl(const StreamImplMapped& storage, bool begin)
    : fStorage(&storage), fTyped(storage.typed().end()) {
    fAtEnd = !begin;
    if (begin) {
        moveTo(0);
    } else {
        showTyped();
    }
}

StreamMappedIteratorImpl::StreamMappedIteratorImpl(const StreamMappedIteratorImpl& other)
    : StreamIteratorImpl(other),
      fStorage(other.fStorage),
      fIsTyped(other.fIsTyped),
      fTyped(other.fTyped) {
    if (fStorage) showAgain();
}

void StreamMappedIteratorImpl::showAgain() {
    if (fIsTyped) return showTyped();
    fStorage->syncToRead();
    fBehind = fStorage->numbered().from(number(), fStorage->stride());
    if (fBehind.first != fBehind.end && fBehind.first->number == number()) return showNumbered();
    fBehind = {};
    Stretch removed;
    removed.number = removed.last = number();
    enter(removed, *fStorage);
}

StreamIteratorImpl* StreamMappedIteratorImpl::clone() const {
    return new StreamMappedIteratorImpl(*this);
}

Index StreamMappedIteratorImpl::index() const {
    if (fAtEnd) return Index();
    return fIsTyped ? fTyped->first : Index(number());
}

void StreamMappedIteratorImpl::step() {
    if (fIsTyped) {
        ++fTyped;
        showTyped();
    } else if (isPassed() && fBehind.first != fBehind.end) {
        showNumbered();
    } else {
        moveTo(std::uint64_t{number()} + 1);
    }
}

void StreamMappedIteratorImpl::moveTo(std::uint64_t number) {
    fStorage->syncToRead();
    fBehind = {};
    if (number <= ~0U)
        fBehind = fStorage->numbered().from(static_cast<unsigned int>(number), fStorage->stride());
    fIsTyped = fBehind.first == fBehind.end;
    if (!fIsTyped) return showNumbered();
    fTyped = fStorage->typed().begin();
    showTyped();
}

void StreamMappedIteratorImpl::showNumbered() {
    const std::size_t count = std::max(fBehind.contiguous, std::size_t{1});
    Stretch stretch;
    stretch.chunk = fBehind.first->chunk;
    stretch.step = fStorage->stride();
    stretch.number = fBehind.first->number;
    stretch.last = stretch.number + static_cast<unsigned int>(count) - 1;
    fBehind.first += std::min(count, static_cast<std::size_t>(fBehind.end - fBehind.first));
    fBehind.contiguous = 0;
    enter(stretch, *fStorage);
}

void StreamMappedIteratorImpl::showTyped() {
    fStorage->syncToRead();
    fAtEnd = fTyped == fStorage->typed().end();
    Stretch stretch;
    if (!fAtEnd) stretch.chunk = fTyped->second;
    enter(stretch, *fStorage);
}

bool StreamMappedIteratorImpl::samePlace(const StreamIteratorImpl& base) const {
    const auto& other = static_cast<const StreamMappedIteratorImpl&>(base);
    if (fIsTyped != other.fIsTyped) return false;
    return fIsTyped ? fTyped == other.fTyped : number() == other.number();
}

}  // namespace orbo::Data
