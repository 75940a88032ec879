// The members of a structure at one moment, and the operations on chunks laid out by them.
// SPDX-License-Identifier: Apache-2.0
#include "core/Layout.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/DataTypes.h"
#include "core/KeyedHash.h"
#include "debug/NeverDestroyed.h"

namespace orbo::Data {

namespace {

// From this many members on, a hash table finds names.
constexpr std::size_t kMembersWorthATable = 16;

std::uint64_t roundUp(std::uint64_t value, int alignment) {
    if (alignment <= 1) return value;
    const auto step = static_cast<std::uint64_t>(alignment);  // a power of two
    return (value + step - 1) & ~(step - 1);
}

std::uint64_t valueBytes(const Member& member) {
    return std::uint64_t{member.length()} *
           static_cast<std::uint64_t>(dataType(member.type()).size);
}

/// Makes room for one more, so that adding it cannot fail.
template <typename List>
void makeRoom(List& list) {
    if (list.size() == list.capacity()) list.reserve(2 * list.size() + 1);
}

std::uint32_t hashOf(const char* name) { return static_cast<std::uint32_t>(KeyedHash::of(name)); }

}  // namespace

Layout::Layout(const Layout& other)
    : RefCounted(),
      fMembers(other.fMembers),
      fRuns(other.fRuns),
      fSlots(other.fSlots),
      fEnd(other.fEnd),
      fTotalSize(other.fTotalSize),
      fAlignment(other.fAlignment),
      fHasStrings(other.fHasStrings) {}

const Layout& Layout::empty() {
    return neverDestroyed<Layout>([](void* place) {
        auto* made = new (place) Layout;
        made->ref();
        return made;
    });
}

unsigned int Layout::indexOf(const char* name) const {
    if (!fSlots.empty()) return slotOf(name, hashOf(name)).memberBehind - 1;
    const auto found = std::find_if(fMembers.begin(), fMembers.end(), [&](const Member& member) {
        return std::strcmp(name, member.fName) == 0;
    });
    if (found == fMembers.end()) return kNoMember;
    return static_cast<unsigned int>(found - fMembers.begin());
}

const Layout::Slot& Layout::slotOf(const char* name, std::uint32_t hash) const {
    const std::size_t mask = fSlots.size() - 1;  // the size is a power of two
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& slot = fSlots[i];
        if (slot.memberBehind == 0) return slot;
        if (slot.hash == hash && std::strcmp(fMembers[slot.memberBehind - 1].fName, name) == 0) {
            return slot;
        }
    }
}

void Layout::fillSlot(unsigned int member) {
    const char* const name = fMembers[member].fName;
    const std::uint32_t hash = hashOf(name);
    const auto place = &slotOf(name, hash) - fSlots.data();
    fSlots[static_cast<std::size_t>(place)] = {hash, member + 1};
}

std::uint64_t Layout::stride() const { return roundUp(fTotalSize, fAlignment); }

char* Layout::allocate() const {
    return fTotalSize == 0 ? nullptr : static_cast<char*>(std::calloc(1, fTotalSize));
}

char* Layout::duplicate(const char* source) const {
    if (!source || fTotalSize == 0) return nullptr;
    char* copy = static_cast<char*>(std::malloc(fTotalSize));
    if (copy && !fillWithDuplicate(copy, source)) {
        std::free(copy);
        return nullptr;
    }
    return copy;
}

void Layout::free(char* chunk) const {
    if (chunk) destroyStrings(chunk);
    std::free(chunk);
}

void Layout::fillWithDefault(char* chunk) const {
    if (fTotalSize != 0) std::memset(chunk, 0, fTotalSize);
}

bool Layout::fillWithDuplicate(char* destination, const char* source) const {
    if (fTotalSize == 0) return true;
    std::memcpy(destination, source, fTotalSize);
    if (!fHasStrings) return true;
    for (auto member = fMembers.begin(); member != fMembers.end(); ++member) {
        if (member->constructDuplicate(destination, source)) continue;
        // The later members still hold the source's pointers, which must not be freed.
        std::for_each(member + 1, fMembers.end(),
                      [&](const Member& later) { later.fillWithDefault(destination); });
        reset(destination);
        return false;
    }
    return true;
}

