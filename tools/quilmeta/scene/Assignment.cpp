// MEMBER=VALUE and MEMBER[k]=VALUE.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Assignment.h"

#include "process/CommandError.h"
#include "values/ParseValue.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Structure.h>
#include <fmt/format.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

using Data::Member;

namespace {

/// The member and the value that one assignment names.
struct Target {
    const Member* member;
    unsigned int position;             ///< of the member in its structure
    std::optional<unsigned int> slot;  ///< the k of MEMBER[k]
    std::string_view name;             ///< as the user wrote it
    std::string_view text;
};

/// Returns a target without slot and text; no value when the structure has no such member.
std::optional<Target> findMember(const Data::Structure& structure, std::string_view name) {
    for (auto it = structure.begin(); it.valid(); ++it)
        if (name == it->name()) return Target{&*it, it.index(), {}, name, {}};
    return {};
}

/// A member may itself be named "a[0]", so this looks for the whole name first.
std::optional<Target> findTarget(const Data::Structure& structure, std::string_view name) {
    if (auto target = findMember(structure, name)) return target;
    const size_t bracket = name.rfind('[');
    if (bracket == name.npos || name.back() != ']') return {};
    unsigned int slot = 0;
    const std::string_view digits = name.substr(bracket + 1, name.size() - bracket - 2);
    if (parseValue(digits, slot) != Parsed::kGood) return {};
    auto target = findMember(structure, name.substr(0, bracket));
    if (!target) return {};
    if (slot >= target->member->length())
        throw CommandError(fmt::format("there is no {}: member {} has {}", inQuotes(name),
                                       inQuotes(target->name),
                                       counted(target->member->length(), "value")));
    target->slot = slot;
    target->name = name;
    return target;
}

/// Names may contain "=", so this takes the first "=" that has a known name in front of it.
Target parseTarget(const Data::Structure& structure, std::string_view assignment) {
    const size_t first = assignment.find('=');
    if (first == assignment.npos)
        throw CommandError(fmt::format("{} is not MEMBER=VALUE", inQuotes(assignment)));
    for (size_t at = first; at != assignment.npos; at = assignment.find('=', at + 1)) {
        std::optional<Target> target = findTarget(structure, assignment.substr(0, at));
        if (!target) continue;
        target->text = assignment.substr(at + 1);
        return *target;
    }
    throw CommandError(fmt::format("structure {} has no member {}{}", inQuotes(structure.name()),
                                   inQuotes(assignment.substr(0, first)),
                                   nameList("members", structure, [](const Member& member) {
                                       return shownName(member.name());
                                   })));
}

/// Splits a text at its blanks.
std::vector<std::string_view> words(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    std::vector<std::string_view> result;
    for (size_t at = text.find_first_not_of(kBlanks); at != text.npos;) {
        const size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
        result.push_back(text.substr(at, end - at));
        at = text.find_first_not_of(kBlanks, end);
    }
    return result;
}

/// The slot owns its string, which is freed only once there is memory for the new one.
void store(Text* slot, const Target& target) {
    char* copy = static_cast<char*>(std::malloc(target.text.size() + 1));
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, target.text.data(), target.text.size());
    copy[target.text.size()] = '\0';
    std::free(*slot);
    *slot = copy;
}

/// Stores one number or truth value.
template <typename Value>
void store(Value* slot, const Target& target, std::string_view word) {
    const Parsed parsed = parseValue(word, *slot);
    if (parsed == Parsed::kGood) return;
    const char* type = Member::typeName(target.member->type());
    throw CommandError(
        fmt::format("{}: {} is {} {}", inQuotes(target.name), inQuotes(word),
                    parsed == Parsed::kMalformed ? "no value of type" : "out of range for", type));
}

/// Blanks belong to a string, so one text cannot hold several strings.
void storeStrings(Text* parts, const Target& target) {
    if (!target.slot && target.member->length() > 1)
        throw CommandError(fmt::format("{} holds {} strings: set one at a time, as in {}",
                                       inQuotes(target.name), target.member->length(),
                                       inQuotes(std::string(target.name) + "[0]=TEXT")));
    store(parts + target.slot.value_or(0), target);
}

/// Stores all values of a member, or one value of the slot.
template <typename Value>
void storeValues(Value* parts, const Target& target) {
    const size_t perValue = partsPerValue(target.member->type());
    const size_t wanted = target.slot ? perValue : partsOf(*target.member);
    const std::vector<std::string_view> values = words(target.text);
    if (values.size() != wanted)
        throw CommandError(fmt::format("{} takes {}, but {} {} given", inQuotes(target.name),
                                       counted(wanted, "value"), values.size(),
                                       values.size() == 1 ? "was" : "were"));
    parts += target.slot.value_or(0) * perValue;
    for (size_t i = 0; i < wanted; ++i) store(parts + i, target, values[i]);
}

void assign(Data::Handle& element, const Target& target) {
    element.setPositionByMemberIndex(target.position);
    Data::visitMemberType(target.member->type(), [&](auto type) {
        using Part = typename decltype(type)::Scalar;
        Part* parts = static_cast<Part*>(element.asType(target.member->type()));
        if constexpr (std::is_same_v<Part, Text>)
            storeStrings(parts, target);
        else
            storeValues(parts, target);
    });
}

/// Remembers which values were given, because an assignment must not undo an earlier one.
class GivenValues {
  public:
    void add(const Target& target) {
        const auto first = fSlots.lower_bound({target.position, kWhole});
        const bool any = first != fSlots.end() && first->first == target.position;
        const long long slot = target.slot ? static_cast<long long>(*target.slot) : kWhole;
        const bool twice = any && (slot == kWhole || first->second == kWhole);
        if (twice || !fSlots.emplace(target.position, slot).second)
            throw CommandError(fmt::format("{} is given twice", inQuotes(target.name)));
    }

  private:
    static constexpr long long kWhole = -1;  // a whole member; sorts in front of all its slots
    std::set<std::pair<unsigned int, long long>> fSlots;
};

}  // namespace

void assign(const Data::Structure& structure, Data::Handle& element,
            const std::vector<std::string>& assignments) {
    GivenValues given;
    for (const std::string& assignment : assignments) {
        const Target target = parseTarget(structure, assignment);
        given.add(target);
        assign(element, target);
    }
}

}  // namespace orbo::Quilmeta
