// Index of any text, such as the name of a joint.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexString.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>

#include "debug/ObjectCounter.h"

namespace orbo::Data {

namespace {

std::string_view copyOf(std::string_view text) {
    char* const copy = new char[text.size()];
    text.copy(copy, text.size());
    return {copy, text.size()};
}

}  // namespace

IndexString::IndexString() : IndexString(std::string_view(), false) {}

IndexString::IndexString(const std::string& text) : IndexString(copyOf(text), true) {}

IndexString::IndexString(const IndexString& other) : IndexString(copyOf(other.text()), true) {}

IndexString::IndexString(std::string_view text, bool owns) noexcept { hold(text, owns); }

void IndexString::hold(std::string_view text, bool owns) noexcept {
    constexpr unsigned long long kLargest = ~0ULL >> 1;
    fText = text.data();
    fSize = text.size() & kLargest;
    fOwnsText = owns;
}

bool IndexString::operator==(const IndexString& other) const { return text() == other.text(); }
bool IndexString::operator!=(const IndexString& other) const { return text() != other.text(); }
bool IndexString::operator<(const IndexString& other) const { return text() < other.text(); }
bool IndexString::operator<=(const IndexString& other) const { return text() <= other.text(); }
bool IndexString::operator>(const IndexString& other) const { return text() > other.text(); }
bool IndexString::operator>=(const IndexString& other) const { return text() >= other.text(); }

IndexString::~IndexString() {
    if (fOwnsText) delete[] fText;
}

IndexString* IndexString::make(std::string_view text) {
    void* const block = ::operator new(sizeof(IndexString) + text.size());
    char* const behind = static_cast<char*>(block) + sizeof(IndexString);
    text.copy(behind, text.size());
    return ::new (block) IndexString(std::string_view(behind, text.size()), false);
}

IndexString& IndexString::operator=(const IndexString& other) {
    replaceBy(copyOf(other.text()));
    return *this;
}

IndexString& IndexString::operator=(const std::string& text) {
    replaceBy(copyOf(text));
    return *this;
}

void IndexString::replaceBy(std::string_view copy) noexcept {
    if (fOwnsText) delete[] fText;
    hold(copy, true);
}

bool IndexString::Debug(const IndexString* index, Debug::Print& print) {
    if (index) print.doIndent() << index->text();
    return true;
}

bool IndexString::Debug(const IndexString* index, Debug::Footprint& footprint) {
    if (index) footprint.addObject(index, sizeof(IndexString));
    return true;
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::IndexString>;
