// Turns JSON values into values of metadata.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonValues.h"

#include "values/CarriedText.h"
#include "values/ClosestName.h"
#include "values/ParseValue.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>
#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

namespace orbo::Quilmeta {

using Kind = JsonCursor::Kind;

namespace {

/// Returns no value for what is not base64 with its "=" at the end.
std::optional<std::string> fromBase64(std::string_view digits) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    if (digits.size() % 4 != 0) return {};
    size_t padding = 0;
    for (; padding < 2 && !digits.empty() && digits.back() == '='; ++padding)
        digits.remove_suffix(1);
    std::string bytes;
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const char digit : digits) {
        const size_t value = kDigits.find(digit);
        if (value == kDigits.npos) return {};
        bits = (bits << 6 | static_cast<std::uint32_t>(value)) & 0xFFFFFFU;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFFU);
    }
    return bytes;
}

/// Reads a NaN that a patch names by its bits: "NaN:0x7fc00001".
template <typename Real>
bool parseNanBits(std::string_view text, Real& value) {
    constexpr std::string_view kStart = "NaN:0x";
    using Bits = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;
    if (text.substr(0, kStart.size()) != kStart) return false;
    text.remove_prefix(kStart.size());
    Bits bits = 0;
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, bits, 16);
    Real number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (error != std::errc() || last != end || !std::isnan(number)) return false;
    value = number;
    return true;
}

template <typename Real>
bool parseWord(std::string_view text, Real& value) {
    using Limits = std::numeric_limits<Real>;
    if (text == "NaN") return value = Limits::quiet_NaN(), true;
    if (text == "Infinity") return value = Limits::infinity(), true;
    if (text == "-Infinity") return value = -Limits::infinity(), true;
    return parseNanBits(text, value);
}

/// Numbers in strings: those that JSON has no digits for, and 64-bit integers for readers that
/// would round them.
template <typename Part>
Parsed parseString(const std::string& text, Part& value) {
    if constexpr (std::is_floating_point_v<Part>)
        return parseWord(text, value) ? Parsed::kGood : Parsed::kMalformed;
    else
        return sizeof(Part) == 8 ? parseValue(text, value) : Parsed::kMalformed;
}

char* ownedText(const std::string& text) {
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

template <typename Part>
constexpr const char* kTypeWord = std::is_floating_point_v<Part> ? "number" : "whole number";

}  // namespace

bool ValueFromJson::expect(JsonCursor& cursor, Kind kind, const char* what) {
    if (cursor.kind() == kind) return true;
    problem(cursor, fmt::format("is not {}", what));
    cursor.skip();
    return false;
}

std::optional<std::string> ValueFromJson::text(JsonCursor& cursor) {
    if (cursor.kind() == Kind::kString) return cursor.string();
    if (cursor.kind() != Kind::kObject) {
        expect(cursor, Kind::kString, "a string");
        return {};
    }
    std::optional<std::string> bytes;
    JsonCursor here = cursor;
    bool good = object(cursor, [&](const std::string& key) {
        if (key != "base64") return false;
        if (cursor.kind() == Kind::kString)
            bytes = fromBase64(cursor.string());
        else
            cursor.skip();
        return true;
    });
    if (good && !bytes) problem(here, "is not base64");
    return good ? bytes : std::nullopt;
}

std::optional<std::string> ValueFromJson::name(JsonCursor& cursor) {
    JsonCursor here = cursor;
    std::optional<std::string> name = text(cursor);
    if (!name || name->find('\0') == name->npos) return name;
    problem(here, "has a byte 0, which no string can hold");
    return {};
}

std::optional<unsigned int> ValueFromJson::number(JsonCursor& cursor) {
    unsigned int value = 0;
    return part(cursor, value) ? std::optional(value) : std::nullopt;
}

std::optional<Data::Index> ValueFromJson::index(JsonCursor& cursor, const std::string& indexType) {
    if (indexType == Data::Index::theTypeName()) {
        const auto found = number(cursor);
        return found ? std::optional<Data::Index>(*found) : std::nullopt;
    }
    if (indexType == Data::IndexPair::myTypeName) {
        unsigned int pair[2] = {};
        if (!parts(cursor, pair, 2)) return {};
        return Data::Index(Data::IndexPair(pair[0], pair[1]));
    }
    JsonCursor here = cursor;
    const std::optional<std::string> found = text(cursor);
    if (!found) return {};
    if (indexType == Data::IndexString::myTypeName) return Data::Index(Data::IndexString(*found));
    try {
        return Data::Index::doCreate(indexType, *found);
    } catch (Data::Index::eCreationErrors error) {
        if (error == Data::Index::eCreatorNotFound)
            return Data::Index(Data::IndexText(indexType, *found));
        problem(here, "is no index of type " + inQuotes(indexType));
        return {};
    }
}

