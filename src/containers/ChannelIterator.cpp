// Walks the streams of a Channel in name order.
// SPDX-License-Identifier: Apache-2.0
#include <data/ChannelIterator.h>

#include "containers/ChannelImpl.h"

#include <data/Channel.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <stdexcept>

namespace orbo::Data {

class ChannelIteratorImpl {
  public:
    /// Throws when there is no stream here.
    [[nodiscard]] Stream& current(const char* operation) const {
        if (!position.valid()) throw std::out_of_range(operation);
        return **position;
    }

    ChannelImpl::StreamSet::Position position;
};

ChannelIterator::ChannelIterator() : fImpl(std::make_unique<ChannelIteratorImpl>()) {}

ChannelIterator::ChannelIterator(const Channel& container, IterLocation location)
    : ChannelIterator() {
    // An end must not sort: it is asked for while others walk.
    ChannelImpl::StreamSet& streams =
        location == kBegin ? container.fImpl->streams() : container.fImpl->unsortedStreams();
    impl().position = {streams, location == kBegin ? streams.begin() : streams.end()};
}

ChannelIterator::ChannelIterator(const ChannelIterator& other)
    : fImpl(std::make_unique<ChannelIteratorImpl>(other.impl())) {}

ChannelIterator& ChannelIterator::operator=(const ChannelIterator& other) {
    impl() = other.impl();
    return *this;
}

ChannelIterator::~ChannelIterator() = default;

ChannelIteratorImpl& ChannelIterator::impl() { return *fImpl; }

const ChannelIteratorImpl& ChannelIterator::impl() const { return *fImpl; }

bool ChannelIterator::operator==(const ChannelIterator& other) const {
    return impl().position == other.impl().position;
}

Stream& ChannelIterator::operator*() { return impl().current("ChannelImpl::Iterator::operator*"); }

const Stream& ChannelIterator::operator*() const {
    return impl().current("ChannelImpl::Iterator::operator*");
}

Stream* ChannelIterator::operator->() {
    return &impl().current("ChannelImpl::Iterator::operator->");
}

const Stream* ChannelIterator::operator->() const {
    return &impl().current("const ChannelImpl::Iterator::operator->");
}

ChannelIterator& ChannelIterator::operator++() {
    impl().position.step();
    return *this;
}

ChannelIterator ChannelIterator::operator++(int) {
    ChannelIterator before(*this);
    ++*this;
    return before;
}

bool ChannelIterator::valid() const { return impl().position.valid(); }

bool ChannelIterator::Debug(const ChannelIterator* iterator, Debug::Print& print) {
    if (!iterator) return true;
    std::ostream& out = print << "ChannelIterator ";
    if (iterator->valid()) {
        out << "positioned at Stream " << (*iterator)->name() << ".\n";
    } else {
        out << "postioned at the end.\n";  // spelt so for those who search for it
    }
    return true;
}

bool ChannelIterator::Debug(const ChannelIterator* iterator, Debug::Footprint& footprint) {
    if (iterator) footprint.addObject(iterator, sizeof(ChannelIterator));
    return true;
}

}  // namespace orbo::Data
