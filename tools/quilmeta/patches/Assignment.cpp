// MEMBER=VALUE and its relatives.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Assignment.h"

#include "json/JsonProblems.h"
#include "json/JsonReader.h"
#include "json/JsonValues.h"
#include "process/CommandError.h"
#include "values/ParseValue.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <debug/RefPtr.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <utility>

namespace orbo::Quilmeta {

using Data::Member;

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

/// Splits a text at its blanks and commas. Two commas with nothing between have an empty word
/// there, and so has a comma at the end.
std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> result;
    bool isOpen = false;  // after a comma
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
        if (text.empty() && !isOpen) return result;
        const size_t end = std::min(text.find_first_of(" \t\n\v\f\r,"), text.size());
        result.push_back(text.substr(0, end));
        text.remove_prefix(end);
        text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
        isOpen = !text.empty() && text.front() == ',';
        if (isOpen) text.remove_prefix(1);
    }
}

[[noreturn]] void complainOf(Parsed parsed, std::string_view name, std::string_view word,
                             const Member& member) {
    throw CommandError(
        fmt::format("{}: {} is {} {}", inQuotes(name), inQuotes(word),
                    parsed == Parsed::kMalformed ? "no value of type" : "out of range for",
                    Member::typeName(member.type())));
}

/// A whole JSON document that may be taken apart; throws when it is none.
void demandJson(std::string_view name, std::string_view text) {
    struct Everything : JsonVisitor {
        Take take(const JsonPath&, bool) override { return Take::kWhole; }
        void value(JsonPath&, JsonCursor) override {}
        void end(const JsonPath&, size_t) override {}
    } everything;
    JsonSource source(text);
    JsonProblems problems;
    if (!readJson(source, everything, problems) || !problems.empty())
        throw CommandError(fmt::format("{}: {} is no JSON", inQuotes(name), inQuotes(text)));
}

/// The problems of a short value, without its only line and the "$" of the whole: "[1]: "x" is no
/// number".
std::string inOneValue(const JsonProblems& problems) {
    std::string text;
    for (std::string_view message : problems.messages()) {
        message.remove_prefix(message.substr(0, 3) == "$: " ? 3 : 1);
        text += (text.empty() ? "" : "; ") + std::string(message);
    }
    return text;
}

/// False when the result is beyond the type's range; a whole operand may be.
template <typename Value, typename Operand>
bool combine(char operation, Value& value, Operand operand) {
    if constexpr (std::is_floating_point_v<Value>) {
        const Value result = operation == '+'   ? value + operand
                             : operation == '-' ? value - operand
                                                : value * operand;
        if (std::isinf(result) && !std::isinf(value)) return false;
        value = result;
        return true;
    } else {
        return operation == '+'   ? !__builtin_add_overflow(value, operand, &value)
               : operation == '-' ? !__builtin_sub_overflow(value, operand, &value)
                                  : !__builtin_mul_overflow(value, operand, &value);
    }
}

/// Parses an operand for a value and calls `use` with it. To a whole number any other may be
/// added, such as 200 to an int8 that is -100: only the result has to fit.
template <typename Value, typename Use>
Parsed withOperand(std::string_view word, const Use& use) {
    const auto parse = [&](auto operand) {
        const Parsed parsed = parseValue(word, operand);
        if (parsed == Parsed::kGood) use(operand);
        return parsed;
    };
    if constexpr (std::is_floating_point_v<Value>)
        return parse(Value{});
    else
        return word.substr(0, 1) == "-" ? parse(std::int64_t{}) : parse(std::uint64_t{});
}

}  // namespace

/// Remembers which values were given, because an assignment must not undo an earlier one.
class Assignments::GivenValues {
  public:
    void add(const Target& target) {
        const auto first = fSlots.lower_bound({target.position, kWhole});
        const bool any = first != fSlots.end() && first->first == target.position;
        const long long slot = target.part ? static_cast<long long>(*target.part) : kWhole;
        const bool twice = any && (slot == kWhole || first->second == kWhole);
        if (twice || !fSlots.emplace(target.position, slot).second)
            throw CommandError(fmt::format("{} is given twice", inQuotes(target.name)));
    }

  private:
    static constexpr long long kWhole = -1;  // a whole member; sorts in front of all its slots
    std::set<std::pair<unsigned int, long long>> fSlots;
};

Assignments::Assignments(const Data::Structure& structure, const std::vector<std::string>& texts) {
    GivenValues given;
    for (const std::string& text : texts) {
        fTargets.push_back(parseTarget(structure, text));
        given.add(fTargets.back());
    }
}

void Assignments::apply(Data::Handle& element) const {
    for (const Target& target : fTargets) assign(element, target);
}

/// The target when the "=" at this place is the one that assigns. A name may end with "+", so all
/// that is ahead of the "=" is tried as a name first.
std::optional<Assignments::Target> Assignments::findTarget(const Data::Structure& structure,
                                                           std::string_view assignment,
                                                           size_t equals) {
    constexpr std::pair<char, Operation> kOperations[] = {{':', Operation::kJson},
                                                          {'+', Operation::kAdd},
                                                          {'-', Operation::kSubtract},
                                                          {'*', Operation::kMultiply}};
    std::optional<Target> target;
    if (const auto named = findMember(structure, assignment.substr(0, equals)))
        target.emplace(Target{*named});
    for (const auto& [sign, operation] : kOperations) {
        if (target || equals == 0 || assignment[equals - 1] != sign) continue;
        if (const auto named = findMember(structure, assignment.substr(0, equals - 1)))
            target.emplace(Target{*named});
        if (target) target->operation = operation;
    }
    if (target) target->text = assignment.substr(equals + 1);
    return target;
}

