// Writes the elements of a stream as JSON.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonElement.h"

#include "json/JsonText.h"
#include "values/Utf8.h"
#include "values/ValueType.h"

#include <data/IndexPair.h>

namespace orbo::Quilmeta {

namespace {

template <typename Part>
void appendList(std::string& out, const Part* parts, size_t count) {
    out += '[';
    for (size_t i = 0; i < count; ++i) {
        if (i > 0) out += ", ";
        appendJson(out, parts[i]);
    }
    out += ']';
}

/// Appends one value: a single part, or a list for the sixteen numbers of a matrix.
template <typename Part>
void appendValue(std::string& out, const Part* parts, size_t count) {
    if (count == 1)
        appendJson(out, *parts);
    else
        appendList(out, parts, count);
}

/// Appends all values of a member: one value alone, or a list of values.
template <typename Part>
void appendValues(std::string& out, const Part* parts, const Data::Member& member) {
    const size_t partCount = partsPerValue(member.type());
    if (member.length() == 1) return appendValue(out, parts, partCount);
    out += '[';
    for (unsigned int i = 0; i < member.length(); ++i) {
        if (i > 0) out += ", ";
        appendValue(out, parts + i * partCount, partCount);
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

// The keys are the same for all elements, so they are escaped once.
JsonElement::JsonElement(const Data::Structure& structure) {
    for (const Data::Member& member : structure) {
        std::string key;
        appendJson(key, member.name());
        fFields.push_back({&member, key + ": "});
        fNamed = fNamed && isUtf8(member.name());
    }
}

void JsonElement::append(std::string& out, Data::StreamIterator& element) const {
    out += "{ \"index\": ";
    appendIndex(out, element.index());
    out += ", \"values\": ";
    Data::Handle& handle = *element;
    if (!handle.hasData() && !fFields.empty()) {
        out += "null }";
        return;
    }
    out += fNamed ? "{" : "[";
    for (unsigned int i = 0; i < fFields.size(); ++i) {
        out += i > 0 ? ", " : " ";
        if (fNamed) out += fFields[i].key;
        const Data::Member& member = *fFields[i].member;
        handle.setPositionByMemberIndex(i);
        withParts(handle, member, [&](auto* parts) { appendValues(out, parts, member); });
    }
    out += fNamed ? " } }" : " ] }";
}

}  // namespace orbo::Quilmeta
