// Numbers with six significant digits, as the standard streams write them by default.
// SPDX-License-Identifier: Apache-2.0
#include "core/SixDigits.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace orbo::Data {

namespace {

constexpr int kDigits = 6;
constexpr std::uint32_t kLimit = 1'000'000;

// All powers of ten that a double holds exactly; a product or quotient with one is rounded only
// once.
constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Below a million one rounding changes the value by less than 1e-10.
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

constexpr char kPairs[] =
    "0001020304050607080910111213141516171819202122232425262728293031323334353637383940414243444546"
    "4748495051525354555657585960616263646566676869707172737475767778798081828384858687888990919293"
    "949596979899";

/// Six digits, the first of which is not 0, and how many of them remain without zeros at the end.
struct Digits {
    explicit Digits(std::uint32_t number) {
        const std::uint32_t pairs[] = {number / 10000, number / 100 % 100, number % 100};
        for (int i = 0; i < 3; ++i) std::memcpy(text + 2 * i, kPairs + 2 * pairs[i], 2);
        if (pairs[2] == 0) count = pairs[1] == 0 ? 2 : 4;
        if (text[count - 1] == '0') --count;
    }
    char text[kDigits + kCopied] = {};
    int count = kDigits;
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
    // Keeps to the range of the table of powers; false also for NaN.
    if (!(magnitude >= 1e-16 && magnitude < 1e27)) return nullptr;

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
