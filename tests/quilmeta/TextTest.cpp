// Values and names as they are printed.
// SPDX-License-Identifier: Apache-2.0
#include "JsonText.h"
#include "SafeText.h"
#include "Utf8.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace orbo::Quilmeta {
namespace {

template <typename Value>
std::string json(Value value) {
    std::string text;
    appendJson(text, value);
    return text;
}

TEST(JsonText, WritesNumbersShortestAndExact) {
    using Limits = std::numeric_limits<double>;
    EXPECT_EQ(json(0.1f), "0.1");
    EXPECT_EQ(json(0.1), "0.1");
    EXPECT_EQ(json(double(0.1f)), "0.10000000149011612");
    EXPECT_EQ(json(-1.0), "-1");
    EXPECT_EQ(json(1e22), "1e+22");
    EXPECT_EQ(json(-0.0f), "-0.0");
    EXPECT_EQ(json(Limits::quiet_NaN()), "\"NaN\"");
    EXPECT_EQ(json(-Limits::quiet_NaN()), "\"NaN\"");
    EXPECT_EQ(json(Limits::infinity()), "\"Infinity\"");
    EXPECT_EQ(json(-std::numeric_limits<float>::infinity()), "\"-Infinity\"");
    EXPECT_EQ(json(static_cast<signed char>(-128)), "-128");
    EXPECT_EQ(json(static_cast<unsigned char>(65)), "65");
    EXPECT_EQ(json(18446744073709551615ULL), "18446744073709551615");
    EXPECT_EQ(json(-9223372036854775807LL - 1), "-9223372036854775808");
    EXPECT_EQ(json(true), "true");
}

TEST(JsonText, WritesRealsThatReadBackBitForBit) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        const std::uint64_t bits = random();
        double wide = 0;
        float narrow = 0;
        std::memcpy(&wide, &bits, sizeof wide);
        std::memcpy(&narrow, &bits, sizeof narrow);
        if (std::isfinite(wide)) {
            const double back = nlohmann::json::parse(json(wide)).get<double>();
            ASSERT_EQ(std::memcmp(&back, &wide, sizeof wide), 0) << json(wide);
        }
        if (std::isfinite(narrow)) {
            const float back = std::strtof(json(narrow).c_str(), nullptr);
            ASSERT_EQ(std::memcmp(&back, &narrow, sizeof narrow), 0) << json(narrow);
        }
    }
}

/// Our own document must be readable for an independent reader.
TEST(JsonText, WritesStringsThatReadBack) {
    for (const char* text :
         {"", "plain", "\"\\/", "a\nb\r\t\b\f\x01\x1f\x7f", "\xC3\xA4\xE2\x82\xAC",
          "\xF0\x9F\xAB\x96", "\xC2\x85\xE2\x80\xAE\xEF\xBB\xBF", "\xEE\x80\x80",
          "\xF3\xA0\x80\x81"}) {
        EXPECT_EQ(nlohmann::json::parse(json(text)).get<std::string>(), text);
        for (const char byte : json(text))
            EXPECT_TRUE(byte & 0x80 || (byte >= ' ' && byte != 0x7f));
    }
    EXPECT_EQ(json(std::string_view("a\0b", 3)), "\"a\\u0000b\"");
    EXPECT_EQ(json(static_cast<const char*>(nullptr)), "null");
}

TEST(JsonText, WritesOtherBytesAsBase64) {
    EXPECT_EQ(json("\xFF"), "{ \"base64\": \"/w==\" }");
    EXPECT_EQ(json("a\xFF"), "{ \"base64\": \"Yf8=\" }");
    EXPECT_EQ(json("\xFF\xFE\xFD"), "{ \"base64\": \"//79\" }");
    EXPECT_EQ(json("\xFFhello"), "{ \"base64\": \"/2hlbGxv\" }");
}

TEST(Utf8, KnowsWellFormedText) {
    for (const char* good :
         {"", "a", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(isUtf8(good)) << json(good);
    for (const char* bad : {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41",
                            "\xE0\x9F\xBF", "\xE2\x82", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
                            "\xF4\x90\x80\x80", "\xF5", "\xFF", "a\xE2\x82", "\xE2\x82\xC3\xA4"})
        EXPECT_FALSE(isUtf8(bad)) << json(bad);
}

TEST(Utf8, CountsTerminalColumns) {
    EXPECT_EQ(displayWidth("abc"), 3u);
    EXPECT_EQ(displayWidth("\xC3\xA4"), 1u);                  // a with dots
    EXPECT_EQ(displayWidth("a\xCC\x88"), 1u);                 // the same of two characters
    EXPECT_EQ(displayWidth("\xE8\x8C\xB6\xE5\xA3\xB6"), 4u);  // two ideographs
    EXPECT_EQ(displayWidth("\xF0\x9F\xAB\x96"), 2u);          // a teapot
}

TEST(SafeText, EscapesWhatCouldFoolATerminal) {
    EXPECT_EQ(inQuotes("a\"b\\c"), "\"a\\\"b\\\\c\"");
    EXPECT_EQ(inQuotes("\x1b[2J\n\r\t\x7f"), "\"\\x1b[2J\\n\\r\\t\\x7f\"");
    EXPECT_EQ(inQuotes("\xC2\x9B"), "\"\\u{9b}\"");        // a control sequence of one character
    EXPECT_EQ(inQuotes("\xE2\x80\xAE"), "\"\\u{202e}\"");  // turns the text round
    EXPECT_EQ(inQuotes("\xFF\xC3"), "\"\\xff\\xc3\"");
    EXPECT_EQ(safeLine("C:\\a \"b\"\x1b"), "C:\\a \"b\"\\x1b");
}

TEST(SafeText, LeavesNamesBareThatNobodyCanMisread) {
    EXPECT_EQ(shownName("bind pose"), "bind pose");
    EXPECT_EQ(shownName("handle; grip"), "handle; grip");
    for (const char* name : {"", " a", "a ", "a\"b", "a\\b", "a\nb", "\xFF", "(scene)"})
        EXPECT_EQ(shownName(name), inQuotes(name));
    EXPECT_EQ(shownNode(""), "(scene)");
}

}  // namespace
}  // namespace orbo::Quilmeta
