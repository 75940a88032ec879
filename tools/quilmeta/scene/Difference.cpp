// Where two structures, or the metadata of two nodes, differ.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Difference.h"

#include "scene/ElementCompare.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Channel.h>
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

/// Finds the part of `container` with the name of `namesake`; null without one that counts.
const Data::Stream* find(const Data::Channel& container, const Data::Stream& namesake) {
    return container.findDataStream(namesake.name());
}
const Data::Channel* find(const Data::Associations& container, const Data::Channel& namesake) {
    const Data::Channel* channel = container.findChannel(namesake.name());
    return channel && !channel->empty() ? channel : nullptr;
}

/// A scene file has no channels without streams.
bool counts(const Data::Stream&) { return true; }
bool counts(const Data::Channel& channel) { return !channel.empty(); }

std::string differenceOf(const Data::Channel& ours, const Data::Channel& theirs);

/// Compares the channels of associations, or the streams of channels; `kind` says which.
template <typename Container>
std::string differenceOfContent(const Container& ours, const Container& theirs, const char* kind) {
    for (const auto& item : theirs) {
        if (!counts(item)) continue;
        const auto* other = find(ours, item);
        if (!other) return fmt::format("no {} {}", kind, inQuotes(item.name()));
        const std::string difference = differenceOf(*other, item);
        if (!difference.empty())
            return fmt::format("{} {}: {}", kind, inQuotes(item.name()), difference);
    }
    for (const auto& item : ours)
        if (counts(item) && !find(theirs, item))
            return fmt::format("extra {} {}", kind, inQuotes(item.name()));
    return {};
}

std::string differenceOf(const Data::Channel& ours, const Data::Channel& theirs) {
    return differenceOfContent(ours, theirs, "stream");
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

std::string differenceOf(const Data::Associations& ours, const Data::Associations& theirs) {
    return differenceOfContent(ours, theirs, "channel");
}

}  // namespace orbo::Quilmeta
