// Walks over one JSON value in memory.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonCursor.h"

#include <charconv>

namespace orbo::Quilmeta {

namespace {

void appendUtf8(std::string& out, unsigned codePoint) {
    const auto byte = [&](unsigned bits) { out += static_cast<char>(bits); };
    const auto tail = [&](unsigned shift) { byte(0x80U | (codePoint >> shift & 0x3FU)); };
    if (codePoint < 0x80) return byte(codePoint);
    if (codePoint < 0x800) {
        byte(0xC0U | codePoint >> 6);
    } else if (codePoint < 0x10000) {
        byte(0xE0U | codePoint >> 12);
        tail(6);
    } else {
        byte(0xF0U | codePoint >> 18);
        tail(12);
        tail(6);
    }
    tail(0);
}

unsigned takeHex(std::string_view& text) {
    unsigned value = 0;
    std::from_chars(text.data(), text.data() + 4, value, 16);
    text.remove_prefix(4);
    return value;
}

/// Takes what stands behind a backslash.
void appendEscaped(std::string& out, std::string_view& text) {
    const char letter = text.front();
    text.remove_prefix(1);
    if (letter != 'u') {
        constexpr std::string_view kLetters = "bfnrt";
        const size_t at = kLetters.find(letter);
        out += at == kLetters.npos ? letter : "\b\f\n\r\t"[at];
        return;
    }
    unsigned codePoint = takeHex(text);
    if (codePoint >= 0xD800 && codePoint < 0xDC00) {
        text.remove_prefix(2);
        codePoint = 0x10000 + ((codePoint & 0x3FFU) << 10) + (takeHex(text) & 0x3FFU);
    }
    appendUtf8(out, codePoint);
}

}  // namespace

char JsonCursor::here() {
    for (; fRest.front() == ' ' || fRest.front() == '\n'; take(1))
        if (fRest.front() == '\n') ++fLine;
    return fRest.front();
}

JsonCursor::Kind JsonCursor::kind() {
    switch (here()) {
        case 'n':
            return Kind::kNull;
        case 't':
        case 'f':
            return Kind::kTruth;
        case '"':
            return Kind::kString;
        case '{':
            return Kind::kObject;
        case '[':
            return Kind::kList;
        default:
            return Kind::kNumber;
    }
}

size_t JsonCursor::line() {
    here();
    return fLine;
}

bool JsonCursor::truth() {
    const bool value = here() == 't';
    take(value ? 4 : 5);
    return value;
}

std::string_view JsonCursor::number() {
    here();
    const std::string_view text = fRest.substr(0, fRest.find_first_not_of("0123456789+-.eE"));
    take(text.size());
    return text;
}

/// The place of the closing quote, in a rest that begins with the opening one.
size_t JsonCursor::stringEnd() const {
    size_t at = 1;
    while (fRest[at] != '"') at += fRest[at] == '\\' ? 2 : 1;
    return at;
}

std::string JsonCursor::string() {
    here();
    const size_t end = stringEnd();
    std::string_view text = fRest.substr(1, end - 1);
    take(end + 1);
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::string_view plain = text.substr(0, text.find('\\'));
        result += plain;
        text.remove_prefix(plain.size());
        if (text.empty()) break;
        text.remove_prefix(1);
        appendEscaped(result, text);
    }
    return result;
}

std::string_view JsonCursor::skip() {
    here();
    const std::string_view before = fRest;
    size_t depth = 0;
    do {
        const char sign = here();
        if (sign == '"')
            take(stringEnd() + 1);
        else if (sign == '{' || sign == '[' || sign == '}' || sign == ']' || sign == ',' ||
                 sign == ':')
            take(1);
        else if (kind() == Kind::kNumber)
            number();
        else
            take(sign == 'f' ? 5 : 4);
        if (sign == '{' || sign == '[') ++depth;
        if (sign == '}' || sign == ']') --depth;
    } while (depth > 0);
    return before.substr(0, before.size() - fRest.size());
}

void JsonCursor::open() {
    here();
    take(1);
}

bool JsonCursor::next() {
    const char sign = here();
    if (sign == ']' || sign == '}') return take(1), false;
    if (sign == ',') take(1);
    return true;
}

bool JsonCursor::next(std::string& key) {
    if (!next()) return false;
    key = string();
    here();
    take(1);
    return true;
}

}  // namespace orbo::Quilmeta
