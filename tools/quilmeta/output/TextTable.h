// A table of text with aligned columns.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Holds all its rows in memory, because every cell may widen its column.
class TextTable {
  public:
    struct Column {
        const char* title;
        size_t widest;         ///< a longer cell sticks out instead of widening the column
        bool isSpare = false;  ///< goes first where a terminal has no room for all
    };

    explicit TextTable(const std::vector<Column>& columns);
    /// Adds a row with a cell for each column. The cells must be safe to show.
    void add(std::vector<std::string> row);
    /// Writes the titles and the rows; writes nothing when there are no rows. Where spare columns
    /// are left out the titles end in an ellipsis.
    void write(Output& output) const;

  private:
    /// Which columns are shown, and how wide.
    struct Layout {
        std::vector<size_t> shown;
        std::vector<size_t> widths;  // of these
    };
    [[nodiscard]] Layout layoutWithin(size_t limit) const;
    bool fitWidths(Layout& layout, size_t limit) const;

    std::vector<Column> fColumns;
    std::vector<size_t> fWidths;
    std::vector<std::vector<std::string>> fRows;  // the first holds the titles
};

}  // namespace orbo::Quilmeta
