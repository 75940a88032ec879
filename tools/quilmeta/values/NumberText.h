// Numbers in the fewest digits that read back as the very same value.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/ShortestDigits.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <type_traits>

namespace orbo::Quilmeta {

/// The longest number takes 24 bytes; some more are overwritten.
constexpr size_t kNumberRoom = Data::kShortestRoom;

/// Writes a number that is finite, but not 0, as `appendNumber` does, and returns the end.
template <typename Number>
char* writeFinite(char* to, Number number) {
    const Number magnitude = std::fabs(number);
    // Digits of larger numbers would be exact instead of the fewest.
    if (magnitude >= Number(1e-4) && magnitude < Number(sizeof number == 4 ? 1e7 : 1e15)) {
        char* const end = Data::writeShortest(to, number);
        // An exponent, which has two digits here, is not wanted.
        const bool hasExponent = end && end - to > 4 && end[-4] == 'e';
        if (end && !hasExponent) return end;
    }
    return fmt::format_to(to, FMT_COMPILE("{}"), number);
}

/// Appends a number. A float gets the digits that it needs to be read back as a float, not as a
/// double. NaN, Infinity and -Infinity stand for what is not finite.
template <typename Number>
void appendNumber(std::string& out, Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(number)) {
            out += "NaN";
        } else if (std::isinf(number)) {
            out += number < 0 ? "-Infinity" : "Infinity";
        } else if (number == 0) {
            out += std::signbit(number) ? "-0.0" : "0";  // many readers lose the sign of "-0"
        } else {
            char text[kNumberRoom];
            out.append(text, static_cast<size_t>(writeFinite(text, number) - text));
        }
    } else {
        const fmt::format_int digits(number);
        out.append(digits.data(), digits.size());
    }
}

}  // namespace orbo::Quilmeta
