// The members of a structure at one moment, and the operations on chunks laid out by them.
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

/// A chunk is addressed, copied and freed by the layout it was made with, even if its structure has
/// changed since. An owner of chunks holds a reference on their layout. A layout that others refer
/// to never changes.
class Layout : public RefCounted {
  public:
    static constexpr unsigned int kNoMember = ~0U;
    /// The size limit of a chunk, which keeps sums of sizes from overflowing.
    static constexpr std::uint64_t kLargestSize = std::uint64_t{1} << 60;

    Layout() = default;
    Layout(const Layout& other);
    Layout& operator=(const Layout&) = delete;

    /// The structure's present layout. It may go when the structure changes, unless the caller
    /// holds a reference.
    static const Layout& of(const Structure& structure);
    /// The place where the structure keeps its present layout; it lives as long as the structure.
    static const RefPtr<Layout>& presentOf(const Structure& structure);
    /// The layout without members.
    static const Layout& empty();

    [[nodiscard]] unsigned int memberCount() const {
        return static_cast<unsigned int>(fMembers.size());
    }
    [[nodiscard]] const Member& member(unsigned int index) const { return fMembers[index]; }
    [[nodiscard]] const std::vector<Member>& members() const { return fMembers; }
    /// The values of a member: scalars of one type, of which a matrix has 16.
    struct Run {
        Member::eDataType type;
        std::uint64_t offset;
        std::uint64_t count;
    };
    /// One for each member.
    [[nodiscard]] const std::vector<Run>& runs() const { return fRuns; }
    /// The index of a member; `kNoMember` when there is none. Takes constant time.
    [[nodiscard]] unsigned int indexOf(const char* name) const;

    /// The bytes of a chunk.
    [[nodiscard]] std::uint64_t totalSize() const { return fTotalSize; }
    /// The bytes from one chunk to the next in an array that aligns every member of each.
    [[nodiscard]] std::uint64_t stride() const;
    [[nodiscard]] bool hasStrings() const { return fHasStrings; }

    /// Returns a new default chunk from the heap; null for a size of 0 and when memory runs out.
    [[nodiscard]] char* allocate() const;
    /// Copies a chunk to the heap. Returns null for null, for a size of 0 and when memory runs out.
    [[nodiscard]] char* duplicate(const char* source) const;
    /// Frees the strings and the block; the chunk may be null.
    void free(char* chunk) const;

    void fillWithDefault(char* chunk) const;
    /// Overwrites `destination` without freeing its strings. Returns false, with a default chunk
    /// there, when memory runs out.
    bool fillWithDuplicate(char* destination, const char* source) const;
    /// Frees the strings and sets their slots to null.
    void destroyStrings(char* chunk) const;
    /// Calls `destroyStrings`, then `fillWithDefault`.
    void reset(char* chunk) const;
    /// False for a null chunk.
    [[nodiscard]] bool isDefault(const char* chunk) const;
    /// Checks one member only; true for a name that no member has.
    [[nodiscard]] bool isDefault(const char* chunk, const char* memberName) const;

    /// Why a member cannot be added: its type stores nothing, its length is 0, its name is null or
    /// empty, another member has the name, or the chunk would exceed `kLargestSize`.
    enum class AddProblem { kNone, kType, kLength, kNoName, kNameTaken, kSize };
    [[nodiscard]] AddProblem problemOfAdding(Member::eDataType type, unsigned int length,
                                             const char* name) const;
    /// Requires that there is no problem, and that nobody else refers to the layout.
    void add(Member::eDataType type, unsigned int length, const char* name);

  private:
    /// A slot of the hash table.
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t memberBehind = 0;  // the index of the member plus 1
    };
    /// The slot that has the name, or the free one where it belongs.
    [[nodiscard]] const Slot& slotOf(const char* name, std::uint32_t hash) const;
    void fillSlot(unsigned int member);
    /// Makes room for one more member.
    void growTable();

    std::vector<Member> fMembers;
    std::vector<Run> fRuns;
    std::vector<Slot> fSlots;  // empty while a linear search is fast enough
    std::uint64_t fEnd = 0;
    std::uint64_t fTotalSize = 0;
    int fAlignment = 1;
    bool fHasStrings = false;
};

/// Converts chunks from one layout to another: members with equal name, type and length keep their
/// values, all others are default.
class LayoutConversion {
  public:
    LayoutConversion(const Layout& from, const Layout& to);

    /// Fills `destination`, a default chunk of the new layout. Moves the strings; frees those of
    /// members that the new layout lacks. `source` is a default chunk afterwards.
    void move(char* destination, char* source) const;
    /// Returns a new chunk with copies of the strings; null for a size of 0 and when memory runs
    /// out.
    [[nodiscard]] char* duplicate(const char* source) const;

  private:
    const Layout& fFrom;
    const Layout& fTo;
    std::vector<std::pair<unsigned int, unsigned int>> fKept;  // member indices, from and to
};

}  // namespace orbo::Data
