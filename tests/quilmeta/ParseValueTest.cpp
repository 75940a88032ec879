// A whole text is one value of its type, or refused.
// SPDX-License-Identifier: Apache-2.0
#include "ParseValue.h"

#include <gtest/gtest.h>

#include <string>

namespace orbo::Quilmeta {
namespace {

/// What is refused leaves the value as it was.
template <typename Value>
void check(Parsed expected, std::initializer_list<std::pair<std::string, Value>> rows) {
    for (const auto& [text, result] : rows) {
        Value value = 1;
        EXPECT_EQ(parseValue(text, value), expected) << '"' << text << '"';
        EXPECT_EQ(value, result) << '"' << text << '"';
    }
}
template <typename Value>
void refuse(Parsed expected, std::initializer_list<std::string> texts) {
    for (const std::string& text : texts) check<Value>(expected, {{text, 1}});
}

TEST(ParseValue, TakesWholeIntegersInRange) {
    check<signed char>(Parsed::kGood, {{"-128", -128}, {"+127", 127}, {"007", 7}, {"-0", 0}});
    check<unsigned long long>(Parsed::kGood, {{"18446744073709551615", ~0ULL}});
    refuse<signed char>(Parsed::kOutOfRange, {"128", "-129", "99999999999999999999"});
    refuse<unsigned long long>(Parsed::kOutOfRange, {"18446744073709551616"});
    refuse<unsigned long long>(Parsed::kMalformed, {"-18446744073709551615"});
    refuse<int>(Parsed::kMalformed, {"", " 5", "5 ", "5\n", "12abc", "1,5", "1.0", "1e2", "0x10",
                                     "+", "-", "+-1", "++1", "1-", std::string("5\0", 2)});
}

TEST(ParseValue, TakesWholeRealsThatTheTypeCanHold) {
    check<double>(Parsed::kGood,
                  {{"-2e3", -2000}, {"+.5", 0.5}, {"1.", 1}, {"0e-999", 0}, {"5e-324", 5e-324}});
    check<float>(Parsed::kGood, {{"16777217", 16777216.0f}, {"1e-45", 1e-45f}});
    refuse<double>(Parsed::kOutOfRange, {"1e309", "-1e309", "1e-400"});
    refuse<float>(Parsed::kOutOfRange, {"1e39", "1e-46"});
    refuse<double>(Parsed::kMalformed, {"", "1,5", "1.5f", "1.5.5", ".", "e5", "1e", "inf", "nan",
                                        "0x1p3", "1 2", "+-1", "1'000"});
}

TEST(ParseValue, TakesTheSpellingsOfBooleansInScenes) {
    check<bool>(Parsed::kGood, {{"1", true}, {"t", true}, {"T", true}, {"true", true}});
    check<bool>(Parsed::kGood, {{"0", false}, {"f", false}, {"F", false}, {"False", false}});
    refuse<bool>(Parsed::kMalformed, {"", "TRUE", "yes", "2", "01", "truet", " 1"});
}

}  // namespace
}  // namespace orbo::Quilmeta
