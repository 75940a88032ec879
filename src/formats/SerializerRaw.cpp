// The keywords and string functions that the raw text formats share.
// SPDX-License-Identifier: Apache-2.0
#include <data/SerializerRaw.h>

#include "core/Ascii.h"

#include <iterator>

namespace orbo::Data {

namespace {

constexpr const char* kKeywords[] = {
    "=",  // kEquals
    "endAssociations",
    "endChannel",
    "channel",
    "name",  // kChannelName
    "indexType",
    ":",  // kSeparator
    "raw",
    "endStream",
    "stream",
    "name",  // kStreamName
    "structure",
    "name",  // kStructureName
};

}  // namespace

const char* SerializerRaw::keyword(eKeyword keyword) {
    const auto number = static_cast<unsigned int>(keyword);
    return number < std::size(kKeywords) ? kKeywords[number] : "????";
}

std::string SerializerRaw::collapseWhitespace(std::string& text) {
    text = std::string(Ascii::trim(text));
    return text;
}

std::string SerializerRaw::standardizeSeparators(std::string& text) {
    const char separator = *keyword(kSeparator);
    std::size_t length = 0;
    for (const char c : text) {
        const bool separates = c == separator || c == '\n';
        if (separates && length > 0 && text[length - 1] == separator) continue;
        text[length++] = separates ? separator : c;
    }
    text.resize(length);
    return text;
}

std::vector<std::string>& SerializerRaw::splitString(const std::string& text, char separator,
                                                     std::vector<std::string>& pieces) {
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t found = text.find(separator, start);
        pieces.push_back(text.substr(start, found - start));
        if (found == std::string::npos) break;
        start = found + 1;
    }
    return pieces;
}

}  // namespace orbo::Data
