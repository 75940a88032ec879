// Reads the numbers in the text of an index.
// SPDX-License-Identifier: Apache-2.0

#include "streams/IndexNumbers.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "core/Ascii.h"

namespace orbo::Data {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }
bool isAllowed(char c) { return Ascii::isDigit(c) || isBlank(c); }

void skipBlanks(std::string_view& text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
}

std::optional<unsigned int> next(std::string_view& text) {
    skipBlanks(text);
    if (text.empty()) return std::nullopt;
    std::uint64_t number = 0;
    for (; !text.empty() && Ascii::isDigit(text.front()); text.remove_prefix(1)) {
        number = 10 * number + static_cast<std::uint64_t>(text.front() - '0');
        if (number > std::numeric_limits<unsigned int>::max()) return std::nullopt;
    }
    return static_cast<unsigned int>(number);
}

}  // namespace

std::optional<Index::eCreationErrors> readIndexNumbers(std::string_view text, unsigned int* numbers,
                                                       std::size_t count) {
    if (!std::all_of(text.begin(), text.end(), isAllowed)) return Index::eMalformedIndex;
    for (std::size_t i = 0; i < count; ++i) {
        const std::optional<unsigned int> number = next(text);
        if (!number) return Index::eMalformedIndex;
        numbers[i] = *number;
    }
    skipBlanks(text);
    if (!text.empty()) return Index::eTrailingData;
    return std::nullopt;
}

void takeIndexNumbers(std::string_view text, unsigned int* numbers, std::size_t count) {
    if (const auto problem = readIndexNumbers(text, numbers, count)) throw *problem;
}

}  // namespace orbo::Data
