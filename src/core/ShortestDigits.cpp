// Writes numbers with the shortest digits that read back as the same value.
// SPDX-License-Identifier: Apache-2.0
#include "core/ShortestDigits.h"

#ifdef METADATA_FMT
#define FMT_HEADER_ONLY
#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "core/EightBytes.h"
#include "core/EightDigits.h"
#endif

namespace orbo::Data {

#ifdef METADATA_FMT

namespace {

constexpr std::uint64_t kEightDigits = 100'000'000;

constexpr std::uint64_t powerOfTen(int exponent) {
    return exponent == 0 ? 1 : 10 * powerOfTen(exponent - 1);
}

constexpr std::uint64_t kPowersOfTen[] = {
    powerOfTen(0),  powerOfTen(1),  powerOfTen(2),  powerOfTen(3),  powerOfTen(4),  powerOfTen(5),
    powerOfTen(6),  powerOfTen(7),  powerOfTen(8),  powerOfTen(9),  powerOfTen(10), powerOfTen(11),
    powerOfTen(12), powerOfTen(13), powerOfTen(14), powerOfTen(15), powerOfTen(16)};

/// The digits of a number above 0 of at most 9 or 17 digits. They stay in registers: memory that
/// was just written in other pieces is slow to read.
template <int kMost>
class Digits {
  public:
    explicit Digits(std::uint64_t number) : fCount(fmt::detail::count_digits(number)) {
        number *= kPowersOfTen[kMost - fCount];
        if constexpr (kMost > 9) {
            fLast = charactersOf(number % kEightDigits);
            number /= kEightDigits;
        }
        fNext = charactersOf(number % kEightDigits);
        fFirst = static_cast<char>('0' + number / kEightDigits);
    }
    [[nodiscard]] int count() const { return fCount; }

    /// Needs room for 17 characters, as `putWithPoint` does for 24, however many there are.
    char* put(char* to) const {
        *to = fFirst;
        copy(to + 1, fNext);
        if constexpr (kMost > 9) copy(to + 9, fLast);
        return to + fCount;
    }
    /// `whole` of them, from one to seven, stand in front of the point, behind which is none where
    /// there are no more; missing ones are zeros.
    char* putWithPoint(char* to, int whole) const {
        *to = fFirst;
        copy(to + 1, fNext);
        to += whole;
        if (fCount <= whole) return to;
        *to++ = '.';
        const int passed = 8 * (whole - 1);
        if constexpr (kMost > 9) {
            copy(to, fNext >> passed | fLast << 1 << (63 - passed));
            copy(to + 8, fLast >> passed);
        } else {
            copy(to, fNext >> passed);
        }
        return to + fCount - whole;
    }

  private:
    static std::uint64_t charactersOf(std::uint64_t number) {
        return eightDigits(static_cast<std::uint32_t>(number)) | EightBytes::all('0');
    }
    static void copy(char* to, std::uint64_t characters) {
        std::memcpy(to, &characters, sizeof characters);
    }

    int fCount;
    char fFirst;
    std::uint64_t fNext;      // eight digits, the first in the lowest byte
    std::uint64_t fLast = 0;  // and eight more
};

// Takes exponents from -4 to 5, as `printf` does with "%g".
template <typename Number>
char* putFixed(char* to, const Number& digits, int exponent) {
    if (exponent >= 0) return digits.putWithPoint(to, exponent + 1);
    std::memcpy(to, "0.00000", 8);
    return digits.put(to + 1 - exponent);
}

template <typename Number>
char* putScientific(char* to, const Number& digits, int exponent) {
    to = digits.putWithPoint(to, 1);
    *to++ = 'e';
    *to++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    if (size >= 100) *to++ = static_cast<char>('0' + size / 100);
    *to++ = static_cast<char>('0' + size / 10 % 10);
    *to++ = static_cast<char>('0' + size % 10);
    return to;
}

template <typename T>
char* write(char* to, T value) {
    if (!EightBytes::kUsable || !std::isfinite(value)) return nullptr;
    *to = '-';
    to += std::signbit(value) ? 1 : 0;
    if (value == 0) return *to++ = '0', to;
    const auto decimal = fmt::detail::dragonbox::to_decimal(value);
    const Digits<std::is_same_v<T, float> ? 9 : 17> digits(decimal.significand);
    const int exponent = decimal.exponent + digits.count() - 1;
    return exponent >= -4 && exponent < 6 ? putFixed(to, digits, exponent)
                                          : putScientific(to, digits, exponent);
}

}  // namespace

char* writeShortest(char* to, float value) { return write(to, value); }
char* writeShortest(char* to, double value) { return write(to, value); }

#else

char* writeShortest(char*, float) { return nullptr; }
char* writeShortest(char*, double) { return nullptr; }

#endif

}  // namespace orbo::Data
