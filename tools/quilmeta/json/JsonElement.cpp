// Writes the elements of a stream as JSON.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonElement.h"

#include "json/JsonReader.h"
#include "json/JsonText.h"
#include "values/Utf8.h"
#include "values/ValueType.h"

#include <data/IndexPair.h>
#include <debug/RefPtr.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

namespace orbo::Quilmeta {

/// Collects short pieces in front of a string: each `append` costs a third of a number's digits.
class JsonElement::Pieces {
  public:
    static constexpr size_t kRoom = 64;
    static_assert(kRoom >= kNumberRoom);

    explicit Pieces(std::string& out) : fOut(out) {}
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;

    /// At least `kRoom` bytes behind the pieces; `take` tells how far they were used.
    char* room() {
        if (fText + sizeof fText - fEnd < static_cast<std::ptrdiff_t>(kRoom)) finish();
        return fEnd;
    }
    void take(char* end) { fEnd = end; }
    template <size_t kSize>
    void add(const char (&literal)[kSize]) {
        static_assert(kSize <= kRoom);
        std::memcpy(room(), literal, kSize - 1);
        fEnd += kSize - 1;
    }
    void add(std::string_view piece) {
        if (piece.size() > kRoom) {
            string().append(piece);
        } else {
            std::memcpy(room(), piece.data(), piece.size());
            fEnd += piece.size();
        }
    }
    /// Copies all bytes that a short piece might have, which takes no call.
    void add(const Lead& lead) {
        if (lead.size > sizeof lead.bytes) return add(std::string_view(lead.text));
        std::memcpy(room(), lead.bytes, sizeof lead.bytes);
        fEnd += lead.size;
    }
    /// The string with all pieces in it, for more to be appended.
    std::string& string() {
        finish();
        return fOut;
    }
    void finish() { fOut.append(fText, static_cast<size_t>(std::exchange(fEnd, fText) - fText)); }

  private:
    std::string& fOut;
    char fText[8 * kRoom];
    char* fEnd = fText;
};

namespace {

using Pieces = JsonElement::Pieces;

template <typename Part>
void addFloating(Pieces& out, Part part, JsonFor use) {
    using Bits = std::conditional_t<sizeof(Part) == 4, std::uint32_t, std::uint64_t>;
    const auto bitsOf = [](Part number) {
        Bits bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        return bits;
    };
    if (std::isfinite(part) && part != 0) return out.take(writeFinite(out.room(), part));
    const bool isUsual = bitsOf(part) == bitsOf(std::numeric_limits<Part>::quiet_NaN());
    if (use == JsonFor::kPatch && std::isnan(part) && !isUsual) {
        fmt::format_to(std::back_inserter(out.string()), "\"NaN:{:#x}\"", bitsOf(part));
    } else {
        appendJson(out.string(), part);
    }
}

template <typename Part>
void addPart(Pieces& out, Part part, JsonFor use) {
    if constexpr (std::is_floating_point_v<Part>) {
        addFloating(out, part, use);
    } else if constexpr (std::is_integral_v<Part> && !std::is_same_v<Part, bool>) {
        const bool quote = sizeof(Part) == 8 && wideIntegers() == WideIntegers::kStrings;
        if (quote) out.add("\"");
        char* const digits = out.room();
        out.take(std::to_chars(digits, digits + Pieces::kRoom, part).ptr);
        if (quote) out.add("\"");
    } else if constexpr (std::is_pointer_v<Part>) {
        const std::string_view text = part ? part : "";
        if (!part && use == JsonFor::kDocument) return out.add("null");
        if (!isPlainText(text)) return appendJson(out.string(), text);
        out.add("\"");
        out.add(text);
        out.add("\"");
    } else {
        appendJson(out.string(), part);
    }
}

/// Adds a list of values, each a single part, or a list for the sixteen numbers of a matrix.
template <size_t kParts, typename Part>
void addList(Pieces& out, const Part* parts, size_t count, JsonFor use) {
    out.add("[");
    for (size_t i = 0; i < count; ++i) {
        if (i > 0) out.add(", ");
        if constexpr (kParts == 1) {
            addPart(out, parts[i], use);
        } else {
            addList<1>(out, parts + i * kParts, kParts, use);
        }
    }
    out.add("]");
}

void addMember(Pieces& out, const void* values, Data::Member::eDataType memberType, size_t length,
               JsonFor use) {
    Data::visitMemberType(memberType, [&](auto type) {
        using Part = typename decltype(type)::Scalar;
        constexpr auto kParts = static_cast<size_t>(decltype(type)::kScalars);
        const auto* const parts = static_cast<const Part*>(values);
        if (length != 1) return addList<kParts>(out, parts, length, use);
        if constexpr (kParts == 1) {
            addPart(out, *parts, use);
        } else {
            addList<1>(out, parts, kParts, use);
        }
    });
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

void appendMember(std::string& out, const void* parts, const Data::Member& member, JsonFor use) {
    Pieces pieces(out);
    addMember(pieces, parts, member.type(), member.length(), use);
    pieces.finish();
}

namespace {

template <typename Part>
void appendParts(std::string& text, const Part* parts, const NamedMember& named) {
    const Data::Member& member = *named.member;
    if (!named.part) return appendMember(text, parts, member, JsonFor::kDocument);
    const RefPtr<Data::Structure> single(new Data::Structure("single"));
    single->addMember(partType(member.type()), 1, member.name());
    appendMember(text, parts + *named.part, *single->member(0U), JsonFor::kDocument);
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
JsonElement::JsonElement(const Data::Structure& structure, JsonFor use) : fUse(use) {
    for (const Data::Member& member : structure) {
        std::string key;
        appendJson(key, member.name());
        fFields.push_back({member.type(), member.length(), {}});
        fFields.back().lead.set(key + ": ");
        fNamed = fNamed && isUtf8(member.name());
    }
    for (size_t i = 0; i < fFields.size(); ++i) {
        const char* const separator = i > 0 ? ", " : fNamed ? "{ " : "[ ";
        fFields[i].lead.set(fNamed ? separator + fFields[i].lead.text : separator);
    }
}

void JsonElement::append(std::string& out, std::string_view front,
                         Data::StreamIterator& element) const {
    Pieces pieces(out);
    pieces.add(front);
    pieces.add("{ \"index\": ");
    const Data::Index index = element.index();
    if (index.complexIndex()) {
        appendIndex(pieces.string(), index);
    } else {
        addPart(pieces, index.index(), fUse);
    }
    pieces.add(", \"values\": ");
    addValues(pieces, *element);
    pieces.add(" }");
    pieces.finish();
}

void JsonElement::appendValues(std::string& out, Data::Handle& handle) const {
    Pieces pieces(out);
    addValues(pieces, handle);
    pieces.finish();
}

void JsonElement::addValues(Pieces& out, Data::Handle& handle) const {
    if (!handle.hasData() && !fFields.empty()) return out.add("null");
    if (fFields.empty()) out.add(fNamed ? "{" : "[");
    for (unsigned int i = 0; i < fFields.size(); ++i) {
        const Field& field = fFields[i];
        out.add(field.lead);
        handle.setPositionByMemberIndex(i);
        addMember(out, std::as_const(handle).asType(field.type), field.type, field.length, fUse);
    }
    out.add(fNamed ? " }" : " ]");
}

}  // namespace orbo::Quilmeta
