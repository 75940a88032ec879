// A named record layout of typed members, and the registry of structures.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/EditResult.h>
#include <data/Member.h>
#include <data/StructureIterator.h>
#include <data/TextArgument.h>
#include <debug/Checkpointed.h>
#include <debug/Counted.h>
#include <debug/Export.h>
#include <debug/OwnedPtr.h>
#include <debug/RefCounted.h>

#include <set>

namespace orbo::Data {

/// The members of an element, in order: what a record type is to a program. Members are only ever
/// added: never removed, never reordered. The alignment of the *first* member rounds the total
/// size, so a structure may end unaligned.
///
///     RefPtr<Structure> crease(Structure::create());
///     crease->setName("Crease");
///     crease->addMember(Member::kFloat, 1, "sharpness");
///     crease->addMember(Member::kFloat, 3, "normal");
///     Structure::registerStructure(*crease);
///
/// A structure lives on the heap. Its count starts at 0; the last `unref` deletes it. Keep it in a
/// `RefPtr<Structure>`.
///
/// Chunks are `totalSize()` bytes. Chunks and the strings in them come from `malloc` and go to
/// `free`, on either side of the library's border.
class METADATA_API Structure : public RefCounted, public Checkpointed, public Counted<Structure> {
  public:
    Structure();
    /// Null gives the default name, "structure".
    explicit Structure(const char* name);
    Structure(const Structure& other);
    /// Makes a new structure without references.
    static Structure* create();

    /// Takes name and members. Elements made with the old members keep them until their stream is
    /// next used, which then converts them: members with equal name, type and length keep their
    /// values, all others are default.
    Structure& operator=(const Structure& other);
    /// Content: name, total size and members.
    bool operator==(const Structure& other) const;
    bool operator!=(const Structure& other) const { return !(*this == other); }

    /// Null gives the default name.
    void setName(const char* name);
    [[nodiscard]] const char* name() const;

    /// Returns false, with nothing changed, for a type that stores nothing, a length of 0, a name
    /// that is null, empty or taken, and a member that makes elements larger than 2^60 bytes;
    /// `tryAddMember` says which. Both throw `std::bad_alloc`, with nothing changed, when memory
    /// runs out.
    bool addMember(Member::eDataType type, unsigned int length, const char* name);
    EditResult tryAddMember(Member::eDataType type, unsigned int length, const char* name);
    /// These give the member with that name, or at that place among the members; null when there is
    /// none. It is good until the structure gets another member, is assigned to or dies. Many names
    /// are found in constant time; a null name is nobody's.
    [[nodiscard]] const Member* member(TextArgument name) const;
    [[nodiscard]] const Member* member(unsigned int position) const;
    /// Both give the number of members; `size` is no byte size.
    [[nodiscard]] unsigned int memberCount() const;
    [[nodiscard]] unsigned int size() const { return memberCount(); }
    [[nodiscard]] bool empty() const { return memberCount() == 0; }
    /// Gives the bytes of one chunk.
    [[nodiscard]] unsigned long long totalSize() const;
    /// Returns true once destruction has begun.
    [[nodiscard]] bool isDeleting() const;

    using iterator = StructureIterator;
    using const_iterator = StructureIterator;
    [[nodiscard]] StructureIterator begin() const;
    [[nodiscard]] StructureIterator end() const;
    [[nodiscard]] StructureIterator cbegin() const { return begin(); }
    [[nodiscard]] StructureIterator cend() const { return end(); }

    /// Overwrites the chunk, padding included; strings in it are not freed first.
    bool fillWithDefaultChunk(char* chunk) const;
    /// Copies the chunk; its strings are duplicated. When memory runs out, false: `destination` is
    /// then a default chunk. Strings that `destination` held are not freed first.
    bool fillWithDuplicateChunk(char* destination, const char* source) const;
    /// Makes a new chunk that the caller owns, null when memory runs out.
    [[nodiscard]] char* duplicateChunk(const char* source) const;
    /// Frees the chunk's strings and nulls their slots; the block itself stays the caller's.
    bool destroyChunk(char* chunk) const;
    /// Built on the first call, from the members of that moment, and owned by the structure.
    /// Members that are added later are not in it. Returns null when memory runs out.
    [[nodiscard]] const char* defaultData() const;
    /// Makes a new default chunk that the caller owns; null for a size of 0 or when memory runs
    /// out.
    [[nodiscard]] char* allocateDefaultChunk() const;
    bool chunkIsDefault(const char* chunk) const;
    /// Null tests all members; a name that no member has is true; a null chunk is false.
    bool chunkMemberIsDefault(const char* chunk, const char* memberName) const;

    /// Gives the registered structures, ordered by address. While an accessor reads a file, the
    /// reading thread sees a registry of that read alone.
    static const std::set<Structure*>& allStructures();
    /// Takes a reference. Returns false when the structure, or one equal to it, is registered;
    /// `tryRegisterStructure` says which.
    static bool registerStructure(Structure& structure);
    static EditResult tryRegisterStructure(Structure& structure);
    /// Drops the registry's reference, which may delete the structure. Returns false if not
    /// registered.
    static bool deregisterStructure(Structure& structure);
    static EditResult tryDeregisterStructure(Structure& structure);
    /// Returns null for null and for a name nobody registered; of several structures with one name,
    /// the one at the lowest address.
    static Structure* structureByName(const char* name);
    static void deleteAllStructures();

    using Counted<Structure>::Debug;
    static bool Debug(const Structure* structure, Debug::Footprint& footprint);
    /// Null prints the data types and the registered structures.
    static bool Debug(const Structure* structure, Debug::Print& print);

  protected:
    ~Structure() override;

  private:
    friend class Layout;
    friend class StructureRegistry;

    struct Impl;
    OwnedPtr<Impl> fImpl;
};

}  // namespace orbo::Data
