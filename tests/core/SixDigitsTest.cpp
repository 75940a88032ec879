// Tests of numbers with six significant digits.
// SPDX-License-Identifier: Apache-2.0
#include "core/SixDigits.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace orbo::Data {

namespace {

template <typename T>
bool survivesTrial(T value) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
    T again = 1;
    std::from_chars(text, end.ptr, again);
    return again == value;
}

template <typename T>
void expectTrial(T value) {
    EXPECT_EQ(survivesSixDigits(value), survivesTrial(value)) << value;
    EXPECT_EQ(survivesSixDigits(-value), survivesTrial(-value)) << -value;
}

template <typename T>
class SixDigits : public testing::Test {};
using Floats = testing::Types<float, double>;
TYPED_TEST_SUITE(SixDigits, Floats);

// Numbers of few digits, their neighbours, and any bits at all: the first two are where a fast
// decision could err.
TYPED_TEST(SixDigits, SurviveAsATrialSays) {
    using T = TypeParam;
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    constexpr T kInfinity = std::numeric_limits<T>::infinity();
    std::mt19937_64 random(7);
    for (int i = 0; i < 100'000; ++i) {
        const auto digits = static_cast<double>(random() % 10'000'000);
        const int power = static_cast<int>(random() % 60) - 30;
        const T decimal = static_cast<T>(digits * std::pow(10.0, power));
        expectTrial(decimal);
        expectTrial(std::nextafter(decimal, kInfinity));
        expectTrial(std::nextafter(decimal, -kInfinity));
        const Bits bits = static_cast<Bits>(random());
        T any;
        std::memcpy(&any, &bits, sizeof any);
        if (std::isfinite(any)) expectTrial(any);
        if (testing::Test::HasFailure()) return;
    }
    for (const T odd : {T(0), std::numeric_limits<T>::min(), std::numeric_limits<T>::max(),
                        std::numeric_limits<T>::denorm_min(), T(1e-16), T(1e22), T(999999.5),
                        T(16777217), T(0.1), T(1234565), T(123456.5)}) {
        expectTrial(odd);
    }
}

}  // namespace

}  // namespace orbo::Data