/// The name of a structure or member.
std::optional<std::string> ValueFromJson::fieldName(JsonCursor& cursor) {
    JsonCursor here = cursor;
    std::optional<std::string> found = name(cursor);
    if (found) doubt(here, problemOfFieldName(*found));
    return found;
}

/// Reads { "name": ..., "type": ..., "length": ... }.
bool ValueFromJson::memberInto(JsonCursor& cursor, Data::Structure& structure) {
    JsonCursor here = cursor;
    std::optional<std::string> type, title;
    std::optional<unsigned int> length;
    const bool known = object(cursor, [&](const std::string& key) {
        if (key == "name") return title = fieldName(cursor), true;
        if (key == "type") return type = name(cursor), true;
        if (key == "length") return length = number(cursor), true;
        return false;
    });
    if (!known) return false;
    if (!title || !type || !length)
        return problem(here, "needs a name, a type and a length"), false;
    const auto dataType = Data::Member::typeFromName(type->c_str());
    if (dataType == Data::Member::kInvalid)
        return problem(here, "has the unknown type " + inQuotes(*type)), false;
    if (structure.addMember(dataType, *length, title->c_str())) return true;
    return problem(here, "is no member: its name is empty or taken, or its length is 0"), false;
}

RefPtr<const Data::Structure> ValueFromJson::structure(JsonCursor& cursor) {
    JsonCursor here = cursor;
    const RefPtr<Data::Structure> structure(Data::Structure::create());
    std::optional<std::string> title;
    bool members = false;
    bool good = true;
    const bool known = object(cursor, [&](const std::string& key) {
        if (key == "name") return title = fieldName(cursor), true;
        if (key != "members") return false;
        members = list(cursor, [&](size_t) { good = memberInto(cursor, *structure) && good; });
        return true;
    });
    if (!known || !good) return {};
    if (!title || !members) {
        problem(here, "needs a name and members");
        return {};
    }
    if (structure->empty()) doubt(here, "has no members, which scenes cannot hold");
    structure->setName(title->c_str());
    return RefPtr<const Data::Structure>(structure.get());
}

template <typename Part>
bool ValueFromJson::part(JsonCursor& cursor, Part& slot) {
    Parsed parsed = Parsed::kMalformed;
    JsonCursor here = cursor;
    if (cursor.kind() == Kind::kNumber)
        parsed = parseValue(cursor.number(), slot);
    else if (cursor.kind() == Kind::kString)
        parsed = parseString(cursor.string(), slot);
    else
        cursor.skip();
    if constexpr (std::is_floating_point_v<Part>)
        if (parsed == Parsed::kGood && !std::isfinite(slot))
            doubt(here, "is not a finite number, which scenes cannot hold");
    if (parsed == Parsed::kGood) return true;
    const std::string_view shown = JsonCursor(here).skip();
    constexpr size_t kLongest = 40;
    const std::string text(shown.substr(0, kLongest));
    problem(here, parsed == Parsed::kOutOfRange
                      ? fmt::format("{} is out of range", text)
                      : fmt::format("{} is no {}", text, kTypeWord<Part>));
    return false;
}

bool ValueFromJson::part(JsonCursor& cursor, bool& slot) {
    if (!expect(cursor, Kind::kTruth, "true or false")) return false;
    slot = cursor.truth();
    return true;
}

bool ValueFromJson::part(JsonCursor& cursor, char*& slot) {
    char* fresh = nullptr;
    if (cursor.kind() == Kind::kNull) {
        cursor.skip();
    } else {
        const std::optional<std::string> found = name(cursor);
        if (!found) return false;
        fresh = ownedText(*found);
    }
    std::free(slot);
    slot = fresh;
    return true;
}

template <typename Part>
bool ValueFromJson::parts(JsonCursor& cursor, Part* slots, size_t count) {
    JsonCursor here = cursor;
    size_t found = 0;
    bool good = true;
    const bool isList = list(cursor, [&](size_t at) {
        ++found;
        if (at < count)
            good = part(cursor, slots[at]) && good;
        else
            cursor.skip();
    });
    if (!isList || found == count) return isList && good;
    problem(here, fmt::format("has {} instead of {}", counted(found, "value"), count));
    return false;
}

template <typename Part>
bool ValueFromJson::all(JsonCursor& cursor, Part* slots, size_t values, size_t perValue) {
    if (perValue == 1) return values == 1 ? part(cursor, *slots) : parts(cursor, slots, values);
    if (values == 1) return parts(cursor, slots, perValue);
    JsonCursor here = cursor;
    size_t found = 0;
    bool good = true;
    const bool isList = list(cursor, [&](size_t at) {
        ++found;
        if (at < values)
            good = parts(cursor, slots + at * perValue, perValue) && good;
        else
            cursor.skip();
    });
    if (!isList || found == values) return isList && good;
    problem(here, fmt::format("has {} instead of {}", counted(found, "value"), values));
    return false;
}

