// One line of an aligned table.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// Columns are no wider than this. A longer text sticks out, so that it moves the rest of its own
/// row and no other row.
constexpr size_t kWidestColumn = 40;

/// Makes a column wide enough for the text, but no wider than `widest`.
void widen(size_t& width, std::string_view text, size_t widest = kWidestColumn);

/// Takes `excess` columns from the widest of these, one at a time, as far as they have any to
/// spare. False when they have not so many.
bool narrow(const std::vector<size_t*>& widths, size_t excess);

/// Cuts the text to that many columns, the last of which tells so.
std::string cutToWidth(std::string_view text, size_t width);

/// Cells are added from left to right. The line has no blanks at its end.
class AlignedLine {
  public:
    /// `limit` is the width of a terminal: cells that would go beyond it are left out, and the line
    /// ends in a mark. 0 is no limit.
    explicit AlignedLine(size_t indent, size_t limit = 0)
        : fText(indent, ' '), fUsed(indent), fLimit(limit) {}

    /// Adds a cell, with `gap` blanks between it and the cell before.
    void add(std::string_view text, size_t width, bool rightAligned, size_t gap);
    /// Returns the line with a line feed. Nothing can be added after that.
    std::string end();

  private:
    std::string fText;
    size_t fUsed;  // columns
    size_t fLimit;
    bool fIsFull = false;
    size_t fBlanks = 0;  // to write before the next text, if one comes
};

}  // namespace orbo::Quilmeta
