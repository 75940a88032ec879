// Reads ordinary decimal numbers faster than the standard library.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "core/Ascii.h"
#include "core/DecimalToBinary.h"
#include "core/EightBytes.h"

namespace orbo::Data {

/// Reads digits, with a "-" where the type is signed, and a point and an exponent where it has
/// fractions, as long as they are so few that the result is certainly that of `std::from_chars`.
/// Returns null for all others.
template <typename T>
class PlainNumber {
  public:
    static const char* read(const char* first, const char* last, T& value) {
        if (first == last) return nullptr;
        // Arithmetic that the compiler makes no branch of: the sign is unpredictable.
        const unsigned negative = ((static_cast<unsigned char>(*first) ^ unsigned{'-'}) - 1) >> 31;
        if (std::is_unsigned_v<T> && negative != 0) return nullptr;
        const char* const digits = first + negative;
        PlainNumber number;
        const char* end = number.takeShort(digits, last);
        if (!end) end = number.takeLong(digits, last);
        if (!end) return nullptr;
        if constexpr (std::is_floating_point_v<T>) {
            if (end != last && (*end == 'e' || *end == 'E')) {
                end = number.takeExponent(end + 1, last);
                if (!end) return nullptr;
            }
        }
        return number.convert(negative, value) ? end : nullptr;
    }

    /// Reads an integer that takes all of the `size` characters, one to eight digits and a sign;
    /// false for any other. Eight characters behind the sign can be read, whatever they are.
    static bool readShort(const char* first, std::size_t size, T& value) {
        static_assert(std::is_integral_v<T>);
        const std::size_t negative = std::is_signed_v<T> && *first == '-' ? 1 : 0;
        const std::size_t count = size - negative;
        if (!EightBytes::kUsable || count - 1 >= EightBytes::kSize) return false;
        const std::uint64_t values = valuesAt(first + negative);
        if (othersIn(values << (64 - 8 * count)) != 0) return false;
        PlainNumber number;
        number.fDigits = numberOf(values, static_cast<unsigned>(count));
        return number.convert(static_cast<unsigned>(negative), value);
    }

  private:
    static constexpr std::ptrdiff_t kMostDigits = 19;  // always less than 2^64
    static constexpr std::uint64_t kShifts[] = {1,      10,      100,      1000,     10000,
                                                100000, 1000000, 10000000, 100000000};

    // Most numbers end within eight characters, including the point. Taking all digits at once
    // avoids a branch that the processor cannot predict. Returns null for longer numbers.
    const char* takeShort(const char* at, const char* last) {
        if (!EightBytes::kUsable || last - at < EightBytes::kSize) return nullptr;
        std::uint64_t values = valuesAt(at);
        std::uint64_t others = othersIn(values);
        if (others == 0) return nullptr;
        unsigned count = bytesBefore(others);
        const char* end = at + count;
        if constexpr (std::is_floating_point_v<T>) {
            if (*end == '.') {
                others &= others - 1;
                if (others == 0) return nullptr;
                const std::uint64_t whole = (std::uint64_t{1} << (8 * count)) - 1;
                values = (values & whole) | ((values >> 8) & ~whole);
                const unsigned length = bytesBefore(others);
                end = at + length;
                fPower = static_cast<int>(count) - static_cast<int>(length - 1);
                count = length - 1;
            }
        }
        if (count == 0) return nullptr;
        fDigits = numberOf(values, count);
        return end;
    }

    const char* takeLong(const char* digits, const char* last) {
        const char* end = takeDigits(digits, last);
        if (end == digits) return nullptr;
        std::ptrdiff_t count = end - digits;
        if constexpr (std::is_floating_point_v<T>) {
            if (end != last && *end == '.') {
                const char* const fraction = end + 1;
                const char* counted = fraction;
                if (fDigits == 0) {
                    count = 0;
                    while (counted != last && *counted == '0') ++counted;
                }
                end = takeDigits(counted, last);
                if (end - fraction > kMostPlaces) return nullptr;
                count += end - counted;
                fPower = -static_cast<int>(end - fraction);
            }
        }
        return count > kMostDigits ? nullptr : end;
    }

    // Takes what stands behind the "e". Four digits are more than any number needs.
    const char* takeExponent(const char* at, const char* last) {
        const bool isNegative = at != last && *at == '-';
        if (at != last && (*at == '-' || *at == '+')) ++at;
        const char* const digits = at;
        int exponent = 0;
        for (; at != last && at - digits < 4 && Ascii::isDigit(*at); ++at) {
            exponent = 10 * exponent + (*at - '0');
        }
        if (at == digits || (at != last && Ascii::isDigit(*at))) return nullptr;
        fPower += isNegative ? -exponent : exponent;
        return at;
    }

