// Members, and single values of them, by the names that a user gives.
// SPDX-License-Identifier: Apache-2.0
#include "scene/MemberName.h"

#include "values/ClosestName.h"
#include "values/ParseValue.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Structure.h>
#include <fmt/format.h>

namespace orbo::Quilmeta {

namespace {

std::optional<NamedMember> findWhole(const Data::Structure& structure, std::string_view name) {
    for (auto it = structure.begin(); it.valid(); ++it)
        if (name == it->name()) return NamedMember{&*it, it.index(), {}, name};
    return {};
}

std::string textOf(const Data::Structure& structure, std::string_view missing) {
    ClosestName closest(missing);
    for (const Data::Member& member : structure) closest.offer(member.name());
    return fmt::format("structure {} has no member {}{}{}", inQuotes(structure.name()),
                       inQuotes(missing), closest.question(),
                       nameList("members", structure, [](const Data::Member& member) {
                           return shownName(member.name());
                       }));
}

}  // namespace

std::optional<NamedMember> findMember(const Data::Structure& structure, std::string_view name) {
    if (auto found = findWhole(structure, name)) return found;
    const size_t bracket = name.rfind('[');
    if (bracket == name.npos || name.back() != ']') return {};
    unsigned int part = 0;
    const std::string_view digits = name.substr(bracket + 1, name.size() - bracket - 2);
    if (parseValue(digits, part) != Parsed::kGood) return {};
    auto found = findWhole(structure, name.substr(0, bracket));
    if (!found) return {};
    const size_t parts = partsOf(*found->member);
    if (part >= parts)
        throw CommandError(fmt::format("there is no {}: member {} has {}", inQuotes(name),
                                       inQuotes(found->name), counted(parts, "value")));
    found->part = part;
    found->name = name;
    return found;
}

NoSuchMember::NoSuchMember(const Data::Structure& structure, std::string_view name)
    : CommandError(textOf(structure, name)), fName(name) {}

}  // namespace orbo::Quilmeta
