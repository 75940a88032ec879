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

/// Holds what `ChannelIterator` and `AssociationsIterator` share. `Iterator` is the class that
/// derives from this, `Part` is what it walks: its own, so that changing a part changes the
/// container.
///
///     for (ChannelIterator it = channel.begin(); it != channel.end(); ++it) it->clear();
///
/// An iterator is good while the container lives and its set of parts does not change. It does not
/// keep the container alive. A copy walks on its own, and takes memory: it may throw
/// `std::bad_alloc`.
template <typename Iterator, typename Part>
class METADATA_API NameIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Part;
    using difference_type = std::ptrdiff_t;
    using pointer = Part*;
    using reference = Part&;

    enum IterLocation { kEnd = 0, kBegin = 1 };

    /// Returns true for the same place in the same container; iterators of two containers are never
    /// equal.
    bool operator==(const Iterator& other) const;
    bool operator!=(const Iterator& other) const { return !(*this == other); }

    /// These give the part at the place, which is good until the container drops or replaces it.
    /// All four throw `std::out_of_range`, naming the operation, when the iterator is not valid.
    Part& operator*();
    const Part& operator*() const;
    Part* operator->();
    const Part* operator->() const;

    /// Goes to the next part in constant time, and stays at the end. Neither fails.
    Iterator& operator++();
    Iterator operator++(int);

    /// Returns false at the end, and for an iterator that walks nothing.
    [[nodiscard]] bool valid() const;

    /// The first prints a line about the place, the second adds the iterator. Both return true.
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
