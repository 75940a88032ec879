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
        size_t widest;  ///< a longer cell sticks out instead of widening the column
    };

    explicit TextTable(const std::vector<Column>& columns);
    /// Adds a row with a cell for each column. The cells must be safe to show.
    void add(std::vector<std::string> row);
    /// Writes the titles and the rows; writes nothing when there are no rows.
    void write(Output& output) const;

  private:
    [[nodiscard]] std::vector<size_t> widthsWithin(size_t limit, size_t gap) const;

    std::vector<size_t> fWidest;
    std::vector<size_t> fWidths;
    std::vector<std::vector<std::string>> fRows;  // the first holds the titles
};

}  // namespace orbo::Quilmeta
