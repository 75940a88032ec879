// Characters of a UTF-8 text, and the room they take on a terminal.
// SPDX-License-Identifier: Apache-2.0
#include "values/Utf8.h"

#include <utf8proc.h>

namespace orbo::Quilmeta {

namespace {

const utf8proc_property_t& propertyOf(char32_t codePoint) {
    return *::utf8proc_get_property(static_cast<utf8proc_int32_t>(codePoint));
}

/// Arabic number signs and the like, which enclose the digits behind them: Unicode calls them
/// format characters, but they are visible.
bool isVisibleFormat(const utf8proc_property_t& property) {
    return property.category == UTF8PROC_CATEGORY_CF &&
           property.boundclass == UTF8PROC_BOUNDCLASS_PREPEND;
}

/// Unicode leaves these 66 numbers to the inner use of programs and never assigns them.
bool isNoncharacter(char32_t codePoint) {
    return (codePoint & 0xFFFE) == 0xFFFE || (codePoint >= 0xFDD0 && codePoint <= 0xFDEF);
}

/// Returns the columns that one character takes on a terminal.
size_t columns(char32_t codePoint) {
    const int width = ::utf8proc_charwidth(static_cast<utf8proc_int32_t>(codePoint));
    const utf8proc_property_t& property = propertyOf(codePoint);
    // Terminals give a column of its own to a mark that stands beside its letter.
    const bool isMarkBeside = property.category == UTF8PROC_CATEGORY_MC;
    return width == 0 && (isMarkBeside || isVisibleFormat(property)) ? 1
                                                                     : static_cast<size_t>(width);
}

}  // namespace

Utf8Character firstCharacter(std::string_view text) {
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    utf8proc_int32_t codePoint = -1;
    const auto size =
        ::utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    if (size <= 0) return {bytes[0], 1, false};
    return {static_cast<char32_t>(codePoint), static_cast<size_t>(size), true};
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        if (!character.valid) return false;
        text.remove_prefix(character.size);
    }
    return true;
}

bool isUnprintable(char32_t codePoint) {
    const utf8proc_property_t& property = propertyOf(codePoint);
    switch (property.category) {
        case UTF8PROC_CATEGORY_CC:
        case UTF8PROC_CATEGORY_CO:
        case UTF8PROC_CATEGORY_ZL:
        case UTF8PROC_CATEGORY_ZP:
            return true;
        case UTF8PROC_CATEGORY_CF:
            return !isVisibleFormat(property);
        default:
            // Fillers, joiners and selectors of variants leave no mark.
            return property.ignorable || isNoncharacter(codePoint);
    }
}

size_t displayWidth(std::string_view text) {
    size_t width = 0;
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        text.remove_prefix(character.size);
        width += columns(character.codePoint);
    }
    return width;
}

}  // namespace orbo::Quilmeta
