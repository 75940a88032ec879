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

/// Holds a reference on the structure and the index of the current member. Members never move
/// their place, so an iterator stays good when members are added.
class METADATA_API StructureIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Member;
    using difference_type = std::ptrdiff_t;
    using pointer = const Member*;
    using reference = const Member&;

    enum IterLocation { kEnd = 0, kBegin = 1 };

    /// At the end of an empty structure of its own.
    StructureIterator();
    StructureIterator(const StructureIterator& other);
    StructureIterator& operator=(const StructureIterator& other);
    ~StructureIterator();

    bool operator==(const StructureIterator& other) const;
    bool operator!=(const StructureIterator& other) const { return !(*this == other); }

    /// Throws `std::out_of_range` ("Member", in the const forms "Const Member") without a member.
    const Member& operator*();
    const Member& operator*() const;
    const Member* operator->();
    const Member* operator->() const;

    /// One step behind the end is the first member again.
    StructureIterator& operator++();
    StructureIterator operator++(int);

    /// 4294967295 at the end.
    [[nodiscard]] unsigned int index() const { return fIndex; }
    [[nodiscard]] const Structure& structure() const;
    [[nodiscard]] bool valid() const;

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
