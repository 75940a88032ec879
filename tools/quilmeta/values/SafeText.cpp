// Names and strings from a file as they may be shown on a terminal.
// SPDX-License-Identifier: Apache-2.0
#include "values/SafeText.h"

#include "values/Utf8.h"

#include <fmt/format.h>

#include <iterator>

namespace orbo::Quilmeta {

namespace {

/// Appends the character escaped, if it must be. Returns false when it can be shown as it is.
bool appendEscape(std::string& out, const Utf8Character& character) {
    if (!character.valid || (character.codePoint < 0x80 && isUnprintable(character.codePoint))) {
        switch (character.codePoint) {
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                fmt::format_to(std::back_inserter(out), "\\x{:02x}",
                               static_cast<unsigned>(character.codePoint));
        }
        return true;
    }
    if (!isUnprintable(character.codePoint)) return false;
    fmt::format_to(std::back_inserter(out), "\\u{{{:x}}}",
                   static_cast<unsigned>(character.codePoint));
    return true;
}

/// Appends the text with everything escaped that must be, and with `quotes` also what quotes need.
void appendEscaped(std::string& out, std::string_view text, bool quotes) {
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        if (quotes && (text[0] == '"' || text[0] == '\\')) out += '\\';
        if (!appendEscape(out, character)) out += text.substr(0, character.size);
        text.remove_prefix(character.size);
    }
}

}  // namespace

std::string inQuotes(std::string_view text) {
    std::string result = "\"";
    appendEscaped(result, text, true);
    return result += '"';
}

std::string shownName(std::string_view name) {
    return name.find('\\') == name.npos ? shownPath(name) : inQuotes(name);
}

std::string shownPath(std::string_view path) {
    // Blanks at the ends are easily missed, and "(" begins "(scene)", which no node must fake.
    const bool plain = !path.empty() && path.find('"') == path.npos && safeLine(path) == path &&
                       path.front() != ' ' && path.back() != ' ' && path.front() != '(';
    return plain ? std::string(path) : inQuotes(path);
}

std::string shownNode(std::string_view name) { return name.empty() ? "(scene)" : shownName(name); }

std::string safeLine(std::string_view text) {
    std::string result;
    appendEscaped(result, text, false);
    return result;
}

}  // namespace orbo::Quilmeta
