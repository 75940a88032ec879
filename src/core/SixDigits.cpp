// Numbers with six significant digits, as the standard streams write them by default.
// SPDX-License-Identifier: Apache-2.0
#include "core/SixDigits.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>

#include "core/EightBytes.h"
#include "core/EightDigits.h"

namespace orbo::Data {

namespace {

constexpr int kDigits = 6;
constexpr std::uint32_t kLimit = 1'000'000;

// The powers up to 1e22 are exact; the others are rounded once.
constexpr double kPowersOfTen[] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
    1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22, 1e23, 1e24, 1e25, 1e26, 1e27, 1e28, 1e29, 1e30, 1e31,
    1e32, 1e33, 1e34, 1e35, 1e36, 1e37, 1e38, 1e39, 1e40, 1e41, 1e42, 1e43, 1e44, 1e45, 1e46, 1e47,
    1e48, 1e49, 1e50, 1e51, 1e52, 1e53, 1e54, 1e55, 1e56, 1e57, 1e58, 1e59, 1e60};

// Below a million one rounding changes the value by less than 1.2e-10, and there are at most two:
// that of the power and that of the product or quotient.
constexpr double kTooNear = 1e-9;

double scaled(double value, int power) {
    return power >= 0 ? value * kPowersOfTen[power] : value / kPowersOfTen[-power];
}

// For a normal number: the decimal exponent, or one less.
int leastExponent(double magnitude) {
    std::uint64_t bits;
    std::memcpy(&bits, &magnitude, sizeof bits);
    const int binary = static_cast<int>(bits >> 52) - 1023;
    // log10(2) in fixed point, exact enough for the exponents between the limits below. Rounds
    // down.
    return (binary * 78913 + (1023 << 18)) / (1 << 18) - 1023;
}

/// A positive number, rounded to six digits: `whole` times ten to the power of `exponent` - 5. Is
/// passed on in a register.
struct Rounded {
    std::uint32_t whole = 0;
    int exponent = 0;

    [[nodiscard]] bool isKnown() const { return whole != 0; }
};

// Not known when it is too close to the middle between two results. The magnitude is within the
// range of the table of powers.
inline Rounded roundToSixDigits(double magnitude) {
    int exponent = leastExponent(magnitude);
    double number = scaled(magnitude, kDigits - 1 - exponent);
    if (number >= kLimit) number = scaled(magnitude, kDigits - 1 - ++exponent);
    auto whole = static_cast<std::uint32_t>(number);
    const double aboveHalf = number - whole - 0.5;
    if (std::fabs(aboveHalf) < kTooNear) return {};
    if (aboveHalf > 0 && ++whole == kLimit) {
        whole /= 10;
        ++exponent;
    }
    return {whole, exponent};
}

/// Six digits, the first of which is not 0, and how many of them remain without zeros at the end.
/// They stay in a register: memory that was just written in other pieces is slow to read.
class Digits {
  public:
    explicit Digits(std::uint32_t number) {
        const std::uint64_t digits = eightDigits(100 * number);
        fCharacters = digits | EightBytes::all('0');
        fCount = 8 - __builtin_clzll(digits) / 8;
    }
    [[nodiscard]] int count() const { return fCount; }
    [[nodiscard]] bool hasMoreThan(int count) const { return fCount > count; }
    /// There is room for eight.
    char* append(char* to, int from, int end) const {
        const std::uint64_t characters = fCharacters >> (8 * from);
        std::memcpy(to, &characters, sizeof characters);
        return to + (end - from);
    }

  private:
    std::uint64_t fCharacters;  // the first in the lowest byte
    int fCount;
};

char* appendFixed(char* to, const Digits& digits, int exponent) {
    if (exponent < 0) {
        std::memcpy(to, "0.00000", 8);
        return digits.append(to + 1 - exponent, 0, digits.count());
    }
    const int whole = exponent + 1;
    to = digits.append(to, 0, whole);
    if (!digits.hasMoreThan(whole)) return to;
    *to++ = '.';
    return digits.append(to, whole, digits.count());
}

char* appendScientific(char* to, const Digits& digits, int exponent) {
    to = digits.append(to, 0, 1);
    if (digits.hasMoreThan(1)) {
        *to++ = '.';
        to = digits.append(to, 1, digits.count());
    }
    *to++ = 'e';
    *to++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    *to++ = static_cast<char>('0' + size / 10);
    *to++ = static_cast<char>('0' + size % 10);
    return to;
}

}  // namespace

char* writeSixDigits(char* to, double value) {
    const double magnitude = std::fabs(value);
    *to = '-';  // without a branch: the sign is unpredictable
    to += std::signbit(value) ? 1 : 0;
    if (magnitude == 0) return *to++ = '0', to;
    // Keeps to the range of the table of powers, which has all floats; false also for NaN.
    if (!EightBytes::kUsable || !(magnitude >= 1e-54 && magnitude < 1e64)) return nullptr;

    const Rounded rounded = roundToSixDigits(magnitude);
    if (!rounded.isKnown()) return nullptr;
    const Digits digits(rounded.whole);
    const int exponent = rounded.exponent;
    return exponent >= -4 && exponent < kDigits ? appendFixed(to, digits, exponent)
                                                : appendScientific(to, digits, exponent);
}

namespace {

template <typename T>
bool survivesTrial(T value) {
    char text[32];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, kDigits).ptr;
    T again = 0;
    std::from_chars(text, end, again);
    return again == value;
}

// The double nearest to the rounded value: both factors are exact, and only the result is rounded.
// Empty where that is not so, or where arithmetic cannot tell.
std::optional<double> nearestOfSixDigits(double magnitude) {
    if (!(magnitude >= 1e-16 && magnitude < 1e22)) return std::nullopt;
    const Rounded rounded = roundToSixDigits(magnitude);
    if (!rounded.isKnown()) return std::nullopt;
    return scaled(rounded.whole, rounded.exponent - (kDigits - 1));
}

// Rounding to double first and then to float may end at the other neighbour of the middle between
// two floats.
bool isMiddleOfFloats(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    constexpr std::uint64_t kBelowFloat = (std::uint64_t{1} << 29) - 1;
    return (bits & kBelowFloat) == std::uint64_t{1} << 28;
}

}  // namespace

bool survivesSixDigits(float value) {
    const double magnitude = std::fabs(value);
    if (magnitude == 0) return true;
    const auto nearest = nearestOfSixDigits(magnitude);
    if (!nearest || isMiddleOfFloats(*nearest)) return survivesTrial(value);
    return static_cast<float>(*nearest) == static_cast<float>(magnitude);
}

bool survivesSixDigits(double value) {
    const double magnitude = std::fabs(value);
    if (magnitude == 0) return true;
    const auto nearest = nearestOfSixDigits(magnitude);
    return nearest ? *nearest == magnitude : survivesTrial(value);
}

}  // namespace orbo::Data
