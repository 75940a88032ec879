// Characters of a UTF-8 text, and the room they take on a terminal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace orbo::Quilmeta {

/// `size` is 1 to 4. A byte that starts no well-formed character is a character of its own, with
/// size 1 and `valid` false.
struct Utf8Character {
    char32_t codePoint;
    size_t size;
    bool valid;
};

/// The first character of `text`, which must not be empty. Overlong forms, surrogates and numbers
/// above U+10FFFF are not valid.
Utf8Character firstCharacter(std::string_view text);
bool isUtf8(std::string_view text);

/// True for control characters, for characters that are invisible or turn the direction of the
/// text, and for those that Unicode will never assign.
bool isUnprintable(char32_t codePoint);
/// Columns on a terminal with a fixed-width font, whatever the locale: 2 for East Asian wide
/// characters and most emoji, 0 for combining marks.
size_t displayWidth(std::string_view text);

}  // namespace orbo::Quilmeta
