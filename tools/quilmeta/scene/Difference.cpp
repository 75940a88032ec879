// Where two structures, or two streams, differ.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Difference.h"

#include "scene/ElementCompare.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Stream.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace orbo::Quilmeta {

namespace {

/// Compares the orders of members. Both structures must have members of the same names.
bool ordersAreEqual(const Data::Structure& ours, const Data::Structure& theirs) {
    Data::StructureIterator other = theirs.begin();
    for (const Data::Member& member : ours) {
        if (std::strcmp(member.name(), other->name()) != 0) return false;
        ++other;
    }
    return true;
}

/// Returns "no index 3" and the like.
std::string atIndex(const char* what, const Data::Index& index) {
    return fmt::format("{} index {}", what, shownName(index.asString()));
}

/// The streams must be alike. Both hand their elements out in the order of their indices.
std::string differenceOfElements(const Data::Stream& ours, const Data::Stream& theirs) {
    Data::StreamIterator our = ours.cbegin();
    Data::StreamIterator their = theirs.cbegin();
    for (; our.valid() && their.valid(); ++our, ++their) {
        const Data::Index index = our.index();
        const Data::Index other = their.index();
        if (index < other) return atIndex("extra", index);
        if (other < index) return atIndex("no", other);
        if (!isSame(*our, *their, ours.structure())) return atIndex("other values at", index);
    }
    if (our.valid()) return atIndex("extra", our.index());
    return their.valid() ? atIndex("no", their.index()) : "";
}

/// Lists the members that only one side has, or that have other types.
std::vector<std::string> differencesOfMembers(const Data::Structure& ours,
                                              const Data::Structure& theirs) {
    const MembersByName members = membersByName(ours);
    const MembersByName others = membersByName(theirs);
    std::vector<std::string> differences;
    for (const Data::Member& other : theirs) {
        const auto found = members.find(other.name());
        if (found == members.end())
            differences.push_back("no member " + inQuotes(other.name()));
        else if (typeText(*found->second) != typeText(other))
            differences.push_back(fmt::format("member {} is {} instead of {}",
                                              inQuotes(other.name()), typeText(*found->second),
                                              typeText(other)));
    }
    for (const Data::Member& member : ours)
        if (others.count(member.name()) == 0)
            differences.push_back("extra member " + inQuotes(member.name()));
    return differences;
}

/// Compares the names of members, whatever their order.
bool namesAreEqual(const Data::Structure& ours, const Data::Structure& theirs) {
    const auto haveEqualNames = [](const auto& left, const auto& right) {
        return left.first == right.first;
    };
    const MembersByName members = membersByName(ours);
    const MembersByName others = membersByName(theirs);
    return std::equal(members.begin(), members.end(), others.begin(), others.end(), haveEqualNames);
}

}  // namespace

std::string differenceOf(const Data::Structure& ours, const Data::Structure& theirs) {
    std::vector<std::string> differences = differencesOfMembers(ours, theirs);
    const auto nameOf = [](const Data::Member& member) { return shownName(member.name()); };
    if (namesAreEqual(ours, theirs) && !ordersAreEqual(ours, theirs))
        differences.push_back(fmt::format("members in the order {} instead of {}",
                                          shortList(ours, nameOf), shortList(theirs, nameOf)));
    return shortList(differences, [](const std::string& difference) { return difference; });
}

std::string differenceOf(const Data::Stream& ours, const Data::Stream& theirs) {
    if (isAlike(ours, theirs)) return differenceOfElements(ours, theirs);
    const std::string name = ours.structure().name();
    const std::string other = theirs.structure().name();
    if (name != other)
        return fmt::format("structure {} instead of {}", inQuotes(name), inQuotes(other));
    // Namesakes with other members; the difference of the structures is reported elsewhere.
    if (ours.structure() != theirs.structure())
        return fmt::format("another structure {}", inQuotes(name));
    return fmt::format("index type {} instead of {}", inQuotes(ours.indexType()),
                       inQuotes(theirs.indexType()));
}

}  // namespace orbo::Quilmeta
