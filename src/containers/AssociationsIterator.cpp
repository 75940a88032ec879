// Walks the channels of an Associations in name order.
// SPDX-License-Identifier: Apache-2.0
#include <data/AssociationsIterator.h>

#include "containers/AssociationsImpl.h"

#include <data/Associations.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <stdexcept>

namespace orbo::Data {

class AssociationsIteratorImpl {
  public:
    /// Throws when there is no channel here.
    [[nodiscard]] Channel& current(const char* operation) const {
        if (!position.valid()) throw std::out_of_range(operation);
        return *position;
    }

    AssociationsImpl::ChannelSet::Position position;
};

AssociationsIterator::AssociationsIterator()
    : fImpl(std::make_unique<AssociationsIteratorImpl>()) {}

AssociationsIterator::AssociationsIterator(const Associations& container, IterLocation location)
    : AssociationsIterator() {
    // An end must not sort: it is asked for while others walk.
    AssociationsImpl::ChannelSet& channels =
        location == kBegin ? container.fImpl->channels() : container.fImpl->unsortedChannels();
    impl().position = {channels, location == kBegin ? channels.begin() : channels.end()};
}

AssociationsIterator::AssociationsIterator(const AssociationsIterator& other)
    : fImpl(std::make_unique<AssociationsIteratorImpl>(other.impl())) {}

AssociationsIterator& AssociationsIterator::operator=(const AssociationsIterator& other) {
    impl() = other.impl();
    return *this;
}

AssociationsIterator::~AssociationsIterator() = default;

AssociationsIteratorImpl& AssociationsIterator::impl() { return *fImpl; }

const AssociationsIteratorImpl& AssociationsIterator::impl() const { return *fImpl; }

bool AssociationsIterator::operator==(const AssociationsIterator& other) const {
    return impl().position == other.impl().position;
}

Channel& AssociationsIterator::operator*() {
    return impl().current("AssociationsImpl::Iterator::operator*");
}

const Channel& AssociationsIterator::operator*() const {
    return impl().current("AssociationsImpl::Iterator::operator*");
}

Channel* AssociationsIterator::operator->() {
    return &impl().current("AssociationsImpl::Iterator::operator->");
}

const Channel* AssociationsIterator::operator->() const {
    return &impl().current("const AssociationsImpl::Iterator::operator->");
}

AssociationsIterator& AssociationsIterator::operator++() {
    impl().position.step();
    return *this;
}

AssociationsIterator AssociationsIterator::operator++(int) {
    AssociationsIterator before(*this);
    ++*this;
    return before;
}

bool AssociationsIterator::valid() const { return impl().position.valid(); }

bool AssociationsIterator::Debug(const AssociationsIterator* iterator, Debug::Print& print) {
    if (!iterator) return true;
    std::ostream& out = print << "AssociationsIterator ";
    if (iterator->valid()) {
        out << "positioned at Channel " << (*iterator)->name() << ".\n";
    } else {
        out << "postioned at the end.\n";  // spelt so for those who search for it
    }
    return true;
}

bool AssociationsIterator::Debug(const AssociationsIterator* iterator,
                                 Debug::Footprint& footprint) {
    if (iterator) footprint.addObject(iterator, sizeof(AssociationsIterator));
    return true;
}

}  // namespace orbo::Data
