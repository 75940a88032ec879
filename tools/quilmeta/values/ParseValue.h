// Reads a whole text as one value.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace orbo::Quilmeta {

enum class Parsed { kGood, kMalformed, kOutOfRange };

/// Takes the spellings of truth values that scene files use, and TRUE and FALSE of spreadsheets.
inline Parsed parseValue(std::string_view text, bool& value) {
    for (const char* word : {"1", "t", "T", "true", "True", "TRUE"})
        if (text == word) return value = true, Parsed::kGood;
    for (const char* word : {"0", "f", "F", "false", "False", "FALSE"})
        if (text == word) return value = false, Parsed::kGood;
    return Parsed::kMalformed;
}

/// Takes decimal digits without blanks, with a sign, a point and an exponent where the type allows
/// them. A number too small for the type, which would become 0, is out of range.
template <typename Number>
Parsed parseValue(std::string_view text, Number& value) {
    constexpr bool kReal = std::is_floating_point_v<Number>;
    // Words such as "inf" and hexadecimal digits could not be read back from a scene.
    if (text.find_first_not_of(kReal ? "0123456789+-.eE" : "0123456789+-") != text.npos)
        return Parsed::kMalformed;
    if (text.substr(0, 1) == "+" && text.substr(1, 1) != "-") text.remove_prefix(1);
    Number number{};
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec == std::errc::invalid_argument || result.ptr != end) return Parsed::kMalformed;
    if (result.ec == std::errc::result_out_of_range) return Parsed::kOutOfRange;
    if constexpr (kReal) {
        const std::string_view digits = text.substr(0, text.find_first_of("eE"));
        const bool lost = number == 0 && digits.find_first_of("123456789") != digits.npos;
        if (lost || std::isinf(number)) return Parsed::kOutOfRange;
    }
    value = number;
    return Parsed::kGood;
}

}  // namespace orbo::Quilmeta
