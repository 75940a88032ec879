// Single values as JSON.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonText.h"

#include "values/Utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace orbo::Quilmeta {

namespace {

WideIntegers gWideIntegers = WideIntegers::kNumbers;

/// Three bytes make four digits; "=" fills the last group.
void appendBase64(std::string& out, std::string_view bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const std::string_view group = bytes.substr(i, 3);
        unsigned bits = 0;
        for (size_t k = 0; k < 3; ++k)
            bits = bits << 8 | (k < group.size() ? static_cast<unsigned char>(group[k]) : 0u);
        for (size_t k = 0; k < 4; ++k)
            out += k <= group.size() ? kDigits[bits >> (18 - 6 * k) & 63] : '=';
    }
}

/// JSON escapes have 16 bits, so a larger character takes two.
void appendEscape(std::string& out, unsigned codePoint) {
    if (codePoint >= 0x10000) {
        appendEscape(out, 0xD800 + ((codePoint - 0x10000) >> 10));
        codePoint = 0xDC00 + (codePoint & 0x3FF);
    }
    fmt::format_to(std::back_inserter(out), "\\u{:04x}", codePoint);
}

/// Appends one character, escaped where JSON or a terminal needs it.
void appendCharacter(std::string& out, std::string_view bytes, char32_t codePoint) {
    switch (codePoint) {
        case '"':
            out += "\\\"";
            return;
        case '\\':
            out += "\\\\";
            return;
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default:
            break;
    }
    // JSON would allow most of these as they are; a terminal should not get them.
    if (isUnprintable(codePoint))
        appendEscape(out, static_cast<unsigned>(codePoint));
    else
        out += bytes;
}

}  // namespace

bool isPlainText(std::string_view text) {
    const auto isPlain = [](char c) { return (c >= ' ') & (c <= '~') & (c != '"') & (c != '\\'); };
    constexpr size_t kShort = 16;
    if (text.size() < kShort) return std::all_of(text.begin(), text.end(), isPlain);
    bool plain = true;
    // Has no branch, so that the compiler can look at many bytes at once.
    for (const char c : text) plain &= isPlain(c);
    return plain;
}

void setWideIntegers(WideIntegers how) { gWideIntegers = how; }

WideIntegers wideIntegers() { return gWideIntegers; }

void appendJson(std::string& out, std::string_view text) {
    if (isPlainText(text)) {
        out += '"';
        out += text;
        out += '"';
        return;
    }
    if (!isUtf8(text)) {
        out += "{ \"base64\": \"";
        appendBase64(out, text);
        out += "\" }";
        return;
    }
    out += '"';
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        appendCharacter(out, text.substr(0, character.size), character.codePoint);
        text.remove_prefix(character.size);
    }
    out += '"';
}

void appendJson(std::string& out, const char* text) {
    if (text)
        appendJson(out, std::string_view(text));
    else
        out += "null";
}

}  // namespace orbo::Quilmeta
