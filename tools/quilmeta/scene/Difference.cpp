// Where two structures, or the metadata of two nodes, differ.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Difference.h"

#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Channel.h>
#include <data/Stream.h>
#include <fmt/format.h>

#include <cstring>
#include <map>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using MembersByName = std::map<std::string_view, const Data::Member*>;

MembersByName byName(const Data::Structure& structure) {
    MembersByName members;
    for (const Data::Member& member : structure) members.emplace(member.name(), &member);
    return members;
}

/// Of structures that have members of the same names.
bool ordersAreEqual(const Data::Structure& ours, const Data::Structure& theirs) {
    Data::StructureIterator other = theirs.begin();
    for (const Data::Member& member : ours) {
        if (std::strcmp(member.name(), other->name()) != 0) return false;
        ++other;
    }
    return true;
}

bool isSame(const Text& ours, const Text& theirs) {
    return std::strcmp(ours ? ours : "", theirs ? theirs : "") == 0;
}

/// Bit by bit: zeros differ in their sign, and what is no number never equals itself.
template <typename Part>
bool isSame(const Part& ours, const Part& theirs) {
    const void* const ourBytes = &ours;
    const void* const theirBytes = &theirs;
    return std::memcmp(ourBytes, theirBytes, sizeof ours) == 0;
}

/// Of elements with the same structure.
bool isSame(Data::Handle& ours, Data::Handle& theirs, const Data::Structure& structure) {
    if (!ours.hasData() || !theirs.hasData()) return ours.hasData() == theirs.hasData();
    for (Data::StructureIterator member = structure.begin(); member.valid(); ++member) {
        ours.setPositionByMemberIndex(member.index());
        theirs.setPositionByMemberIndex(member.index());
        bool same = true;
        withParts(ours, *member, [&](auto* parts) {
            auto* others = static_cast<decltype(parts)>(theirs.asType(member->type()));
            for (size_t i = 0; same && i < partsOf(*member); ++i)
                same = isSame(parts[i], others[i]);
        });
        if (!same) return false;
    }
    return true;
}

std::string atIndex(const char* what, const Data::Index& index) {
    return fmt::format("{} index {}", what, shownName(index.asString()));
}

/// Both streams hand their elements out by index.
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
    if (ours.structure() != theirs.structure()) {
        if (std::strcmp(ours.structure().name(), theirs.structure().name()) == 0)
            return fmt::format("another structure {}", inQuotes(ours.structure().name()));
        return fmt::format("structure {} instead of {}", inQuotes(ours.structure().name()),
                           inQuotes(theirs.structure().name()));
    }
    if (ours.indexType() != theirs.indexType())
        return fmt::format("index type {} instead of {}", inQuotes(ours.indexType()),
                           inQuotes(theirs.indexType()));
    return differenceOfElements(ours, theirs);
}

bool isAlike(const Data::Stream& ours, const Data::Stream& theirs) {
    return ours.structure() == theirs.structure() && ours.indexType() == theirs.indexType();
}

/// "2 elements: index a, b"; empty without any.
std::string listOf(const char* what, const std::vector<std::string>& indices) {
    if (indices.empty()) return {};
    return fmt::format("{}{}: index {}", what, counted(indices.size(), "element"),
                       shortList(indices, [](const auto& index) { return shownName(index); }));
}

/// Of streams that are alike.
void addLosses(const std::string& place, const Data::Stream& ours, const Data::Stream& theirs,
               std::vector<std::string>& lines) {
    std::vector<std::string> gone;
    std::vector<std::string> overwritten;
    Data::StreamIterator their = theirs.cbegin();
    for (Data::StreamIterator our = ours.cbegin(); our.valid(); ++our) {
        const Data::Index index = our.index();
        while (their.valid() && their.index() < index) ++their;
        if (!their.valid() || index < their.index())
            gone.push_back(index.asString());
        else if (!isSame(*our, *their, ours.structure()))
            overwritten.push_back(index.asString());
    }
    for (const std::string& list : {listOf("", gone), listOf("the values of ", overwritten)})
        if (!list.empty()) lines.push_back(fmt::format("{}, {}", place, list));
}

const Data::Stream* find(const Data::Channel& channel, const Data::Stream& namesake) {
    return channel.findDataStream(namesake.name());
}

const Data::Channel* find(const Data::Associations& associations, const Data::Channel& namesake) {
    const Data::Channel* channel = associations.findChannel(namesake.name());
    return channel && !channel->empty() ? channel : nullptr;
}

bool counts(const Data::Stream&) { return true; }
bool counts(const Data::Channel& channel) { return !channel.empty(); }

std::string differenceOf(const Data::Channel& ours, const Data::Channel& theirs);

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

}  // namespace

std::string differenceOf(const Data::Structure& ours, const Data::Structure& theirs) {
    const MembersByName members = byName(ours);
    const MembersByName others = byName(theirs);
    std::vector<std::string> differences;
    bool sameNames = members.size() == others.size();
    for (const Data::Member& other : theirs) {
        const auto found = members.find(other.name());
        sameNames = sameNames && found != members.end();
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
    const auto nameOf = [](const Data::Member& member) { return shownName(member.name()); };
    if (sameNames && !ordersAreEqual(ours, theirs))
        differences.push_back(fmt::format("members in the order {} instead of {}",
                                          shortList(ours, nameOf), shortList(theirs, nameOf)));
    return shortList(differences, [](const std::string& difference) { return difference; });
}

std::string differenceOf(const Data::Associations& ours, const Data::Associations& theirs) {
    return differenceOfContent(ours, theirs, "channel");
}

std::vector<std::string> lossesOf(const Data::Structure& ours, const Data::Structure& theirs) {
    const MembersByName others = byName(theirs);
    std::vector<std::string> lines;
    for (const Data::Member& member : ours) {
        const auto other = others.find(member.name());
        if (other == others.end())
            lines.push_back("member " + inQuotes(member.name()));
        else if (typeText(member) != typeText(*other->second))
            lines.push_back(
                fmt::format("type {} of member {}", typeText(member), inQuotes(member.name())));
    }
    return lines;
}

std::vector<std::string> lossesOf(const Data::Associations& ours,
                                  const Data::Associations& theirs) {
    std::vector<std::string> lines;
    for (const Data::Channel& channel : ours) {
        const Data::Channel* other = find(theirs, channel);
        for (const Data::Stream& stream : channel) {
            const std::string place = fmt::format("channel {}, stream {}", inQuotes(channel.name()),
                                                  inQuotes(stream.name()));
            const Data::Stream* namesake = other ? find(*other, stream) : nullptr;
            if (namesake && isAlike(stream, *namesake))
                addLosses(place, stream, *namesake, lines);
            else
                lines.push_back(fmt::format(
                    "{} with {} of {}, {} index", place, counted(stream.elementCount(), "element"),
                    shownName(stream.structure().name()), shownName(stream.indexType())));
        }
    }
    return lines;
}

}  // namespace orbo::Quilmeta
