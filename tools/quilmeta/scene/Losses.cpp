// Tells what is lost when metadata gives way to other metadata of the same name.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Losses.h"

#include "scene/ElementCompare.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Stream.h>
#include <fmt/format.h>

namespace orbo::Quilmeta {

namespace {

/// Returns "2 elements: index a, b"; empty without indices.
std::string listOf(const char* what, const std::vector<std::string>& indices) {
    if (indices.empty()) return {};
    return fmt::format("{}{}: index {}", what, counted(indices.size(), "element"),
                       shortList(indices, [](const auto& index) { return shownName(index); }));
}

}  // namespace

std::vector<std::string> lossesOf(const Data::Structure& ours, const Data::Structure& theirs) {
    const MembersByName others = membersByName(theirs);
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

std::vector<std::string> lossesOf(const Data::Stream& ours, const Data::Stream& theirs) {
    // Elements of another structure or index type cannot be compared, so all of them go.
    if (!isAlike(ours, theirs))
        return {fmt::format(" with {} of {}, {} index", counted(ours.elementCount(), "element"),
                            shownName(ours.structure().name()), shownName(ours.indexType()))};
    std::vector<std::string> gone;
    std::vector<std::string> overwritten;
    // Both streams hand their elements out in the order of their indices, so one walk is enough.
    Data::StreamIterator their = theirs.cbegin();
    for (Data::StreamIterator our = ours.cbegin(); our.valid(); ++our) {
        const Data::Index index = our.index();
        while (their.valid() && their.index() < index) ++their;
        if (!their.valid() || index < their.index())
            gone.push_back(index.asString());
        else if (!isSame(*our, *their, ours.structure()))
            overwritten.push_back(index.asString());
    }
    std::vector<std::string> lines;
    for (const std::string& list : {listOf("", gone), listOf("the values of ", overwritten)})
        if (!list.empty()) lines.push_back(", " + list);
    return lines;
}

}  // namespace orbo::Quilmeta
