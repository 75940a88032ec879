// Walks the streams of a Channel in name order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <cstddef>
#include <iterator>
#include <memory>

namespace orbo::Debug {
class Footprint;
class Print;
}  // namespace orbo::Debug

namespace orbo::Data {

class Channel;
class Stream;
class ChannelIteratorImpl;

/// Good while the channel lives and its set of streams does not change; does not keep it alive.
class METADATA_API ChannelIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Stream;
    using difference_type = std::ptrdiff_t;
    using pointer = Stream*;
    using reference = Stream&;

    enum IterLocation { kEnd = 0, kBegin = 1 };

    /// Walks nothing; not valid.
    ChannelIterator();
    ChannelIterator(const ChannelIterator& other);
    ChannelIterator& operator=(const ChannelIterator& other);
    ~ChannelIterator();

    bool operator==(const ChannelIterator& other) const;
    bool operator!=(const ChannelIterator& other) const { return !(*this == other); }

    /// All four throw `std::out_of_range` naming the operation when the iterator is not valid.
    Stream& operator*();
    const Stream& operator*() const;
    Stream* operator->();
    const Stream* operator->() const;

    /// Stays at the end.
    ChannelIterator& operator++();
    ChannelIterator operator++(int);

    [[nodiscard]] bool valid() const;

    static bool Debug(const ChannelIterator* iterator, Debug::Print& print);
    static bool Debug(const ChannelIterator* iterator, Debug::Footprint& footprint);

  protected:
    friend class Channel;
    ChannelIterator(const Channel& container, IterLocation location);

    ChannelIteratorImpl& impl();
    [[nodiscard]] const ChannelIteratorImpl& impl() const;

  private:
    std::unique_ptr<ChannelIteratorImpl> fImpl;
};

}  // namespace orbo::Data
