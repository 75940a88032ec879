// The members of a structure at one moment, and all that is done to chunks laid out by them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>
#include <debug/RefCounted.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace orbo::Data {

class Structure;

/// Chunks are addressed, copied and freed by the layout they were made with, whatever happens to
/// their structure since: who holds chunks holds a reference on their layout, and one that others
/// refer to never changes again.
class Layout : public RefCounted {
  public:
    static constexpr unsigned int kNoMember = ~0U;
    /// No chunk can be larger; keeps all arithmetic on sizes from wrapping.
    static constexpr std::uint64_t kLargestSize = std::uint64_t{1} << 60;

    Layout() = default;
    Layout(const Layout& other);
    Layout& operator=(const Layout&) = delete;

    /// The structure's present layout, which is good until the structure changes unless one takes a
    /// reference.
    static const Layout& of(const Structure& structure);
    /// Where the structure keeps it, which is good as long as the structure is.
    static const RefPtr<Layout>& presentOf(const Structure& structure);
    /// Of no members.
    static const Layout& empty();

    [[nodiscard]] unsigned int memberCount() const {
        return static_cast<unsigned int>(fMembers.size());
    }
    [[nodiscard]] const Member& member(unsigned int index) const { return fMembers[index]; }
    [[nodiscard]] const std::vector<Member>& members() const { return fMembers; }
    /// `kNoMember` when there is none; constant time.
    [[nodiscard]] unsigned int indexOf(const char* name) const;

    /// Bytes of a chunk.
    [[nodiscard]] std::uint64_t totalSize() const { return fTotalSize; }
    /// Bytes from one chunk to the next in an array, such that every member of each is aligned.
    [[nodiscard]] std::uint64_t stride() const;
    [[nodiscard]] bool hasStrings() const { return fHasStrings; }

    /// A new default chunk from the heap; null for a size of 0 and when memory runs out.
    [[nodiscard]] char* allocate() const;
    /// Null for null, for a size of 0 and when memory runs out.
    [[nodiscard]] char* duplicate(const char* source) const;
    /// Frees strings and block; null is fine.
    void free(char* chunk) const;

    void fillWithDefault(char* chunk) const;
    /// Strings in `destination` are overwritten, not freed. When memory runs out, false, and
    /// `destination` is a default chunk.
    bool fillWithDuplicate(char* destination, const char* source) const;
    /// Frees the strings and nulls their slots.
    void destroyStrings(char* chunk) const;
    /// `destroyStrings`, then `fillWithDefault`.
    void reset(char* chunk) const;
    /// False for a null chunk.
    [[nodiscard]] bool isDefault(const char* chunk) const;
    /// One member only; true for a name that no member has.
    [[nodiscard]] bool isDefault(const char* chunk, const char* memberName) const;

    /// False when the type stores nothing, the length is 0, the name is null, empty or taken, or
    /// the chunk would pass `kLargestSize`.
    bool canAdd(Member::eDataType type, unsigned int length, const char* name) const;
    /// Only what `canAdd`, and only to a layout that nobody else refers to.
    void add(Member::eDataType type, unsigned int length, const char* name);

  private:
    /// Of a hash table.
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t memberBehind = 0;  // its number and one; 0 for no member
    };
    /// Where in the table the name is, or would be.
    [[nodiscard]] const Slot& slotOf(const char* name, std::uint32_t hash) const;
    void fillSlot(unsigned int member);
    /// So that one more member finds room.
    void growTable();

    std::vector<Member> fMembers;
    std::vector<Slot> fSlots;  // empty as long as a search along the members is fast enough
    std::uint64_t fEnd = 0;
    std::uint64_t fTotalSize = 0;
    int fAlignment = 1;
    bool fHasStrings = false;
};

/// Brings chunks from one layout to another: members with equal name, type and length keep their
/// values, all others are default.
class LayoutConversion {
  public:
    LayoutConversion(const Layout& from, const Layout& to);

    /// `destination` is a default chunk of the new layout. Strings move over; those of members that
    /// are dropped are freed. `source` is a default chunk afterwards.
    void move(char* destination, char* source) const;
    /// A new chunk with copies of the strings; null for a size of 0 and when memory runs out.
    [[nodiscard]] char* duplicate(const char* source) const;

  private:
    const Layout& fFrom;
    const Layout& fTo;
    std::vector<std::pair<unsigned int, unsigned int>> fKept;  // member indices, from and to
};

}  // namespace orbo::Data
