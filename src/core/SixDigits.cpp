// Numbers with six significant digits, as the standard streams write them by default.
// SPDX-License-Identifier: Apache-2.0
#include "core/SixDigits.h"

#include <cmath>
#include <cstdint>
#include <cstring>

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

// Copying a full register is faster than copying only the bytes needed.
constexpr int kCopied = 8;

/// Six digits, the first of which is not 0, and how many of them remain without zeros at the end.
struct Digits {
    explicit Digits(std::uint32_t number) {
        const std::uint64_t digits = eightDigits(100 * number);
        const std::uint64_t characters = digits | EightBytes::all('0');
        std::memcpy(text, &characters, sizeof characters);
        count = 8 - __builtin_clzll(digits) / 8;
    }
    char text[kDigits + kCopied];
    int count;
};

// `from` has kCopied bytes, `to` room for them.
char* append(char* to, const char* from, int count) {
    std::memcpy(to, from, kCopied);
    return to + count;
}

char* appendFixed(char* to, const Digits& digits, int exponent) {
    if (exponent < 0) {
        to = append(to, "0.00000", 1 - exponent);
        return append(to, digits.text, digits.count);
    }
    const int whole = exponent + 1;
    to = append(to, digits.text, whole);
    if (digits.count <= whole) return to;
    *to++ = '.';
    return append(to, digits.text + whole, digits.count - whole);
}

char* appendScientific(char* to, const Digits& digits, int exponent) {
    *to++ = digits.text[0];
    if (digits.count > 1) {
        *to++ = '.';
        to = append(to, digits.text + 1, digits.count - 1);
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

    int exponent = leastExponent(magnitude);
    double number = scaled(magnitude, kDigits - 1 - exponent);
    if (number >= kLimit) number = scaled(magnitude, kDigits - 1 - ++exponent);
    auto whole = static_cast<std::uint32_t>(number);
    const double aboveHalf = number - whole - 0.5;
    if (std::fabs(aboveHalf) < kTooNear) return nullptr;
    if (aboveHalf > 0 && ++whole == kLimit) {
        whole /= 10;
        ++exponent;
    }
    const Digits digits(whole);
    return exponent >= -4 && exponent < kDigits ? appendFixed(to, digits, exponent)
                                                : appendScientific(to, digits, exponent);
}

}  // namespace orbo::Data
