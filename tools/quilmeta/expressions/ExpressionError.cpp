// What is wrong with an expression, and where in it.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/ExpressionError.h"

#include "values/SafeText.h"
#include "values/Utf8.h"

#include <fmt/format.h>

#include <algorithm>

namespace orbo::Quilmeta {

namespace {

// The bytes of a longer line that are shown in front of the caret and behind it.
constexpr size_t kWhole = 120;
constexpr size_t kBeside = 60;

/// Moves `at` forward to the next byte that can start a character.
size_t atCharacter(std::string_view text, size_t at) {
    while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) ++at;
    return at;
}

}  // namespace

std::string problemAt(std::string_view expression, size_t at, std::string_view problem) {
    const std::string_view before = expression.substr(0, at);
    const size_t number = 1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
    const size_t begin = before.rfind('\n') + 1;  // 0 in the first line
    std::string_view line = expression.substr(begin);
    line = line.substr(0, line.find('\n'));
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);

    const size_t caret = std::min(at - begin, line.size());
    const bool isLong = line.size() > kWhole;
    const size_t first = isLong && caret > kBeside ? atCharacter(line, caret - kBeside) : 0;
    const size_t end =
        isLong ? atCharacter(line, std::min(line.size(), caret + kBeside)) : line.size();
    const std::string head = (first > 0 ? "..." : "") + safeLine(line.substr(first, caret - first));
    const std::string tail = safeLine(line.substr(caret, end - caret));

    std::string text = expression.find('\n') == expression.npos
                           ? std::string()
                           : fmt::format("line {} of the expression: ", number);
    text += problem;
    fmt::format_to(std::back_inserter(text), "\n    {}{}{}\n    {:{}}^", head, tail,
                   end < line.size() ? "..." : "", "", displayWidth(head));
    return text;
}

}  // namespace orbo::Quilmeta
