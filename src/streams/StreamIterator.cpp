// Walks the elements of a Stream in index order.
// SPDX-License-Identifier: Apache-2.0

#include <data/StreamIterator.h>

#include <stdexcept>

#include "streams/StreamIteratorImpl.h"

namespace orbo::Data {

namespace {

std::unique_ptr<StreamIteratorImpl> copyOf(const std::unique_ptr<StreamIteratorImpl>& impl) {
    return impl ? impl->clone() : nullptr;
}

}  // namespace

StreamIterator::StreamIterator() = default;
StreamIterator::StreamIterator(StreamIteratorImpl* impl) : fImpl(impl) {}
StreamIterator::StreamIterator(const StreamIterator& other) : fImpl(copyOf(other.fImpl)) {}
StreamIterator::StreamIterator(StreamIterator&& other) noexcept = default;
StreamIterator& StreamIterator::operator=(StreamIterator&& other) noexcept = default;
StreamIterator::~StreamIterator() = default;

StreamIterator& StreamIterator::operator=(const StreamIterator& other) {
    if (fImpl != other.fImpl) fImpl = copyOf(other.fImpl);
    return *this;
}

StreamIteratorImpl& StreamIterator::impl() {
    if (!fImpl) throw std::runtime_error("No Stream Iterator implementation");
    return *fImpl;
}

const StreamIteratorImpl& StreamIterator::impl() const {
    if (!fImpl) throw std::runtime_error("No const Stream Iterator implementation");
    return *fImpl;
}

Handle& StreamIterator::operator*() { return impl().handle(); }
const Handle& StreamIterator::operator*() const { return impl().handle(); }
Handle* StreamIterator::operator->() { return &impl().handle(); }
const Handle* StreamIterator::operator->() const { return &impl().handle(); }

StreamIterator& StreamIterator::operator++() {
    impl().advance();
    return *this;
}

// The wrong way round, and required to be: it is the result that moves on.
StreamIterator StreamIterator::operator++(int) {
    StreamIterator next(impl().clone().release());
    ++next;
    return next;
}

Index StreamIterator::index() const { return impl().index(); }

bool StreamIterator::valid() const { return fImpl && fImpl->valid(); }

bool StreamIterator::operator!=(const StreamIterator& other) const {
    if (!fImpl || !other.fImpl) return fImpl != other.fImpl;
    return *fImpl != *other.fImpl;
}

}  // namespace orbo::Data