bool ValueFromJson::member(JsonCursor& cursor, const Data::Member& member, void* slot) {
    return Data::visitMemberType(member.type(), [&](auto type) {
        using Part = typename decltype(type)::Scalar;
        return all(cursor, static_cast<Part*>(slot), member.length(), type.kScalars);
    });
}

namespace {

/// The members that an element has got so far. Documents have them in order, so the next one is
/// looked at first.
class MembersToFill {
  public:
    explicit MembersToFill(const Data::Structure& structure) {
        for (const Data::Member& member : structure) fMembers.push_back(&member);
        fFilled.resize(fMembers.size());
    }
    /// Null when there is no such member.
    const Data::Member* take(std::string_view name, unsigned int& position) {
        for (size_t tried = 0; tried < fMembers.size(); ++tried) {
            const size_t at = fNext;
            fNext = (fNext + 1) % fMembers.size();
            if (fMembers[at]->name() != name) continue;
            position = static_cast<unsigned int>(at);
            fFilled[at] = true;
            return fMembers[at];
        }
        return nullptr;
    }
    /// The first without values; null when all have them.
    [[nodiscard]] const Data::Member* missing() const {
        for (size_t i = 0; i < fMembers.size(); ++i)
            if (!fFilled[i]) return fMembers[i];
        return nullptr;
    }

  private:
    std::vector<const Data::Member*> fMembers;
    std::vector<bool> fFilled;
    size_t fNext = 0;
};

}  // namespace

bool ValueFromJson::values(JsonCursor& cursor, const Data::Structure& structure,
                           Data::Handle& element) {
    JsonCursor here = cursor;
    MembersToFill toFill(structure);
    bool good = true;
    bool known = true;
    const auto fill = [&](std::string_view name) {
        unsigned int position = 0;
        const Data::Member* found = toFill.take(name, position);
        if (!found) {
            ClosestName closest(name);
            for (const Data::Member& member : structure) closest.offer(member.name());
            problem(cursor, "is unknown" + closest.question());
            cursor.skip();
            known = false;
            return true;
        }
        element.setPositionByMemberIndex(position);
        good = member(cursor, *found, element.asType(found->type())) && good;
        return true;
    };
    if (cursor.kind() == Kind::kList) {
        Data::StructureIterator next = structure.begin();
        list(cursor, [&](size_t) {
            if (next.valid() && fill(next->name())) return void(++next);
            problem(cursor, "is one value too many");
            cursor.skip();
            good = false;
        });
    } else if (!object(cursor, fill) || !known) {
        return false;
    }
    if (const Data::Member* missing = toFill.missing())
        return problem(here, "has no value for member " + inQuotes(missing->name())), false;
    return good;
}

void addElement(ValueFromJson& from, JsonCursor& cursor, Data::Stream& stream) {
    JsonCursor here = cursor;
    std::optional<JsonCursor> index, values;
    const bool known = from.object(cursor, [&](const std::string& key) {
        if (key != "index" && key != "values") return false;
        (key == "index" ? index : values).emplace(cursor);
        cursor.skip();
        return true;
    });
    if (!known) return;
    if (!index || !values) return from.problem(here, "needs an index and values");
    std::optional<Data::Index> found;
    {
        const JsonStep step(from.path(), "index");
        JsonCursor at = *index;
        found = from.index(at, stream.indexType());
        if (found && found->complexIndex()) from.doubt(*index, problemOfIndex(found->asString()));
        if (found && stream.hasElement(*found)) {
            from.problem(*index, "comes twice: index " + shownName(found->asString()));
            found.reset();
        }
    }
    const JsonStep step(from.path(), "values");
    const Data::Structure& structure = stream.structure();
    if (!couldHold(JsonCursor(*values).skip(), structure))
        return from.problem(*values, "has fewer values than the structure");
    Data::Handle element =
        found && !structure.empty() ? stream.emplaceElement(*found) : Data::Handle(structure);
    if (!element.hasData() && !structure.empty()) throw std::bad_alloc();
    from.values(*values, structure, element);
    if (found && structure.empty()) stream.setElement(*found, element);
}

bool couldHold(std::string_view text, const Data::Structure& structure) {
    unsigned long long parts = 0;
    for (const Data::Member& member : structure) parts += partsOf(member);
    return parts <= text.size();
}

}  // namespace orbo::Quilmeta
