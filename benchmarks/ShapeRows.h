// The bare loop that reads shapes into a map.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

#include "Shapes.h"

namespace orbo::Benchmarks {

template <typename T>
const char* take(const char* at, const char* end, T& value) {
    return std::from_chars(at, end, value).ptr;
}
inline const char* take(const char* at, const char*, bool& value) {
    value = *at == 't';
    return at + (value ? 4 : 5);
}
inline const char* take(const char* at, const char*, std::string& value) {
    const char* from = ++at;
    for (; *at != '"'; ++at) {
        if (*at != '\\') continue;
        value.append(from, at++);
        value += *at == 'n' ? '\n' : *at;
        from = at + 1;
    }
    value.append(from, at);
    return at + 1;
}

// The limit: nothing is checked.
template <typename R>
Rows<R> readBare(const std::string& text, std::size_t lineEnd) {
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int i = 0; i < 3; ++i) at = std::find(at, end, '\n') + 1;
    Rows<R> rows;
    while (*at != 'e') {
        std::uint32_t index = 0;
        at = take(at, end, index) + lineEnd - 1;
        R row{};
        forEachValue(row, [&](auto& value) { at = take(at + 1, end, value); });
        at += lineEnd;
        rows.emplace_hint(rows.end(), index, std::make_unique<R>(std::move(row)));
    }
    return rows;
}

}  // namespace orbo::Benchmarks
