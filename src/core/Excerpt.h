// Texts of files as messages show them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Data {

/// Messages show at most this many bytes of one text of a file; docs/check.md names the number.
/// Whole lines are that long in files that are well.
inline constexpr std::size_t kMostShown = 1000;
/// The number of bytes that they show of a value.
inline constexpr std::size_t kMostOfValue = 40;

/// Returns the text; of one longer than `most` only the beginning, with "..." behind it. Does not
/// cut a UTF-8 character in two. `most` is at least 8.
inline std::string excerptOf(std::string_view text, std::size_t most = kMostShown) {
    constexpr std::string_view kCut = "...";
    if (text.size() <= most) return std::string(text);
    const auto isInsideCharacter = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
    };
    std::size_t end = most - kCut.size();
    for (int steps = 0; steps < 3 && isInsideCharacter(end); ++steps) --end;
    return std::string(text.substr(0, end)).append(kCut);
}

/// Returns the excerpt in single quotes.
inline std::string inQuotes(std::string_view text, std::size_t most = kMostShown) {
    return "'" + excerptOf(text, most) + "'";
}

}  // namespace orbo::Data
