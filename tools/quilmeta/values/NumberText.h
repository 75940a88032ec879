// Numbers in the fewest digits that read back as the very same value.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <type_traits>

namespace orbo::Quilmeta {

/// Without a look at a format, and with one copy.
template <typename Number>
void appendFinite(std::string& out, Number number) {
    constexpr size_t kRoom = 64;  // the longest number takes 24
    char text[kRoom];
    const char* const end = fmt::format_to(text, FMT_COMPILE("{}"), number);
    out.append(text, static_cast<size_t>(end - text));
}

/// Appends a number. A float gets the digits that it needs to be read back as a float, not as a
/// double. NaN, Infinity and -Infinity stand for what is not finite.
template <typename Number>
void appendNumber(std::string& out, Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(number))
            out += "NaN";
        else if (std::isinf(number))
            out += number < 0 ? "-Infinity" : "Infinity";
        else if (number == 0 && std::signbit(number))
            out += "-0.0";  // many readers take "-0" for an integer and lose the sign
        else
            appendFinite(out, number);
    } else {
        const fmt::format_int digits(number);
        out.append(digits.data(), digits.size());
    }
}

}  // namespace orbo::Quilmeta
