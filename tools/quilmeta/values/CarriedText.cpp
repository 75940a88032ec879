// Which names and indices scene files can hold.
// SPDX-License-Identifier: Apache-2.0
#include "values/CarriedText.h"

namespace orbo::Quilmeta {

namespace {

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

const char* problemOfName(std::string_view name) {
    if (name.find('\n') != name.npos) return "has a line feed, which scenes cannot hold here";
    if (name.find('\0') != name.npos) return "has a byte 0, which not every scene can hold here";
    if (!name.empty() && (isBlank(name.front()) || isBlank(name.back())))
        return "has blanks at its ends, which scenes cannot hold here";
    return nullptr;
}

const char* problemOfFieldName(std::string_view name) {
    if (name.empty()) return "is empty, which scenes cannot hold here";
    if (name.find_first_of(":=") != name.npos)
        return "has a \":\" or \"=\", which scenes cannot hold here";
    return problemOfName(name);
}

const char* problemOfIndexType(std::string_view name) {
    return name.empty() ? "is empty, which scenes cannot hold here" : problemOfName(name);
}

const char* problemOfIndex(std::string_view text) {
    if (text == "endStream") return "is what ends a stream in scenes, so they cannot hold it here";
    return problemOfIndexType(text);
}

}  // namespace orbo::Quilmeta
