// Walks the named parts of a container in the order of their names.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>
#include <debug/OwnedPtr.h>

#include <cstddef>
#include <string>  // it has the iterator categories; <iterator> takes a compiler long

namespace orbo::Debug {
class Footprint;
class Print;
}  // namespace orbo::Debug

namespace orbo::Data {

/// What `ChannelIterator` and `AssociationsIterator` share. `Iterator` is the class that derives
/// from this, `Part` is what it walks.
template <typename Iterator, typename Part>
class METADATA_API NameIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Part;
    using difference_type = std::ptrdiff_t;
    using pointer = Part*;
    using reference = Part&;

    enum IterLocation { kEnd = 0, kBegin = 1 };

    bool operator==(const Iterator& other) const;
    bool operator!=(const Iterator& other) const { return !(*this == other); }

    /// All four throw `std::out_of_range` naming the operation when the iterator is not valid.
    Part& operator*();
    const Part& operator*() const;
    Part* operator->();
    const Part* operator->() const;

    /// Stays at the end.
    Iterator& operator++();
    Iterator operator++(int);

    [[nodiscard]] bool valid() const;

    static bool Debug(const Iterator* iterator, Debug::Print& print);
    static bool Debug(const Iterator* iterator, Debug::Footprint& footprint);

  protected:
    class Impl;

    NameIterator();
    NameIterator(const NameIterator& other);
    NameIterator& operator=(const NameIterator& other);
    ~NameIterator();

    Impl& impl() { return *fImpl; }
    [[nodiscard]] const Impl& impl() const { return *fImpl; }

  private:
    OwnedPtr<Impl> fImpl;
};

}  // namespace orbo::Data
