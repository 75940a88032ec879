// Walks the members of a Structure.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <cstddef>
#include <string>  // it has the iterator categories; <iterator> takes a compiler long

namespace orbo::Debug {
class Footprint;
class Print;
}  // namespace orbo::Debug

namespace orbo::Data {

class Member;
class Structure;

/// Walks the members in the order in which they were added. It keeps the structure alive, and stays
/// good when members are added.
///
///     for (StructureIterator it = structure.begin(); it != structure.end(); ++it) {
///         std::cout << it.index() << ": " << it->name() << '\n';
///     }
class METADATA_API StructureIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Member;
    using difference_type = std::ptrdiff_t;
    using pointer = const Member*;
    using reference = const Member&;

    enum IterLocation { kEnd = 0, kBegin = 1 };

    /// Stands at the end of an empty structure of its own.
    StructureIterator();
    StructureIterator(const StructureIterator& other);
    StructureIterator& operator=(const StructureIterator& other);
    ~StructureIterator();

    /// Returns true for the same place in the same structure object.
    bool operator==(const StructureIterator& other) const;
    bool operator!=(const StructureIterator& other) const { return !(*this == other); }

    /// These give the current member, which is good until the structure gets another member or is
    /// assigned to. All four throw `std::out_of_range` ("Member", in the const forms "Const
    /// Member") at the end.
    const Member& operator*();
    const Member& operator*() const;
    const Member* operator->();
    const Member* operator->() const;

    /// Goes to the next member; one step behind the end is the first member again.
    StructureIterator& operator++();
    StructureIterator operator++(int);

    /// Gives the member's place in the structure, from 0; 4294967295 at the end.
    [[nodiscard]] unsigned int index() const { return fIndex; }
    /// The structure is good as long as the iterator is.
    [[nodiscard]] const Structure& structure() const;
    /// Returns false at the end.
    [[nodiscard]] bool valid() const;

    /// The first prints a line about the place, the second adds the iterator. Both return true.
    static bool Debug(const StructureIterator* iterator, Debug::Print& print);
    static bool Debug(const StructureIterator* iterator, Debug::Footprint& footprint);

  protected:
    friend class Structure;
    StructureIterator(const Structure& structure, IterLocation location);

  private:
    [[nodiscard]] const Member* current() const;
    void release() noexcept;

    const Structure* fStructure;  // one reference
    unsigned int fIndex;
};

}  // namespace orbo::Data
