// Reads ordinary decimal numbers faster than the standard library.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/Ascii.h"
#include "core/EightBytes.h"

namespace orbo::Data {

/// Reads digits, with a "-" where the type is signed and a point where it has fractions, as long as
/// they are so few that the arithmetic is exact and gives what `std::from_chars` does. Returns null
/// for all others, such as numbers with an exponent.
template <typename T>
class PlainNumber {
  public:
    static const char* read(const char* first, const char* last, T& value) {
        const bool isNegative = first != last && *first == '-';
        if (isNegative && std::is_unsigned_v<T>) return nullptr;
        const char* const digits = first + (isNegative ? 1 : 0);
        PlainNumber number;
        const char* end = number.takeShort(digits, last);
        if (!end) end = number.takeLong(digits, last);
        if (!end) return nullptr;
        if constexpr (std::is_floating_point_v<T>) {
            if (end != last && (*end == 'e' || *end == 'E')) return nullptr;
        }
        return number.convert(isNegative, value) ? end : nullptr;
    }

  private:
    static constexpr std::ptrdiff_t kMostDigits = 18;  // always less than 2^63
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
                fScale = length - 1 - count;
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
        if constexpr (std::is_floating_point_v<T>) {
            fScale = 0;
            if (end != last && *end == '.') {
                const char* const fraction = end + 1;
                end = takeDigits(fraction, last);
                fScale = static_cast<unsigned>(end - fraction);
            }
        }
        return end - digits > kMostDigits ? nullptr : end;
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

    bool convert(bool isNegative, T& value) const {
        if constexpr (std::is_integral_v<T>) {
            const auto wide = static_cast<std::int64_t>(fDigits);
            const std::int64_t number = isNegative ? -wide : wide;
            value = static_cast<T>(number);
            return static_cast<std::int64_t>(value) == number;
        } else {
            constexpr std::uint64_t kMostExact = std::uint64_t{1} << 53;
            if (fDigits > kMostExact || fScale > kMostDigits) return false;
            const auto digits = static_cast<double>(fDigits);
            if constexpr (std::is_same_v<T, float>) {
                const double number = digits * kTenths[fScale];
                if (isNearHalfway(number)) return false;
                value = static_cast<float>(number * kSigns[isNegative]);
            } else {
                // Both operands are exact, so the quotient is rounded only once.
                const double number = digits / kPowersOfTen[fScale];
                value = number * kSigns[isNegative];
            }
            return true;
        }
    }

    // True when the double lies near the middle between two floats. The power of ten and the
    // product were rounded, so its last two bits may be wrong.
    static bool isNearHalfway(double number) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        constexpr std::uint64_t kHalf = std::uint64_t{1} << 28;
        constexpr std::uint64_t kNear = 4;
        const std::uint64_t dropped = bits & (2 * kHalf - 1);
        return dropped + kNear >= kHalf && dropped <= kHalf + kNear;
    }

    // A table instead of a branch: the sign is unpredictable.
    static constexpr double kSigns[] = {1, -1};
    static constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                              1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                              1e14, 1e15, 1e16, 1e17, 1e18};
    static constexpr double kTenths[] = {1e0,   1e-1,  1e-2,  1e-3,  1e-4,  1e-5,  1e-6,
                                         1e-7,  1e-8,  1e-9,  1e-10, 1e-11, 1e-12, 1e-13,
                                         1e-14, 1e-15, 1e-16, 1e-17, 1e-18};

    std::uint64_t fDigits = 0;
    unsigned fScale = 0;
};

}  // namespace orbo::Data