void Layout::destroyStrings(char* chunk) const {
    if (!fHasStrings) return;
    for (const Run& run : fRuns) {
        if (run.type != Member::kString) continue;
        char** const strings = reinterpret_cast<char**>(chunk + run.offset);
        for (std::uint64_t i = 0; i < run.count; ++i) std::free(std::exchange(strings[i], nullptr));
    }
}

void Layout::reset(char* chunk) const {
    destroyStrings(chunk);
    fillWithDefault(chunk);
}

bool Layout::isDefault(const char* chunk) const {
    return chunk && std::all_of(fMembers.begin(), fMembers.end(),
                                [&](const Member& member) { return member.isDefault(chunk); });
}

bool Layout::isDefault(const char* chunk, const char* memberName) const {
    const unsigned int index = indexOf(memberName);
    return chunk && (index == kNoMember || fMembers[index].isDefault(chunk));
}

Layout::AddProblem Layout::problemOfAdding(Member::eDataType type, unsigned int length,
                                           const char* name) const {
    if (!name || !*name) return AddProblem::kNoName;
    if (!storesData(type)) return AddProblem::kType;
    if (length == 0) return AddProblem::kLength;
    if (indexOf(name) != kNoMember) return AddProblem::kNameTaken;
    const std::uint64_t bytes = std::uint64_t{length} * static_cast<unsigned>(dataType(type).size);
    return bytes < kLargestSize - fEnd ? AddProblem::kNone : AddProblem::kSize;
}

// Everything that can run out of memory comes first, so that a failure changes nothing.
void Layout::add(Member::eDataType type, unsigned int length, const char* name) {
    makeRoom(fMembers);
    makeRoom(fRuns);
    const std::uint64_t offset = fMembers.empty() ? 0 : roundUp(fEnd, Member::typeAlignment(type));
    Member member(type, length, name, offset);
    if (fMembers.size() + 1 >= kMembersWorthATable) growTable();
    fMembers.push_back(std::move(member));
    const auto numbers = static_cast<std::uint64_t>(dataType(type).numbers);
    fRuns.push_back({type, offset, numbers * length});
    if (!fSlots.empty()) fillSlot(memberCount() - 1);
    fEnd = offset + valueBytes(fMembers.back());
    // Only the first member's alignment counts: {int8, int16, int8} ends at 5 and stays 5.
    fTotalSize = roundUp(fEnd, Member::typeAlignment(fMembers.front().type()));
    fAlignment = std::max(fAlignment, Member::typeAlignment(type));
    fHasStrings = fHasStrings || type == Member::kString;
}

// At most two thirds of the slots are used, so that every search ends.
void Layout::growTable() {
    const std::size_t needed = (fMembers.size() + 1) * 3 / 2;
    if (needed < fSlots.size()) return;
    std::vector<Slot> slots(std::max(fSlots.size(), kMembersWorthATable) * 2);
    fSlots.swap(slots);
    for (unsigned int i = 0; i < memberCount(); ++i) fillSlot(i);
}

LayoutConversion::LayoutConversion(const Layout& from, const Layout& to) : fFrom(from), fTo(to) {
    for (unsigned int i = 0; i < to.memberCount(); ++i) {
        const Member& wanted = to.member(i);
        const unsigned int k = from.indexOf(wanted.name());
        if (k == Layout::kNoMember) continue;
        const Member& there = from.member(k);
        if (there.type() == wanted.type() && there.length() == wanted.length()) {
            fKept.emplace_back(k, i);
        }
    }
}

void LayoutConversion::move(char* destination, char* source) const {
    for (const auto& [from, to] : fKept) {
        char* values = source + fFrom.member(from).offset();
        const std::size_t bytes = valueBytes(fFrom.member(from));
        std::memcpy(destination + fTo.member(to).offset(), values, bytes);
        std::memset(values, 0, bytes);
    }
    fFrom.reset(source);
}

char* LayoutConversion::duplicate(const char* source) const {
    char* copy = fFrom.duplicate(source);
    char* converted = copy ? fTo.allocate() : nullptr;
    if (converted) move(converted, copy);
    fFrom.free(copy);
    return converted;
}

}  // namespace orbo::Data
