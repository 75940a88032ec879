// Compares members, elements and streams.
// SPDX-License-Identifier: Apache-2.0
#include "scene/ElementCompare.h"

#include "values/ValueType.h"

#include <cstring>

namespace orbo::Quilmeta {

namespace {

bool isSame(const Text& ours, const Text& theirs) {
    return std::strcmp(ours ? ours : "", theirs ? theirs : "") == 0;
}

/// Compares bits: == would take 0 for -0, and NaN for different from itself.
template <typename Part>
bool isSame(const Part& ours, const Part& theirs) {
    const void* const ourBytes = &ours;
    const void* const theirBytes = &theirs;
    return std::memcmp(ourBytes, theirBytes, sizeof ours) == 0;
}

/// Compares the member that both handles stand at.
bool isSameMember(const Data::Handle& ours, const Data::Handle& theirs,
                  const Data::Member& member) {
    bool same = true;
    withParts(ours, member, [&](auto* parts) {
        auto* others = static_cast<decltype(parts)>(theirs.asType(member.type()));
        for (size_t i = 0; same && i < partsOf(member); ++i) same = isSame(parts[i], others[i]);
    });
    return same;
}

}  // namespace

MembersByName membersByName(const Data::Structure& structure) {
    MembersByName members;
    for (const Data::Member& member : structure) members.emplace(member.name(), &member);
    return members;
}

bool isSame(Data::Handle& ours, Data::Handle& theirs, const Data::Structure& structure) {
    if (!ours.hasData() || !theirs.hasData()) return ours.hasData() == theirs.hasData();
    for (Data::StructureIterator member = structure.begin(); member.valid(); ++member) {
        ours.setPositionByMemberIndex(member.index());
        theirs.setPositionByMemberIndex(member.index());
        if (!isSameMember(ours, theirs, *member)) return false;
    }
    return true;
}

bool isAlike(const Data::Stream& ours, const Data::Stream& theirs) {
    return ours.structure() == theirs.structure() && ours.indexType() == theirs.indexType();
}

}  // namespace orbo::Quilmeta
