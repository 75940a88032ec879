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

#include "core/EightBytes.h"
#include "core/EightDigits.h"
#endif

namespace orbo::Data {

#ifdef METADATA_FMT

namespace {

/// The digits of a number below 10^17, without zeros in front.
class Digits {
  public:
    explicit Digits(std::uint64_t number) {
        constexpr std::uint64_t kGroup = 100'000'000;
        const std::uint64_t low = eightDigits(static_cast<std::uint32_t>(number % kGroup));
        const std::uint64_t high = number / kGroup;
        put(kMost - 8, low);
        if (high == 0) {
            fFirst = fText + kMost - 8 + zerosOf(low);
            return;
        }
        const std::uint64_t middle = eightDigits(static_cast<std::uint32_t>(high % kGroup));
        put(kMost - 16, middle);
        fText[0] = static_cast<char>('0' + high / kGroup);
        // Has no branch: half of all doubles have 17 digits.
        fFirst = fText + (high < kGroup ? 1 : 0) * (1 + zerosOf(middle));
    }
    [[nodiscard]] int count() const { return static_cast<int>(fText + kMost - fFirst); }

    // Copies some of them from `begin` on. Copying a fixed number of bytes is faster than copying
    // only those needed.
    char* copy(char* to, int begin, int end) const {
        std::memcpy(to, fFirst + begin, kMost);
        return to + (end - begin);
    }

  private:
    static constexpr int kMost = 17;

    static int zerosOf(std::uint64_t digits) { return EightBytes::trailingZeros(digits) / 8; }
    void put(int at, std::uint64_t digits) {
        const std::uint64_t characters = digits | EightBytes::all('0');
        std::memcpy(fText + at, &characters, sizeof characters);
    }

    char fText[2 * kMost];
    const char* fFirst;
};

char* putZeros(char* to, int count) {
    std::memset(to, '0', 8);
    return to + count;
}

// Takes exponents from -4 to 5, as `printf` does with "%g".
char* putFixed(char* to, const Digits& digits, int exponent) {
    if (exponent < 0) {
        *to++ = '0';
        *to++ = '.';
        return digits.copy(putZeros(to, -exponent - 1), 0, digits.count());
    }
    const int whole = exponent + 1;
    if (digits.count() <= whole) {
        to = digits.copy(to, 0, digits.count());
        return putZeros(to, whole - digits.count());
    }
    to = digits.copy(to, 0, whole);
    *to++ = '.';
    return digits.copy(to, whole, digits.count());
}

char* putScientific(char* to, const Digits& digits, int exponent) {
    to = digits.copy(to, 0, 1);
    if (digits.count() > 1) {
        *to++ = '.';
        to = digits.copy(to, 1, digits.count());
    }
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
    const Digits digits(decimal.significand);
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
