// Single values as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "values/NumberText.h"

#include <cmath>
#include <string>
#include <string_view>
#include <type_traits>

namespace orbo::Quilmeta {

/// A JSON string; for what is not UTF-8, { "base64": "..." }.
void appendJson(std::string& out, std::string_view text);
/// Null is `null`.
void appendJson(std::string& out, const char* text);

/// Booleans, and numbers as `appendNumber` has them; in quotes what is not finite.
template <typename Value, typename = std::enable_if_t<std::is_arithmetic_v<Value>>>
void appendJson(std::string& out, Value value) {
    if constexpr (std::is_same_v<Value, bool>) {
        out += value ? "true" : "false";
    } else {
        const bool quote = !std::isfinite(static_cast<double>(value));
        if (quote) out += '"';
        appendNumber(out, value);
        if (quote) out += '"';
    }
}

}  // namespace orbo::Quilmeta
