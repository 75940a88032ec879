// Exact numbers as text, against the shortest digits of the standard library.
// SPDX-License-Identifier: Apache-2.0
#include "core/ShortestDigits.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include "core/ValueText.h"

namespace orbo::Data {
namespace {

class ShortestDigits : public testing::Test {
  protected:
    ShortestDigits() { ValueText::setExactNumbers(fOut, true); }

    // What is written with the library's headers and without them.
    template <typename T>
    void expectStandard(T value) {
        const ValueText::NumberFormat format(fOut);
        char ours[ValueText::kNumberRoom];
        char theirs[ValueText::kNumberRoom];
        const std::string text(ours, ValueText::put(ours, format, value));
        const std::string wanted(
            theirs,
            std::to_chars(theirs, theirs + sizeof theirs, value, std::chars_format::general).ptr);
        EXPECT_EQ(text, wanted);
        EXPECT_LE(text.size(), kShortestRoom);
    }

    template <typename T, typename Bits>
    void expectStandardForAllMagnitudes() {
        using Limits = std::numeric_limits<T>;
        std::mt19937_64 random(3);
        for (int i = 0; i < 200'000; ++i) {
            const auto pattern = static_cast<Bits>(random());
            T value;
            std::memcpy(&value, &pattern, sizeof value);
            expectStandard(value);
            const auto digits = static_cast<T>(random() % 2'000'000);
            expectStandard(digits * static_cast<T>(std::pow(10, static_cast<int>(i % 24) - 14)));
        }
        for (int power = Limits::min_exponent - Limits::digits; power < Limits::max_exponent;
             ++power) {
            const T two = std::ldexp(T{1}, power);
            for (const T value :
                 {two, std::nextafter(two, T{0}), std::nextafter(two, T{2} * two)}) {
                expectStandard(value);
                expectStandard(-value);
            }
        }
        for (const T value : {T{0}, -T{0}, Limits::max(), Limits::min(), Limits::denorm_min(),
                              Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
            expectStandard(value);
        }
    }

    std::ostringstream fOut;
};

TEST_F(ShortestDigits, OfFloatsAreTheStandardLibrarys) {
    expectStandardForAllMagnitudes<float, std::uint32_t>();
}
TEST_F(ShortestDigits, OfDoublesAreTheStandardLibrarys) {
    expectStandardForAllMagnitudes<double, std::uint64_t>();
}

}  // namespace
}  // namespace orbo::Data
