// Numbers with six significant digits, as the standard streams write them by default.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace orbo::Data {

/// Bytes that must be there: the longest, "-1.23457e-05", and some that are written behind it.
constexpr std::size_t kSixDigitsRoom = 24;

/// Writes what `std::to_chars(to, ..., value, std::chars_format::general, 6)` does, and returns the
/// end; null where only that can tell: numbers too near to halfway between two results, too large,
/// too small, not finite. There are few of them.
char* writeSixDigits(char* to, double value);

}  // namespace orbo::Data
