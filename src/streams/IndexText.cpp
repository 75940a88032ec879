// Index of a type that nobody registered, kept as its text.
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
    // Values of a type that was registered since sort behind its kept texts: they do not count
    // themselves before an equal type name, and the order must stay strict.
    if (!same) return fTypeName <= other.typeName();
    return std::tie(fTypeName, fText) < std::tie(same->fTypeName, same->fText);
}

}  // namespace orbo::Data
