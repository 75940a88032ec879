// Walks the streams of a Channel in name order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/NameIterator.h>
#include <debug/Export.h>

namespace orbo::Data {

class Channel;
class Stream;

/// Good while the channel lives and its set of streams does not change; does not keep it alive.
class METADATA_API ChannelIterator : public NameIterator<ChannelIterator, Stream> {
  public:
    /// Walks nothing; not valid.
    ChannelIterator();
    ChannelIterator(const ChannelIterator& other);
    ChannelIterator& operator=(const ChannelIterator& other);
    ~ChannelIterator();

  protected:
    friend class Channel;
    ChannelIterator(const Channel& container, IterLocation location);
};

}  // namespace orbo::Data
