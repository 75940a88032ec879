// A whole text is one value of its type, or refused.
// SPDX-License-Identifier: Apache-2.0
#include "ParseValue.h"

#include <gtest/gtest.h>

#include <string>

namespace orbo::Quilmeta {
namespace {

constexpr Parsed kGood = Parsed::kGood;
constexpr Parsed kMalformed = Parsed::kMalformed;
constexpr Parsed kOutOfRange = Parsed::kOutOfRange;

template <typename Value>
struct Row {
    std::string text;
    Parsed parsed;
    Value value{};
};

/// What is refused leaves the value as it was.
template <typename Value>
void check(std::initializer_list<Row<Value>> rows) {
    for (const Row<Value>& row : rows) {
        Value value = 1;
        EXPECT_EQ(parseValue(row.text, value), row.parsed) << '"' << row.text << '"';
        const Value expected = row.parsed == kGood ? row.value : Value(1);
        EXPECT_EQ(value, expected) << '"' << row.text << '"';
    }
}

TEST(ParseValue, TakesWholeIntegersInRange) {
    check<signed char>({{"-128", kGood, -128},
                        {"+127", kGood, 127},
                        {"007", kGood, 7},
                        {"-0", kGood, 0},
                        {"128", kOutOfRange},
                        {"-129", kOutOfRange},
                        {"99999999999999999999", kOutOfRange}});
    check<unsigned char>({{"255", kGood, 255}, {"256", kOutOfRange}, {"-1", kMalformed}});
    check<long long>({{"-9223372036854775808", kGood, -9223372036854775807LL - 1},
                      {"9223372036854775808", kOutOfRange}});
    check<unsigned long long>({{"18446744073709551615", kGood, 18446744073709551615ULL},
                               {"18446744073709551616", kOutOfRange},
                               {"-18446744073709551615", kMalformed}});
    for (const char* text : {"", " ", " 5", "5 ", "12abc", "1,5", "1.0", "1e2", "0x10", "+", "-",
                             "--1", "+-1", "++1", "-+1", "1-", "\xC2\xB2", "5\n"})
        check<int>({{text, kMalformed}});
    check<int>({{std::string("5\0", 2), kMalformed}});
}

TEST(ParseValue, TakesWholeRealsThatTheTypeCanHold) {
    check<double>({{"-2e3", kGood, -2000},
                   {"+.5", kGood, 0.5},
                   {"1.", kGood, 1},
                   {"1E-2", kGood, 0.01},
                   {"0e-999", kGood, 0},
                   {"5e-324", kGood, 5e-324},
                   {"1.7976931348623157e308", kGood, 1.7976931348623157e308},
                   {"1e309", kOutOfRange},
                   {"-1e309", kOutOfRange},
                   {"1e-400", kOutOfRange}});
    check<float>({{"16777217", kGood, 16777216.0f},
                  {"1e39", kOutOfRange},
                  {"1e-46", kOutOfRange},
                  {"1e-45", kGood, 1e-45f}});
    for (const char* text : {"", "1,5", "1.5f", "1.5.5", ".", "e5", "1e", "1e+", "inf", "-inf",
                             "nan", "infinity", "0x1p3", "1 2", "+-1", "1_000", "1'000",
                             "\xE2\x88\x92"
                             "1"})
        check<double>({{text, kMalformed}});
}

TEST(ParseValue, TakesTheSpellingsOfBooleansInScenes) {
    for (const char* text : {"1", "t", "T", "true", "True"}) check<bool>({{text, kGood, true}});
    for (const char* text : {"0", "f", "F", "false", "False"}) check<bool>({{text, kGood, false}});
    for (const char* text : {"", "TRUE", "yes", "2", "01", "truet", " 1"})
        check<bool>({{text, kMalformed}});
}

}  // namespace
}  // namespace orbo::Quilmeta
