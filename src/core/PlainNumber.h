// Ordinary decimal numbers, faster than the standard library reads them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/Ascii.h"

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

    const char* takeDigits(const char* at, const char* last) {
        for (; at != last && Ascii::isDigit(*at); ++at) {
            fDigits = 10 * fDigits + static_cast<std::uint64_t>(*at - '0');
        }
        return at;
    }

    bool convert(bool isNegative, T& value) const {
        if constexpr (std::is_integral_v<T>) {
            const auto wide = static_cast<std::int64_t>(fDigits);
            const std::int64_t number = isNegative ? -wide : wide;
            value = static_cast<T>(number);
            return static_cast<std::int64_t>(value) == number;
        } else {
            // Both are held exactly, so that the quotient is rounded once.
            constexpr std::uint64_t kMostExact = std::uint64_t{1} << 53;
            if (fDigits > kMostExact) return false;
            const double exact = static_cast<double>(fDigits) / kPowersOfTen[fScale];
            if (!roundsOnce(exact)) return false;
            value = static_cast<T>(isNegative ? -exact : exact);
            return true;
        }
    }

    // To a float it is rounded a second time, which matters next to halfway between two of them.
    static bool roundsOnce(double exact) {
        if constexpr (sizeof(T) == sizeof(double)) return true;
        std::uint64_t bits = 0;
        std::memcpy(&bits, &exact, sizeof bits);
        constexpr std::uint64_t kHalf = std::uint64_t{1} << 28;
        const std::uint64_t dropped = bits & (2 * kHalf - 1);
        return dropped + 1 < kHalf || dropped > kHalf + 1;
    }

    static constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                              1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                              1e14, 1e15, 1e16, 1e17, 1e18};

    std::uint64_t fDigits = 0;
    int fScale = 0;
};

}  // namespace orbo::Data
