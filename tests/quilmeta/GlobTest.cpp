// Patterns of names.
// SPDX-License-Identifier: Apache-2.0
#include "selection/NamePatterns.h"
#include "values/Glob.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace orbo::Quilmeta {
namespace {

/// The captures with bars between; "-" without a match.
std::string captured(const char* pattern, std::string_view text) {
    const auto captures = Glob(pattern).captures(text);
    EXPECT_EQ(Glob(pattern).matches(text), captures.has_value());
    if (!captures) return "-";
    std::string shown;
    for (const std::string_view capture : *captures) shown.append(capture) += '|';
    return shown;
}

TEST(Glob, TakesWildcardsInPlaceOfText) {
    const struct {
        const char *pattern, *text, *captures;
    } rows[] = {
        {"", "", ""},
        {"", "a", "-"},
        {"*", "", "|"},
        {"*", "a:b|c/d", "a:b|c/d|"},
        {"a*", "a", "|"},
        {"*a", "banana", "banan|"},
        {"*an*", "banana", "b|ana|"},
        {"old:*", "old:rig:arm", "rig:arm|"},
        {"?", "", "-"},
        {"?", "é", "é|"},
        {"?", "\xc3", "\xc3|"},
        {"??", "é", "-"},
        {"*?", "éa", "é|a|"},
        {"*?*b", "aéb", "|a|é|"},
        {"a\\*b", "a*b", ""},
        {"a\\*b", "axb", "-"},
        {"a\\?", "a?", ""},
        {"a\\\\", "a\\", ""},
        {"a\\b", "ab", ""},
        {"a\\", "a\\", ""},
        {"[ab]", "a", "-"},
        {"[ab]", "[ab]", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(captured(row.pattern, row.text), row.captures)
            << row.pattern << " on " << row.text;
}

/// Every way to let a wildcard stand for some text is tried.
bool slowlyMatches(std::string_view pattern, std::string_view text) {
    if (pattern.empty()) return text.empty();
    if (pattern[0] == '*')
        return slowlyMatches(pattern.substr(1), text) ||
               (!text.empty() && slowlyMatches(pattern, text.substr(1)));
    return !text.empty() && (pattern[0] == '?' || pattern[0] == text[0]) &&
           slowlyMatches(pattern.substr(1), text.substr(1));
}

TEST(Glob, AgreesWithTryingEverything) {
    std::mt19937 random(7);
    const auto word = [&](std::string_view letters) {
        std::string text(random() % 8, ' ');
        for (char& letter : text) letter = letters[random() % letters.size()];
        return text;
    };
    size_t matches = 0;
    for (int i = 0; i < 100'000; ++i) {
        const std::string pattern = word("ab*?");
        const std::string text = word("ab");
        const bool expected = slowlyMatches(pattern, text);
        matches += expected ? 1 : 0;
        ASSERT_EQ(Glob(pattern).matches(text), expected) << pattern << " on " << text;
        const auto captures = Glob(pattern).captures(text);
        ASSERT_EQ(captures.has_value(), expected) << pattern << " on " << text;
        if (captures) {
            ASSERT_EQ(Glob(pattern).filledWith(*captures), text) << pattern;
        }
    }
    EXPECT_GT(matches, 10'000U);
}

TEST(NamePatterns, LeaveTheScenesOwnMetadataToThoseWhoNameIt) {
    NamePatterns patterns;
    EXPECT_TRUE(patterns.want(""));
    patterns.add("*");
    EXPECT_FALSE(patterns.want(""));
    EXPECT_TRUE(patterns.want("arm"));
    EXPECT_FALSE(patterns.onlyNames());
    patterns.add("");
    EXPECT_TRUE(patterns.want(""));
    NamePatterns literal;
    literal.add("*", NamePatterns::As::kLiteral);
    EXPECT_FALSE(literal.want("arm"));
    EXPECT_EQ(literal.onlyNames(), std::set<std::string>{"*"});
}

}  // namespace
}  // namespace orbo::Quilmeta
