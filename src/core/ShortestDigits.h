// Writes numbers with the shortest digits that read back as the same value.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace orbo::Data {

/// The bytes that must be available: the longest text is "-2.2250738585072014e-308", and some more
/// are overwritten.
constexpr std::size_t kShortestRoom = 48;

/// Writes what `std::to_chars(to, ..., value, std::chars_format::general)` does, and returns the
/// end. Returns null for what is not finite, and for all numbers where the library was built
/// without the header of fmt.
char* writeShortest(char* to, float value);
char* writeShortest(char* to, double value);

}  // namespace orbo::Data
