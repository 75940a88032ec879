// Walks the elements of a Stream in index order.
// SPDX-License-Identifier: Apache-2.0

#include <data/StreamIterator.h>

#include <stdexcept>

namespace orbo::Data {

namespace {

OwnedPtr<StreamIteratorImpl> copyOf(const OwnedPtr<StreamIteratorImpl>& impl) {
    return OwnedPtr<StreamIteratorImpl>(impl ? impl->clone() : nullptr);
}

}  // namespace

StreamIterator::StreamIterator() = default;
StreamIterator::StreamIterator(StreamIteratorImpl* impl) : fImpl(impl) {}
StreamIterator::StreamIterator(const StreamIterator& other) : fImpl(copyOf(other.fImpl)) {}
StreamIterator::StreamIterator(StreamIterator&& other) noexcept = default;
StreamIterator& StreamIterator::operator=(StreamIterator&& other) noexcept = default;
StreamIterator::~StreamIterator() = default;

StreamIterator& StreamIterator::operator=(const StreamIterator& other) {
    if (fImpl.get() != other.fImpl.get()) fImpl = copyOf(other.fImpl);
    return *this;
}

void StreamIterator::refuse(const char* problem) { throw std::runtime_error(problem); }

// By contract the result moves on, and this iterator does not.
StreamIterator StreamIterator::operator++(int) {
    StreamIterator next(impl().clone());
    ++next;
    return next;
}

Index StreamIterator::index() const { return impl().index(); }

}  // namespace orbo::Data
