// Writes the elements of a stream as JSON.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonElement.h"

#include "json/JsonReader.h"
#include "json/JsonText.h"
#include "values/Utf8.h"
#include "values/ValueType.h"

#include <data/IndexPair.h>
#include <debug/RefPtr.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

namespace orbo::Quilmeta {

namespace {

template <typename Part>
void appendPart(std::string& out, Part part, NanAs nan) {
    if constexpr (std::is_floating_point_v<Part>) {
        using Bits = std::conditional_t<sizeof(Part) == 4, std::uint32_t, std::uint64_t>;
        const auto bitsOf = [](Part number) {
            Bits bits = 0;
            std::memcpy(&bits, &number, sizeof bits);
            return bits;
        };
        const bool isUsual = bitsOf(part) == bitsOf(std::numeric_limits<Part>::quiet_NaN());
        if (nan == NanAs::kBits && std::isnan(part) && !isUsual) {
            fmt::format_to(std::back_inserter(out), "\"NaN:{:#x}\"", bitsOf(part));
            return;
        }
    }
    if constexpr (std::is_integral_v<Part> && sizeof(Part) == 8) {
        const bool quote = wideIntegers() == WideIntegers::kStrings;
        if (quote) out += '"';
        appendNumber(out, part);
        if (quote) out += '"';
    } else {
        appendJson(out, part);
    }
}

/// Appends the separator together with the usual number: each `append` costs a third of the digits.
template <typename Part>
void appendNext(std::string& out, Part part, NanAs nan) {
    if constexpr (std::is_floating_point_v<Part>) {
        if (std::isfinite(part) && part != 0) {
            char text[2 + kNumberRoom];
            text[0] = ',';
            text[1] = ' ';
            const char* const end = writeFinite(text + 2, part);
            out.append(text, static_cast<size_t>(end - text));
            return;
        }
    }
    out += ", ";
    appendPart(out, part, nan);
}

template <typename Part>
void appendList(std::string& out, const Part* parts, size_t count, NanAs nan) {
    out += '[';
    if (count > 0) appendPart(out, *parts, nan);
    for (size_t i = 1; i < count; ++i) appendNext(out, parts[i], nan);
    out += ']';
}

/// Appends one value: a single part, or a list for the sixteen numbers of a matrix.
template <typename Part>
void appendValue(std::string& out, const Part* parts, size_t count, NanAs nan) {
    if (count == 1)
        appendPart(out, *parts, nan);
    else
        appendList(out, parts, count, nan);
}

template <typename Part>
void appendValues(std::string& out, const Part* parts, const Data::Member& member, NanAs nan) {
    const size_t partCount = partsPerValue(member.type());
    if (member.length() == 1) return appendValue(out, parts, partCount, nan);
    if (partCount == 1) return appendList(out, parts, member.length(), nan);
    out += '[';
    for (unsigned int i = 0; i < member.length(); ++i) {
        if (i > 0) out += ", ";
        appendList(out, parts + i * partCount, partCount, nan);
    }
    out += ']';
}

}  // namespace

void appendIndex(std::string& out, const Data::Index& index) {
    const Data::IndexType* typed = index.complexIndex();
    if (!typed) return appendJson(out, index.index());
    const auto* pair = dynamic_cast<const Data::IndexPair*>(typed);
    if (!pair) return appendJson(out, typed->asString());
    unsigned int first = 0;
    unsigned int second = 0;
    pair->getIndexPair(first, second);
    fmt::format_to(std::back_inserter(out), "[{}, {}]", first, second);
}

void appendMember(std::string& out, const void* parts, const Data::Member& member, NanAs nan) {
    Data::visitMemberType(member.type(), [&](auto type) {
        using Part = typename decltype(type)::Scalar;
        appendValues(out, static_cast<const Part*>(parts), member, nan);
    });
}

namespace {

template <typename Part>
void appendParts(std::string& text, const Part* parts, const NamedMember& named) {
    const Data::Member& member = *named.member;
    if (!named.slot) return appendMember(text, parts, member, NanAs::kWord);
    const RefPtr<Data::Structure> single(new Data::Structure("single"));
    single->addMember(member.type(), 1, member.name());
    appendMember(text, parts + *named.slot * partsPerValue(member.type()), *single->member(0U),
                 NanAs::kWord);
}

/// True for a JSON number, truth value or null.
bool isPlainJson(const std::string& text) {
    struct Plain : JsonVisitor {
        Take take(const JsonPath&, bool) override { return isPlain = false, Take::kSkip; }
        void value(JsonPath&, JsonCursor value) override {
            isPlain = value.kind() != JsonCursor::Kind::kString;
        }
        void end(const JsonPath&, size_t) override {}
        bool isPlain = false;
    } plain;
    JsonSource source(text);
    JsonProblems problems;
    return readJson(source, plain, problems) && plain.isPlain;
}

}  // namespace

void appendNamed(std::string& out, Data::Handle& element, const NamedMember& named) {
    element.setPositionByMemberIndex(named.position);
    withParts(element, *named.member, [&](const auto* parts) { appendParts(out, parts, named); });
}

std::string jsonOfText(const std::string& text, const NamedMember& named) {
    const bool isString = named.member && named.member->type() == Data::Member::kString;
    if (!isString && isPlainJson(text)) return text;
    std::string json;
    appendJson(json, std::string_view(text));
    return json;
}

// The keys are the same for all elements, so they are escaped once.
JsonElement::JsonElement(const Data::Structure& structure, NanAs nan) : fNan(nan) {
    for (const Data::Member& member : structure) {
        std::string key;
        appendJson(key, member.name());
        fFields.push_back({&member, key + ": "});
        fNamed = fNamed && isUtf8(member.name());
    }
    for (size_t i = 0; i < fFields.size(); ++i) {
        const char* const separator = i > 0 ? ", " : fNamed ? "{ " : "[ ";
        fFields[i].lead = fNamed ? separator + fFields[i].lead : separator;
    }
}

void JsonElement::append(std::string& out, Data::StreamIterator& element) const {
    out += "{ \"index\": ";
    appendIndex(out, element.index());
    out += ", \"values\": ";
    appendValues(out, *element);
    out += " }";
}

void JsonElement::appendValues(std::string& out, Data::Handle& handle) const {
    if (!handle.hasData() && !fFields.empty()) {
        out += "null";
        return;
    }
    if (fFields.empty()) out += fNamed ? '{' : '[';
    for (unsigned int i = 0; i < fFields.size(); ++i) {
        out += fFields[i].lead;
        const Data::Member& member = *fFields[i].member;
        handle.setPositionByMemberIndex(i);
        appendMember(out, std::as_const(handle).asType(member.type()), member, fNan);
    }
    out += fNamed ? " }" : " ]";
}

}  // namespace orbo::Quilmeta
