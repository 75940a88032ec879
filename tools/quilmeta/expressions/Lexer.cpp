// Cuts an expression into tokens.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Lexer.h"

#include "expressions/ExpressionError.h"
#include "values/SafeText.h"
#include "values/Utf8.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace orbo::Quilmeta {

namespace {

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

bool isWordByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' ||
           isDigit(byte);
}

// Longer ones in front of those that they begin with.
constexpr std::string_view kSigns[] = {"=~", "!=~", "!~", "==", "!=", "<=", ">=", "..", "<", ">",
                                       "~",  "+",   "-",  "*",  "/",  "(",  ")",  "[",  "]", ","};

struct Hint {
    std::string_view sign;
    const char* problem;
};
// What other languages have.
constexpr Hint kHints[] = {
    {"=", "\"=\" is no operator: write \"==\" to compare"},
    {"&&", "\"&&\" is no operator: write \"and\""},
    {"||", "\"||\" is no operator: write \"or\""},
    {"!", "\"!\" is no operator: write \"not\""},
    {"'", "strings stand in double quotes"},
    {".", "a number begins with a digit, as 0.5 does"},
};

void appendUtf8(std::string& out, unsigned int point) {
    const auto add = [&out](unsigned int byte) { out += static_cast<char>(byte); };
    if (point < 0x80) return add(point);
    if (point < 0x800) {
        add(0xC0 | point >> 6);
    } else if (point < 0x10000) {
        add(0xE0 | point >> 12);
        add(0x80 | (point >> 6 & 0x3F));
    } else {
        add(0xF0 | point >> 18);
        add(0x80 | (point >> 12 & 0x3F));
        add(0x80 | (point >> 6 & 0x3F));
    }
    add(0x80 | (point & 0x3F));
}

/// False when 127 bits are too few.
bool parseInteger(std::string_view digits, Integer& value) {
    for (const char digit : digits) {
        if (__builtin_mul_overflow(value, Integer{10}, &value)) return false;
        if (__builtin_add_overflow(value, Integer{digit - '0'}, &value)) return false;
    }
    return true;
}

/// False for a number that is too large for a double, or so small that it would be 0.
bool parseDecimal(std::string_view digits, Literal& literal) {
    const char* const end = digits.data() + digits.size();
    if (std::from_chars(digits.data(), end, literal.decimal).ec != std::errc()) return false;
    // A float may be too small or too large for the digits; then the double is its measure.
    if (std::from_chars(digits.data(), end, literal.narrow).ec != std::errc())
        literal.narrow =
            std::abs(literal.decimal) < 1 ? static_cast<float>(literal.decimal) : HUGE_VALF;
    return true;
}

}  // namespace

void Lexer::fail(size_t at, std::string_view problem) const {
    throw ExpressionError(fText, at, problem);
}

Token Lexer::token(Token::Kind kind, size_t begin) const {
    Token token;
    token.kind = kind;
    token.at = begin;
    token.text = fText.substr(begin, fAt - begin);
    return token;
}

Token Lexer::next() {
    while (fAt < fText.size() && std::string_view(" \t\r\n").find(fText[fAt]) != fText.npos) ++fAt;
    if (fAt == fText.size()) return token(Token::Kind::kEnd, fAt);
    if (isDigit(fText[fAt])) return number();
    if (isWordByte(fText[fAt])) return word();
    return fText[fAt] == '"' ? string() : sign();
}

Token Lexer::word() {
    const size_t begin = fAt;
    while (fAt < fText.size() && isWordByte(fText[fAt])) ++fAt;
    return token(Token::Kind::kWord, begin);
}

size_t Lexer::endOfDigits(size_t at) const {
    while (at < fText.size() && isDigit(fText[at])) ++at;
    return at;
}

