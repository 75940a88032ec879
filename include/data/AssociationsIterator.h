// Walks the channels of an Associations in name order.
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

class Associations;
class Channel;
class AssociationsIteratorImpl;

/// Good while the associations lives and its set of channels does not change; does not keep it
/// alive.
class METADATA_API AssociationsIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Channel;
    using difference_type = std::ptrdiff_t;
    using pointer = Channel*;
    using reference = Channel&;

    enum IterLocation { kEnd = 0, kBegin = 1 };

    /// Walks nothing; not valid.
    AssociationsIterator();
    AssociationsIterator(const AssociationsIterator& other);
    AssociationsIterator& operator=(const AssociationsIterator& other);
    ~AssociationsIterator();

    bool operator==(const AssociationsIterator& other) const;
    bool operator!=(const AssociationsIterator& other) const { return !(*this == other); }

    /// All four throw `std::out_of_range` naming the operation when the iterator is not valid.
    Channel& operator*();
    const Channel& operator*() const;
    Channel* operator->();
    const Channel* operator->() const;

    /// Stays at the end.
    AssociationsIterator& operator++();
    AssociationsIterator operator++(int);

    [[nodiscard]] bool valid() const;

    static bool Debug(const AssociationsIterator* iterator, Debug::Print& print);
    static bool Debug(const AssociationsIterator* iterator, Debug::Footprint& footprint);

  protected:
    friend class Associations;
    AssociationsIterator(const Associations& container, IterLocation location);

    AssociationsIteratorImpl& impl();
    [[nodiscard]] const AssociationsIteratorImpl& impl() const;

  private:
    std::unique_ptr<AssociationsIteratorImpl> fImpl;
};

}  // namespace orbo::Data