/// Names may contain "=", so this takes the first "=" that has a known name in front of it.
Assignments::Target Assignments::parseTarget(const Data::Structure& structure,
                                             std::string_view assignment) {
    const size_t first = assignment.find('=');
    if (first == assignment.npos)
        throw CommandError(fmt::format("{} is not MEMBER=VALUE", inQuotes(assignment)));
    for (size_t at = first; at != assignment.npos; at = assignment.find('=', at + 1))
        if (const auto target = findTarget(structure, assignment, at)) return *target;
    std::string_view name = assignment.substr(0, first);
    if (!name.empty() && std::string_view(":+-*").find(name.back()) != name.npos)
        name.remove_suffix(1);
    if (name.empty()) throw CommandError(fmt::format("{} names no member", inQuotes(assignment)));
    throw NoSuchMember(structure, name);
}

// Blanks belong to a string, so one text cannot hold several strings. The slot owns its string,
// which is freed only once there is memory for the new one.
void Assignments::assignText(const Target& target, char** slot) {
    if (!target.part && target.member->length() > 1)
        throw CommandError(fmt::format("{} holds {} strings: set one at a time, as in {}",
                                       inQuotes(target.name), target.member->length(),
                                       inQuotes(std::string(target.name) + "[0]=TEXT")));
    char* copy = static_cast<char*>(std::malloc(target.text.size() + 1));
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, target.text.data(), target.text.size());
    copy[target.text.size()] = '\0';
    std::free(*slot);
    *slot = copy;
}

/// Stores all values of a member, or one value of the slot.
template <typename Value>
void Assignments::assignText(const Target& target, Value* slots) {
    const size_t wanted = countOf(target);
    const std::vector<std::string_view> values = words(target.text);
    if (values.size() != wanted)
        throw CommandError(fmt::format("{} takes {}, but {} {} given", inQuotes(target.name),
                                       counted(wanted, "value"), values.size(),
                                       values.size() == 1 ? "was" : "were"));
    for (size_t i = 0; i < wanted; ++i) {
        const Parsed parsed = parseValue(values[i], slots[i]);
        if (parsed != Parsed::kGood) complainOf(parsed, target.name, values[i], *target.member);
    }
}

template <typename Value>
void Assignments::calculate(const Target& target, Value* slots) {
    const char sign = target.operation == Operation::kAdd        ? '+'
                      : target.operation == Operation::kSubtract ? '-'
                                                                 : '*';
    const size_t count = countOf(target);
    const std::vector<std::string_view> operands = words(target.text);
    if (operands.empty())
        throw CommandError(
            fmt::format("{}: a value is missing behind {}=", inQuotes(target.name), sign));
    if (operands.size() != 1 && operands.size() != count)
        throw CommandError(fmt::format("{} takes {}, but {} were given", inQuotes(target.name),
                                       count == 1 ? "1 value" : fmt::format("1 value or {}", count),
                                       operands.size()));
    for (size_t i = 0; i < count; ++i) {
        const std::string_view word = operands[operands.size() == 1 ? 0 : i];
        bool fits = true;
        const Parsed parsed = withOperand<Value>(
            word, [&](auto operand) { fits = combine(sign, slots[i], operand); });
        if (parsed != Parsed::kGood) complainOf(parsed, target.name, word, *target.member);
        if (!fits)
            throw CommandError(fmt::format("{}: the result of {}={} is out of range for {}",
                                           inQuotes(target.name), sign, word,
                                           Member::typeName(target.member->type())));
    }
}

void Assignments::assignJson(const Target& target, void* slots) {
    demandJson(target.name, target.text);
    JsonPath path;
    JsonProblems problems;
    JsonCursor cursor(target.text);
    ValueFromJson from(path, problems);
    if (!target.part) {
        from.member(cursor, *target.member, slots);
    } else {
        const RefPtr<Data::Structure> single(Data::Structure::create());
        if (!single->addMember(partType(target.member->type()), 1, target.member->name()))
            throw std::bad_alloc();
        from.member(cursor, *single->begin(), slots);
    }
    if (!problems.empty())
        throw CommandError(fmt::format("{}: {}", inQuotes(target.name), inOneValue(problems)));
}

/// How many numbers, booleans or strings it names.
size_t Assignments::countOf(const Target& target) {
    return target.part ? 1 : partsOf(*target.member);
}

void Assignments::assign(Data::Handle& element, const Target& target) {
    element.setPositionByMemberIndex(target.position);
    Data::visitMemberType(target.member->type(), [&](auto type) {
        using Part = typename decltype(type)::Scalar;
        Part* slots =
            static_cast<Part*>(element.asType(target.member->type())) + target.part.value_or(0);
        if (target.operation == Operation::kJson) return assignJson(target, slots);
        if (target.operation == Operation::kText) return assignText(target, slots);
        if constexpr (std::is_arithmetic_v<Part> && !std::is_same_v<Part, bool>)
            calculate(target, slots);
        else
            throw CommandError(
                fmt::format("{} is no number: it takes = or :=", inQuotes(target.name)));
    });
}

}  // namespace orbo::Quilmeta
