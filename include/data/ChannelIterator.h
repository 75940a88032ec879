// Walks the streams of a Channel in name order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/NameIterator.h>
#include <debug/Export.h>

namespace orbo::Data {

class Channel;
class Stream;

/// Walks the streams in name order. It is good while the channel lives and its set of streams does
/// not change, and does not keep the channel alive.
///
///     for (Stream& stream : channel) stream.setUseDefaults(true);
class METADATA_API ChannelIterator : public NameIterator<ChannelIterator, Stream> {
  public:
    /// An iterator that walks nothing and is not valid.
    ChannelIterator();
    ChannelIterator(const ChannelIterator& other);
    ChannelIterator& operator=(const ChannelIterator& other);
    ~ChannelIterator();

  protected:
    friend class Channel;
    ChannelIterator(const Channel& container, IterLocation location);
};

}  // namespace orbo::Data
