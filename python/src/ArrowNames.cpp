// Names of scenes, which have any bytes, in UTF-8.
// SPDX-License-Identifier: Apache-2.0
#include "ArrowNames.h"

#include <charconv>

#include "values/Utf8.h"

namespace orbo::Python {

namespace {

/// Writes bytes that are no UTF-8, and one that is, as `mark` and two digits.
std::string escaped(std::string_view bytes, std::string_view mark, char other) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    while (!bytes.empty()) {
        const auto character = Quilmeta::firstCharacter(bytes);
        const auto byte = static_cast<unsigned char>(bytes[0]);
        if (character.valid && bytes[0] != other)
            text += bytes.substr(0, character.size);
        else
            text.append(mark) += {kDigits[byte / 16U], kDigits[byte % 16U]};
        bytes.remove_prefix(character.size);
    }
    return text;
}

}  // namespace

std::string visibleName(std::string_view bytes) { return escaped(bytes, "\\x", '\0'); }

std::string escapedName(std::string_view bytes) { return escaped(bytes, "%", '%'); }

std::string unescapedName(std::string_view text) {
    constexpr std::size_t kEscape = 3;
    std::string bytes;
    while (!text.empty()) {
        unsigned char byte = 0;
        const char* const end = text.data() + kEscape;
        const bool isEscape = text[0] == '%' && text.size() >= kEscape &&
                              std::from_chars(text.data() + 1, end, byte, 16).ptr == end;
        bytes += isEscape ? static_cast<char>(byte) : text[0];
        text.remove_prefix(isEscape ? kEscape : 1);
    }
    return bytes;
}

}  // namespace orbo::Python