    const char* takeDigits(const char* at, const char* last) {
        while (EightBytes::kUsable && last - at >= EightBytes::kSize) {
            const std::uint64_t values = valuesAt(at);
            const std::uint64_t others = othersIn(values);
            const unsigned count = others == 0 ? EightBytes::kSize : bytesBefore(others);
            if (count == 0) return at;
            fDigits = fDigits * kShifts[count] + numberOf(values, count);
            at += count;
            if (others != 0) return at;
        }
        for (; at != last && Ascii::isDigit(*at); ++at) {
            fDigits = 10 * fDigits + static_cast<std::uint64_t>(*at - '0');
        }
        return at;
    }

    // XOR turns each digit into its value, in its own byte.
    static std::uint64_t valuesAt(const char* at) {
        return EightBytes(at).bits() ^ EightBytes::all('0');
    }

    // The top bit of each byte whose value is above 9.
    static std::uint64_t othersIn(std::uint64_t values) {
        constexpr auto all = EightBytes::all;
        return (((values & all(0x7F)) + all(0x7F - 9)) | values) & all(0x80);
    }

    // `others` is not 0.
    static unsigned bytesBefore(std::uint64_t others) {
        return static_cast<unsigned>(EightBytes::trailingZeros(others)) / 8;
    }

    // Combines the first one to eight values into a number.
    static std::uint64_t numberOf(std::uint64_t values, unsigned count) {
        // Shifts zeros in front, then combines neighbours: pairs, fours, all eight.
        values <<= 64 - 8 * count;
        values = (values * 10 + (values >> 8)) & 0x00FF00FF00FF00FF;
        values = (values * 100 + (values >> 16)) & 0x0000FFFF0000FFFF;
        return (values * 10000 + (values >> 32)) & 0xFFFFFFFF;
    }

    bool convert(unsigned negative, T& value) const {
        if constexpr (std::is_unsigned_v<T>) {
            value = static_cast<T>(fDigits);
            return value == fDigits;
        } else if constexpr (std::is_integral_v<T>) {
            if (fDigits > static_cast<std::uint64_t>(std::numeric_limits<T>::max())) return false;
            const auto number = static_cast<std::int64_t>(fDigits);
            const std::int64_t sign = negative;
            const std::int64_t complete = (number ^ -sign) + sign;
            value = static_cast<T>(complete);
            return true;
        } else {
            T number = 0;
            if (!convertExactly(number) && !decimalToBinary(fDigits, fPower, number)) return false;
            value = number * kSigns<T>[negative];
            return true;
        }
    }

    // Where both operands are exact, their quotient or product is rounded only once.
    bool convertExactly(float& number) const {
        constexpr std::uint64_t kMostExact = std::uint64_t{1} << 24;
        if (fPower > 0 || fPower < -kMostFloatPower) return convertAsDouble(number);
        if (fDigits > kMostExact) return convertAsDouble(number);
        const auto digits = static_cast<float>(static_cast<std::int32_t>(fDigits));
        number = digits / kFloatPowersOfTen[-fPower];
        return true;
    }
    bool convertExactly(double& number) const {
        constexpr std::uint64_t kMostExact = std::uint64_t{1} << 53;
        if (fDigits > kMostExact || fPower > kMostPower || fPower < -kMostPower) return false;
        const auto digits = static_cast<double>(static_cast<std::int64_t>(fDigits));
        number = fPower <= 0 ? digits / kPowersOfTen[-fPower] : digits * kPowersOfTen[fPower];
        return true;
    }

    // A double of these powers is neither too large nor too small for a float.
    bool convertAsDouble(float& number) const {
        double wide = 0;
        if (fPower > 18 || !convertExactly(wide) || isNearHalfway(wide)) return false;
        number = static_cast<float>(wide);
        return true;
    }

    // True when the double, which was rounded, lies near the middle between two floats.
    static bool isNearHalfway(double number) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        constexpr std::uint64_t kHalf = std::uint64_t{1} << 28;
        const std::uint64_t dropped = bits & (2 * kHalf - 1);
        return dropped + 1 >= kHalf && dropped <= kHalf + 1;
    }

    static constexpr int kMostPlaces = 1000;
    static constexpr int kMostFloatPower = 10;
    static constexpr int kMostPower = 22;
    // A table instead of a branch: the sign is unpredictable.
    template <typename Floating>
    static constexpr Floating kSigns[] = {1, -1};
    static constexpr float kFloatPowersOfTen[] = {1e0F, 1e1F, 1e2F, 1e3F, 1e4F, 1e5F,
                                                  1e6F, 1e7F, 1e8F, 1e9F, 1e10F};
    static constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                              1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                              1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

    std::uint64_t fDigits = 0;
    int fPower = 0;  // of ten, by which the digits are multiplied
};

}  // namespace orbo::Data
