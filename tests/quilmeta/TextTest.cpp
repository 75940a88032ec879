// Values and names as they are printed.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonText.h"
#include "values/SafeText.h"
#include "values/Utf8.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace orbo::Quilmeta {
namespace {

template <typename Value>
std::string json(Value value) {
    std::string text;
    appendJson(text, value);
    return text;
}

TEST(JsonText, WritesNumbersShortest) {
    EXPECT_EQ(json(double(0.1f)), "0.10000000149011612");
    EXPECT_EQ(json(0.1f), "0.1");
    EXPECT_EQ(json(1.7976931348623157e308), "1.7976931348623157e+308");
    EXPECT_EQ(json(5e-324), "5e-324");
    EXPECT_EQ(json(1e-45f), "1e-45");
    EXPECT_EQ(json(-0.0f), "-0.0");
    EXPECT_EQ(json(-std::nan("")), "\"NaN\"");
    EXPECT_EQ(json(HUGE_VAL), "\"Infinity\"");
    EXPECT_EQ(json(-HUGE_VALF), "\"-Infinity\"");
    EXPECT_EQ(json(static_cast<unsigned char>(65)), "65");
}

TEST(JsonText, EscapesWhatCannotBeSeen) {
    EXPECT_EQ(json("\u034F \u115F \u3164 \uFE0F \u00AD \u200D"),
              R"("\u034f \u115f \u3164 \ufe0f \u00ad \u200d")");
    EXPECT_EQ(json("\U0001D173 \U000E0001 \U000E0041 \U000E0100 \U0010FFFF"),
              R"("\ud834\udd73 \udb40\udc01 \udb40\udc41 \udb40\udd00 \udbff\udfff")");
    EXPECT_EQ(json("\u0350 \u1161 \U0001D172"), "\"\u0350 \u1161 \U0001D172\"");
}

TEST(JsonText, WritesStringsOrTheirBytes) {
    EXPECT_EQ(json("\"\\/\n\r\t\b\f\x01\x1f\x7f\xC3\xA4"),
              R"("\"\\/\n\r\t\u0008\u000c\u0001\u001f\u007f)"
              "\xC3\xA4\"");
    EXPECT_EQ(json(std::string_view("a\0b", 3)), "\"a\\u0000b\"");
    EXPECT_EQ(json(static_cast<const char*>(nullptr)), "null");
    EXPECT_EQ(json("a\xFF"), "{ \"base64\": \"Yf8=\" }");
}

TEST(Utf8, KnowsWellFormedText) {
    for (const char* good : {"", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                             "\xEE\x80\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(isUtf8(good)) << json(good);
    for (const char* bad :
         {"\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xE0\x9F\xBF", "\xE2\x82", "\xED\xA0\x80",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5", "\xE2\x82\xC3\xA4"})
        EXPECT_FALSE(isUtf8(bad)) << json(bad);
}

TEST(Utf8, CountsTerminalColumns) {
    const struct {
        const char* what;
        const char* text;
        size_t width;
    } kRows[] = {
        {"plain", "teapot", 6},
        {"a with dots of two characters, of one", "a\u0308\u00E4", 2},
        {"an ideograph, a teapot", "\u8336\U0001FAD6", 4},
        {"Hebrew points", "\u05D1\u05C1\u05B8", 1},
        {"Devanagari vowel signs and a virama", "\u0939\u093F\u0928\u094D\u0926\u0940", 5},
        {"halfwidth and fullwidth", "\uFF71\uFF21", 3},
        {"wide since emoji: alarm clock, star, Kana supplement", "\u23F0\u2B50\U0001B000", 6},
        {"narrow in the block of emoji: a thermometer", "\U0001F321", 1},
        {"a sign that encloses digits", "\u0600", 1},
    };
    for (const auto& row : kRows) EXPECT_EQ(displayWidth(row.text), row.width) << row.what;
}

TEST(Utf8, KnowsWhatCannotBeSeen) {
    for (const char* seen : {"a", "\u00A0", "\u0301", "\u0600", "\u06DD", "\u3000", "\U0001FAD6",
                             "\uFFFD", "\U0001FAE9"})
        EXPECT_FALSE(isUnprintable(firstCharacter(seen).codePoint)) << json(seen);
    for (const char* unseen :
         {"\x1F", "\x7F", "\u00AD", "\u200B", "\u2028", "\u202E", "\u2066", "\uFEFF", "\uE000",
          "\uFDD0", "\uFFFF", "\U000E0041", "\U0010FFFD", "\U00013430"})
        EXPECT_TRUE(isUnprintable(firstCharacter(unseen).codePoint)) << json(unseen);
}

TEST(SafeText, EscapesWhatCouldFoolATerminal) {
    EXPECT_EQ(inQuotes("\"\\\x1b[2J\n\r\t\x7f"), "\"\\\"\\\\\\x1b[2J\\n\\r\\t\\x7f\"");
    // A control sequence of one character; what turns the text round; no UTF-8.
    EXPECT_EQ(inQuotes("\xC2\x9B\xE2\x80\xAE\xFF\xC3"), "\"\\u{9b}\\u{202e}\\xff\\xc3\"");
    EXPECT_EQ(safeLine("C:\\a \"b\"\x1b"), "C:\\a \"b\"\\x1b");
    EXPECT_EQ(shownName("handle; grip"), "handle; grip");
    for (const char* name : {"", " a", "a ", "a\"b", "a\\b", "a\nb", "(scene)"})
        EXPECT_EQ(shownName(name), inQuotes(name));
}

}  // namespace
}  // namespace orbo::Quilmeta
