// Quoted values of text scenes: the escapes and their undoing.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextStatement.h"

#include <algorithm>
#include <cstring>

namespace orbo::Data::TextStatement {

namespace {

// The letters of the control characters from 7 on.
constexpr char kFirstNamed = 7;
constexpr std::string_view kNames = "abtnvfr";

bool isOctal(char c) { return c >= '0' && c <= '7'; }

void appendOctal(std::string& out, char c) {
    const auto byte = static_cast<unsigned char>(c);
    out += '\\';
    for (int shift = 6; shift >= 0; shift -= 3) {
        out += static_cast<char>('0' + ((byte >> shift) & 7));
    }
}

// The character that the escape at `at`, behind its backslash, stands for; moves behind it.
char escapedCharacter(std::string_view text, std::size_t& at) {
    if (isOctal(text[at])) {
        unsigned int value = 0;
        const std::size_t end = at + 3;
        while (at < end && at < text.size() && isOctal(text[at])) {
            value = value * 8 + static_cast<unsigned int>(text[at++] - '0');
        }
        return static_cast<char>(value & 0xFF);
    }
    const char c = text[at++];
    const std::size_t name = kNames.find(c);
    return name == std::string_view::npos ? c : static_cast<char>(kFirstNamed + name);
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text) {
    out.reserve(out.size() + text.size());
    for (const char c : text) {
        if (c == '\\' || c == '"') {
            out += '\\';
            out += c;
        } else if (c >= kFirstNamed && c < kFirstNamed + static_cast<int>(kNames.size())) {
            out += '\\';
            out += kNames[static_cast<std::size_t>(c - kFirstNamed)];
        } else if (static_cast<unsigned char>(c) < 32 || c == 127) {
            appendOctal(out, c);
        } else {
            out += c;
        }
    }
}

void appendEscapedLines(std::string& out, std::string_view text) {
    for (const char c : text) {
        if (c == '\n') {
            out += "\\n";
        } else {
            if (c == '\\') out += '\\';
            out += c;
        }
    }
}

void unescape(std::string& text) {
    std::size_t out = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t plain = std::min(text.find('\\', at), text.size()) - at;
        std::memmove(&text[out], &text[at], plain);
        out += plain;
        at += plain;
        if (at == text.size()) break;
        // A backslash with nothing behind it stands for itself.
        const bool escapes = ++at < text.size();
        text[out++] = escapes ? escapedCharacter(text, at) : '\\';
    }
    text.resize(out);
}

}  // namespace orbo::Data::TextStatement
