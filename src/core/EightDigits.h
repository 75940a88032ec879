// Takes a number apart into its decimal digits without a loop.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

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

}  // namespace orbo::Data
