// Single values as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "values/NumberText.h"

#include <cmath>
#include <string>
#include <string_view>
#include <type_traits>

namespace orbo::Quilmeta {

/// A JSON string; { "base64": "..." } for bytes that are no UTF-8.
void appendJson(std::string& out, std::string_view text);
/// The same, and `null` for a null pointer.
void appendJson(std::string& out, const char* text);

/// Whether quotes make it a JSON string: each byte is printable ASCII that needs no escape.
bool isPlainText(std::string_view text);

/// How values of 64-bit members are written. Readers that use doubles would round numbers.
enum class WideIntegers { kNumbers, kStrings };

/// Sets it for all JSON of the process. It is `kNumbers` until then.
void setWideIntegers(WideIntegers how);
WideIntegers wideIntegers();

/// Booleans, and numbers as `appendNumber` writes them. Numbers that are not finite get quotes.
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
