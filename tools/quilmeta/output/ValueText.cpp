// Values of an element, and nothing around them.
// SPDX-License-Identifier: Apache-2.0
#include "output/ValueText.h"

#include "values/NumberText.h"
#include "values/SafeText.h"
#include "values/ValueType.h"

#include <data/Structure.h>

#include <type_traits>

namespace orbo::Quilmeta {

namespace {

template <typename Part>
void appendPart(std::string& out, const Part& part, const ValueText& how) {
    if constexpr (std::is_same_v<Part, Text>)
        out += how.shown(part ? part : how.nullText);
    else if constexpr (std::is_same_v<Part, bool>)
        out += part ? "true" : "false";
    else
        appendNumber(out, part);
}

}  // namespace

std::string ValueText::shown(const std::string& text) const { return safe ? safeLine(text) : text; }

void ValueText::append(std::string& out, Data::Handle& element, const NamedMember& member) const {
    element.setPositionByMemberIndex(member.position);
    withParts(element, *member.member, [&](const auto* parts) {
        const size_t first = member.part.value_or(0);
        const size_t count = member.part ? 1 : partsOf(*member.member);
        for (size_t i = first; parts && i < first + count; ++i) {
            if (i > first) out += ' ';
            appendPart(out, parts[i], *this);
        }
    });
}

}  // namespace orbo::Quilmeta
