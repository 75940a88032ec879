// One line of an aligned table.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// A longer text sticks out of its column, so that it does not push all other rows to the right.
constexpr size_t kWidestColumn = 40;

/// Makes a column wide enough for the text, up to the widest that it may get.
void widen(size_t& width, std::string_view text, size_t widest = kWidestColumn);

/// Is filled with cells from the left; no blanks at its end.
class AlignedLine {
  public:
    explicit AlignedLine(size_t indent) : fText(indent, ' ') {}

    /// `gap` blanks stand in front of the column.
    void add(std::string_view text, size_t width, bool rightAligned, size_t gap);
    /// The line, with its line feed; nothing is added after that.
    std::string end();

  private:
    std::string fText;
    size_t fBlanks = 0;  // ahead of the next text
};

}  // namespace orbo::Quilmeta