// The point of a decimal has a digit behind it: that of a range has another point.
Token Lexer::number() {
    const size_t begin = fAt;
    fAt = endOfDigits(fAt);
    bool isInteger = true;
    if (fText.substr(fAt, 1) == "." && endOfDigits(fAt + 1) > fAt + 1) {
        isInteger = false;
        fAt = endOfDigits(fAt + 1);
    }
    if (fAt < fText.size() && (fText[fAt] == 'e' || fText[fAt] == 'E')) {
        size_t digits = fAt + 1;
        if (digits < fText.size() && (fText[digits] == '+' || fText[digits] == '-')) ++digits;
        if (endOfDigits(digits) > digits) {
            isInteger = false;
            fAt = endOfDigits(digits);
        }
    }
    if (fAt < fText.size() && isWordByte(fText[fAt])) fail(fAt, "this does not belong to a number");
    Token number = token(Token::Kind::kLiteral, begin);
    number.literal.kind = isInteger ? Literal::Kind::kInteger : Literal::Kind::kDecimal;
    if (isInteger && !parseInteger(number.text, number.literal.integer))
        fail(begin, "this number is too large");
    if (!isInteger && !parseDecimal(number.text, number.literal))
        fail(begin, "this number is too large or too small");
    return number;
}

unsigned int Lexer::readHex(size_t escape) {
    const std::string_view digits = fText.substr(fAt, 4);
    unsigned int value = 0;
    const char* const end = digits.data() + digits.size();
    if (digits.size() != 4 || std::from_chars(digits.data(), end, value, 16).ptr != end)
        fail(escape, "\\u needs four hexadecimal digits");
    fAt += 4;
    return value;
}

/// Reads behind the backslash.
void Lexer::readEscape(std::string& out) {
    const size_t escape = fAt - 1;
    if (fAt == fText.size()) fail(escape, "the string has no end");
    static constexpr std::string_view kLetters = "\"\\/bfnrt";
    static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const char letter = fText[fAt++];
    const size_t found = kLetters.find(letter);
    if (found != kLetters.npos) {
        out += kMeanings[found];
        return;
    }
    if (letter != 'u') fail(escape, "strings have no such escape; write \\\\ for a backslash");
    unsigned int point = readHex(escape);
    if (point >= 0xD800 && point < 0xDC00 && fText.substr(fAt, 2) == "\\u") {
        fAt += 2;
        const unsigned int low = readHex(escape);
        if (low < 0xDC00 || low > 0xDFFF) fail(escape, "this is half a character");
        point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
    } else if (point >= 0xD800 && point < 0xE000) {
        fail(escape, "this is half a character");
    }
    appendUtf8(out, point);
}

Token Lexer::string() {
    const size_t begin = fAt++;
    std::string text;
    while (fAt < fText.size() && fText[fAt] != '"') {
        const char byte = fText[fAt++];
        if (byte == '\\')
            readEscape(text);
        else
            text += byte;
    }
    if (fAt == fText.size()) fail(begin, "the string has no end");
    ++fAt;
    Token string = token(Token::Kind::kLiteral, begin);
    string.literal.kind = Literal::Kind::kString;
    string.literal.text = std::move(text);
    return string;
}

Token Lexer::sign() {
    const std::string_view rest = fText.substr(fAt);
    const size_t begin = fAt;
    for (const std::string_view sign : kSigns) {
        if (rest.substr(0, sign.size()) != sign) continue;
        fAt += sign.size();
        return token(Token::Kind::kSign, begin);
    }
    if (rest.front() == '.' && begin > 0 && isDigit(fText[begin - 1]))
        fail(begin, "a digit is missing behind the point");
    for (const Hint& hint : kHints)
        if (rest.substr(0, hint.sign.size()) == hint.sign) fail(begin, hint.problem);
    const std::string_view character = rest.substr(0, firstCharacter(rest).size);
    fail(begin, fmt::format("{} has no meaning here; odd names of members are written as "
                            "member[\"odd name\"]",
                            inQuotes(character)));
}

}  // namespace orbo::Quilmeta
