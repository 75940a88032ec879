// A table of text with aligned columns.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output/Output.h"

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

    explicit TextTable(std::vector<Column> columns);
    /// One cell for each column, safe to show.
    void add(std::vector<std::string> row);
    /// The titles, then the rows; nothing when there are no rows.
    void write(Output& output) const;

  private:
    std::vector<size_t> fWidest;
    std::vector<size_t> fWidths;
    std::vector<std::vector<std::string>> fRows;  // the first holds the titles
};

}  // namespace orbo::Quilmeta
