// Writes numbers with six significant digits, as the standard streams do by default.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace orbo::Data {

/// The bytes that must be available: the longest text is "-1.23457e-05", and some more are
/// overwritten.
constexpr std::size_t kSixDigitsRoom = 24;

/// Writes what `std::to_chars(to, ..., value, std::chars_format::general, 6)` does, and returns the
/// end. Returns null for the few numbers that only `std::to_chars` rounds right: near the middle
/// between two results, too large, too small, not finite.
char* writeSixDigits(char* to, double value);

/// Whether a value that is written with six digits reads back as it is. Writes it only where
/// arithmetic cannot tell. The value is finite.
bool survivesSixDigits(float value);
bool survivesSixDigits(double value);

}  // namespace orbo::Data
