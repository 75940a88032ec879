// Numbers and characters by the fast ways, against the standard library's.
// SPDX-License-Identifier: Apache-2.0
#include "core/PlainNumber.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include "core/SixteenBytes.h"

namespace orbo::Data {
namespace {

/// Makes texts of numbers that are hard in one way or another.
class PlainNumbers : public testing::Test {
  protected:
    std::uint64_t bits() { return fRandom(); }

    std::string digits(std::size_t count) {
        std::string text;
        while (text.size() < count) text += static_cast<char>('0' + bits() % 10);
        return text;
    }
    std::string decimal() {
        std::string text = bits() % 2 ? "-" : "";
        const std::size_t whole = bits() % 12;
        if (bits() % 8 == 0) text += std::string(bits() % 30, '0');
        text += digits(whole);
        if (bits() % 4 != 0) text += '.' + std::string(bits() % 6 == 0 ? bits() % 30 : 0, '0');
        text += digits(bits() % 12);
        if (bits() % 3 == 0) {
            const auto exponent = std::to_string(bits() % (bits() % 2 ? 30 : 400));
            text += (bits() % 2 ? "e" : "E") + std::string(bits() % 2 ? "-" : "") + exponent;
        }
        return text;
    }
    // A number exactly between two others, or just beside it: seventeen digits round either way.
    template <typename T>
    std::string middle() {
        const T lower = std::ldexp(static_cast<T>(bits() >> (sizeof(T) == 4 ? 40 : 11)),
                                   static_cast<int>(bits() % 60) - 40);
        const auto wide = static_cast<long double>(lower);
        const long double upper = std::nextafter(lower, std::numeric_limits<T>::infinity());
        char text[64];
        std::snprintf(text, sizeof text, "%.*Lg", static_cast<int>(9 + bits() % 11),
                      (wide + upper) / 2);
        return text;
    }

    /// Whatever is taken is what the standard library takes, and the fast way takes the ordinary.
    template <typename T>
    void expectStandard(const std::string& text) {
        const char* const last = text.data() + text.size();
        T fast = 0;
        const char* const end = PlainNumber<T>::read(text.data(), last, fast);
        T standard = 0;
        const auto [stop, error] = std::from_chars(text.data(), last, standard);
        fTaken += end ? 1 : 0;
        fOrdinary += error == std::errc() ? 1 : 0;
        if (!end) return;
        EXPECT_TRUE(error == std::errc()) << text;
        EXPECT_EQ(end, stop) << text;
        EXPECT_EQ(std::memcmp(&fast, &standard, sizeof fast), 0) << text;
    }

    std::mt19937_64 fRandom{5};
    int fTaken = 0;
    int fOrdinary = 0;
};

TEST_F(PlainNumbers, AreThoseOfTheStandardLibrary) {
    for (int i = 0; i < 200'000; ++i) {
        const std::string text = decimal();
        expectStandard<float>(text);
        expectStandard<double>(text);
        expectStandard<int>(text);
        expectStandard<unsigned long long>(text);
        expectStandard<long long>(digits(1 + bits() % 22));
    }
    EXPECT_GT(fTaken, fOrdinary / 2);
    for (int i = 0; i < 200'000; ++i) {
        expectStandard<float>(middle<float>());
        expectStandard<double>(middle<double>());
    }
}

TEST_F(PlainNumbers, AtTheEndsOfTheirTypes) {
    for (const char* const text : {"3.4028235e38",
                                   "3.4028236e38",
                                   "1.17549435e-38",
                                   "1e-45",
                                   "7e-46",
                                   "1.7976931348623157e308",
                                   "1.7976931348623159e308",
                                   "2.2250738585072014e-308",
                                   "2.225073858507201e-308",
                                   "5e-324",
                                   "2e-324",
                                   "0e999",
                                   "-0.0",
                                   "-0e-5",
                                   "9223372036854775807",
                                   "9223372036854775808",
                                   "-9223372036854775808",
                                   "18446744073709551615",
                                   "9999999999999999999",
                                   "2147483648",
                                   "-2147483648",
                                   "4294967296",
                                   "000000000000000000000000001",
                                   "1e",
                                   "1e+",
                                   "1e-x",
                                   "1.e5",
                                   ".5e1",
                                   ".",
                                   "-",
                                   "",
                                   "1e12345",
                                   "1e0000000000001"}) {
        expectStandard<float>(text);
        expectStandard<double>(text);
        expectStandard<int>(text);
        expectStandard<unsigned int>(text);
        expectStandard<long long>(text);
        expectStandard<unsigned long long>(text);
    }
}

TEST_F(PlainNumbers, SixteenBytesAreExaminedAlikeByBothWays) {
    for (int i = 0; i < 20'000; ++i) {
        std::string text(bits() % 70, 'x');
        for (char& c : text) c = bits() % 20 == 0 ? "\"\\\n\xFF"[bits() % 4] : 'x';
        const char* const last = text.data() + text.size();
        const std::string_view wanted = text;
        const auto found = std::min(wanted.find_first_of("\"\\"), wanted.size());
        EXPECT_EQ(findFirstOf(text.data(), last, '"', '\\'), text.data() + found);
        EXPECT_EQ(findFirstOf<SixteenPlainBytes>(text.data(), last, '"', '\\'),
                  text.data() + found);
    }
}

}  // namespace
}  // namespace orbo::Data
