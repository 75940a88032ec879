// The members that an expression names, as one structure has them.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Members.h"

#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <map>
#include <string_view>

namespace orbo::Quilmeta {

FoundMembers findMembers(const Syntax& syntax, const Data::Structure& structure) {
    std::map<std::string_view, size_t> places;
    for (const std::string& name : syntax.names) places.emplace(name, places.size());
    FoundMembers found(syntax.names.size());
    for (const Data::Member& member : structure) {
        const auto place = places.find(member.name());
        if (place == places.end()) continue;
        found[place->second] = {member.type(), static_cast<size_t>(member.offset()),
                                partsOf(member), typeText(member)};
    }
    return found;
}

std::string problemWith(const Node& member, const std::string& name, const FoundMember& found) {
    const bool isWhole = !member.part && found.parts > 1;
    if (isWhole && member.use != Node::Use::kList)
        return fmt::format(
            "member {} ({}) has {}: write {}[0] for the first, or compare it with "
            "a list",
            inQuotes(name), found.typeText, counted(found.parts, "value"), shownName(name));
    if (member.use == Node::Use::kCondition && found.has(member.part) &&
        found.type != Data::Member::kBoolean)
        return fmt::format("member {} ({}) is no condition: compare it with something",
                           inQuotes(name), found.typeText);
    return {};
}

}  // namespace orbo::Quilmeta
