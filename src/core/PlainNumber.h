// Ordinary decimal numbers, faster than the standard library reads them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/Ascii.h"
#include "core/EightBytes.h"

namespace orbo::Data {

/// Digits, with a "-" and a point where the type has one, of so few that the arithmetic is exact
/// and gives what `std::from_chars` does. Null for all others, among them exponents.
template <typename T>
class PlainNumber {
  public:
    static const char* read(const char* first, const char* last, T& value) {
        const bool isNegative = first != last && *first == '-';
        if (isNegative && std::is_unsigned_v<T>) return nullptr;
        PlainNumber number;
        const char* const digits = first + (isNegative ? 1 : 0);
        const char* end = number.takeDigits(digits, last);
        if (end == digits) return nullptr;
        if constexpr (std::is_floating_point_v<T>) {
            if (end != last && *end == '.') {
                const char* const fraction = end + 1;
                end = number.takeDigits(fraction, last);
                number.fScale = static_cast<int>(end - fraction);
            }
            if (end != last && (*end == 'e' || *end == 'E')) return nullptr;
        }
        if (end - digits > kMostDigits) return nullptr;
        return number.convert(isNegative, value) ? end : nullptr;
    }

  private:
    static constexpr std::ptrdiff_t kMostDigits = 18;  // always less than 2^63
    static constexpr std::uint64_t kShifts[] = {1,      10,      100,      1000,     10000,
                                                100000, 1000000, 10000000, 100000000};

    const char* takeDigits(const char* at, const char* last) {
        if constexpr (EightBytes::kUsable) {
            // Up to eight at once, as where they end is hard to foresee for a processor.
            while (last - at >= EightBytes::kSize) {
                const int count = takeUpToEight(at);
                at += count;
                if (count < 8) return at;
            }
        }
        for (; at != last && Ascii::isDigit(*at); ++at) {
            fDigits = 10 * fDigits + static_cast<std::uint64_t>(*at - '0');
        }
        return at;
    }

    int takeUpToEight(const char* at) {
        constexpr auto all = EightBytes::all;
        std::uint64_t bytes = EightBytes(at).bits() ^ all('0');  // leaves the values of digits
        // Above 9, or above 127: the top bit of the byte.
        const std::uint64_t others = (((bytes & all(0x7F)) + all(0x7F - 9)) | bytes) & all(0x80);
        const int count = EightBytes::trailingZeros(others) / 8;
        if (count == 0) return 0;
        // Zeros in front, then neighbours together: two, four, all eight.
        bytes <<= 64 - 8 * count;
        bytes = (bytes * 10 + (bytes >> 8)) & 0x00FF00FF00FF00FF;
        bytes = (bytes * 100 + (bytes >> 16)) & 0x0000FFFF0000FFFF;
        bytes = (bytes * 10000 + (bytes >> 32)) & 0xFFFFFFFF;
        fDigits = fDigits * kShifts[count] + bytes;
        return count;
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
                value = static_cast<float>(isNegative ? -number : number);
            } else {
                // Both are exact, so that the quotient is rounded once.
                const double number = digits / kPowersOfTen[fScale];
                value = isNegative ? -number : number;
            }
            return true;
        }
    }

    // Between two floats, of a number that is right but for two of its last bits: the tenth and the
    // product with it were rounded.
    static bool isNearHalfway(double number) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        constexpr std::uint64_t kHalf = std::uint64_t{1} << 28;
        constexpr std::uint64_t kNear = 4;
        const std::uint64_t dropped = bits & (2 * kHalf - 1);
        return dropped + kNear >= kHalf && dropped <= kHalf + kNear;
    }

    static constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                              1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                              1e14, 1e15, 1e16, 1e17, 1e18};
    static constexpr double kTenths[] = {1e0,   1e-1,  1e-2,  1e-3,  1e-4,  1e-5,  1e-6,
                                         1e-7,  1e-8,  1e-9,  1e-10, 1e-11, 1e-12, 1e-13,
                                         1e-14, 1e-15, 1e-16, 1e-17, 1e-18};

    std::uint64_t fDigits = 0;
    int fScale = 0;
};

}  // namespace orbo::Data
