// Walks the channels of an Associations in name order.
// SPDX-License-Identifier: Apache-2.0
#include <data/AssociationsIterator.h>

#include "containers/AssociationsImpl.h"
#include "containers/NameIteratorImpl.h"

#include <data/Associations.h>

namespace orbo::Data {

template <>
struct IteratorTraits<AssociationsIterator> {
    using Set = AssociationsImpl::ChannelSet;
    static Set& sorted(const AssociationsImpl& shared) { return shared.channels(); }
    static Set& unsorted(const AssociationsImpl& shared) { return shared.unsortedChannels(); }
    static Channel& part(Channel& entry) { return entry; }

    static constexpr const char* kContainer = "Associations";
    static constexpr const char* kPart = "Channel";
};

AssociationsIterator::AssociationsIterator() = default;
AssociationsIterator::AssociationsIterator(const AssociationsIterator& other) = default;
AssociationsIterator& AssociationsIterator::operator=(const AssociationsIterator& other) = default;
AssociationsIterator::~AssociationsIterator() = default;

AssociationsIterator::AssociationsIterator(const Associations& container, IterLocation location) {
    impl().moveTo(location, *container.fImpl);
}

template class NameIterator<AssociationsIterator, Channel>;

}  // namespace orbo::Data
