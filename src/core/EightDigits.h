// Takes a number apart into its decimal digits, and writes integers, without a loop.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/EightBytes.h"

namespace orbo::Data {

/// Gives the eight digits of a number below 10^8 as the bytes of another, the first digit in the
/// lowest byte. Divides two numbers of four digits, four of two and eight of one at a time.
inline std::uint64_t eightDigits(std::uint32_t number) {
    const std::uint64_t fours = number / 10000 | std::uint64_t{number % 10000} << 32;
    const std::uint64_t hundreds = (fours * 10486) >> 20 & 0x0000007F0000007F;
    const std::uint64_t pairs = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = (pairs * 103) >> 10 & 0x000F000F000F000F;
    return tens | (pairs - 10 * tens) << 8;
}

/// How many digits a number below 10^8 has: one or more.
inline unsigned digitsOf(std::uint32_t number) {
    constexpr std::uint32_t kPowersOfTen[] = {0,      10,      100,      1000,     10000,
                                              100000, 1000000, 10000000, 100000000};
    // A bit is worth 0.301 digits, of which this is the number, or one less.
    const unsigned bits = 32 - static_cast<unsigned>(__builtin_clz(number | 1));
    const unsigned least = (bits * 1233) >> 12;
    return least + (number >= kPowersOfTen[least] ? 1 : 0);
}

/// Writes an integer as `std::to_chars` does; returns the end. Needs room for 24 characters.
template <typename T>
char* writeInteger(char* to, T value) {
    constexpr std::uint64_t kEightDigits = 100'000'000;
    const bool isNegative = std::is_signed_v<T> && value < 0;
    const auto wide = static_cast<std::uint64_t>(+value);  // of a byte it makes an int first
    const std::uint64_t magnitude = isNegative ? 0 - wide : wide;
    *to = '-';  // without a branch: the sign is unpredictable
    to += isNegative ? 1 : 0;
    if (!EightBytes::kUsable || magnitude >= kEightDigits) {
        return std::to_chars(to, to + 20, magnitude).ptr;
    }
    const auto number = static_cast<std::uint32_t>(magnitude);
    const unsigned count = digitsOf(number);
    const std::uint64_t characters = eightDigits(number) | EightBytes::all('0');
    const std::uint64_t text = characters >> (64 - 8 * count);
    std::memcpy(to, &text, sizeof text);
    return to + count;
}

}  // namespace orbo::Data
