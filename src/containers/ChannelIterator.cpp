// Walks the streams of a Channel in name order.
// SPDX-License-Identifier: Apache-2.0
#include <data/ChannelIterator.h>

#include "containers/ChannelImpl.h"
#include "containers/NameIteratorImpl.h"

#include <data/Channel.h>

namespace orbo::Data {

template <>
struct IteratorTraits<ChannelIterator> {
    using Set = ChannelImpl::StreamSet;
    static Set& sorted(const ChannelImpl& shared) { return shared.streams(); }
    static Set& unsorted(const ChannelImpl& shared) { return shared.unsortedStreams(); }
    static Stream& part(std::unique_ptr<Stream>& entry) { return *entry; }

    static constexpr const char* kContainer = "Channel";
    static constexpr const char* kPart = "Stream";
};

ChannelIterator::ChannelIterator() = default;
ChannelIterator::ChannelIterator(const ChannelIterator& other) = default;
ChannelIterator& ChannelIterator::operator=(const ChannelIterator& other) = default;
ChannelIterator::~ChannelIterator() = default;

ChannelIterator::ChannelIterator(const Channel& container, IterLocation location) {
    impl().moveTo(location, *container.fImpl);
}

template class NameIterator<ChannelIterator, Stream>;

}  // namespace orbo::Data
