// Characters of a UTF-8 text, and the room they take on a terminal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace orbo::Quilmeta {

/// `size` is 1 to 4; a byte that starts no well-formed character has size 1 and `valid` false.
struct Utf8Character {
    char32_t codePoint;
    size_t size;
    bool valid;
};

/// The first character of a text that is not empty. Overlong forms, surrogates and numbers above
/// U+10FFFF are not valid.
Utf8Character firstCharacter(std::string_view text);
bool isUtf8(std::string_view text);

/// Control characters and those that are invisible or change the direction of the text.
bool isUnprintable(char32_t codePoint);
/// Columns on a terminal with a fixed width font, without regard to the locale: 2 for East Asian
/// wide characters and most emoji, 0 for combining marks.
size_t displayWidth(std::string_view text);

}  // namespace orbo::Quilmeta
