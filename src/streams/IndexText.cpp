// An index of an unregistered type, kept as its text.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexText.h>

#include <tuple>

namespace orbo::Data {

IndexText::IndexText(const std::string& typeName, const std::string& text)
    : fTypeName(typeName), fText(text) {}

IndexType* IndexText::clone() const { return new IndexText(*this); }

bool IndexText::operator==(const IndexType& other) const {
    const auto* same = dynamic_cast<const IndexText*>(&other);
    return same && fTypeName == same->fTypeName && fText == same->fText;
}

bool IndexText::operator<(const IndexType& other) const {
    const auto* same = dynamic_cast<const IndexText*>(&other);
    // When the type is registered later, its values sort behind the kept texts. They compare as not
    // less than an equal type name, and the order must stay strict.
    if (!same) return fTypeName <= other.typeName();
    return std::tie(fTypeName, fText) < std::tie(same->fTypeName, same->fText);
}

}  // namespace orbo::Data
