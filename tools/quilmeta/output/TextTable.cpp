// A table of text with aligned columns.
// SPDX-License-Identifier: Apache-2.0
#include "output/TextTable.h"

#include "output/AlignedLine.h"
#include "process/TerminalWidth.h"

#include <utility>

namespace orbo::Quilmeta {

TextTable::TextTable(const std::vector<Column>& columns) : fWidths(columns.size(), 0) {
    std::vector<std::string> titles;
    for (const Column& column : columns) {
        titles.emplace_back(column.title);
        fWidest.push_back(column.widest);
    }
    add(std::move(titles));
}

void TextTable::add(std::vector<std::string> row) {
    for (size_t i = 0; i < fWidths.size(); ++i) widen(fWidths[i], row[i], fWidest[i]);
    fRows.push_back(std::move(row));
}

/// The widths of the columns where all of a row has to fit in; a cell may stick out no longer.
std::vector<size_t> TextTable::widthsWithin(size_t limit, size_t gap) const {
    std::vector<size_t> widths(fWidths.size(), 0);
    for (const std::vector<std::string>& row : fRows)
        for (size_t i = 0; i < row.size(); ++i) widen(widths[i], row[i], limit);
    size_t sum = gap * (widths.size() - 1);
    std::vector<size_t*> all;
    for (size_t& width : widths) {
        sum += width;
        all.push_back(&width);
    }
    if (sum > limit) narrow(all, sum - limit);
    return widths;
}

void TextTable::write(Output& output) const {
    constexpr size_t kGap = 2;
    if (fRows.size() == 1) return;
    const size_t limit = terminalWidth(output);
    const std::vector<size_t> widths = limit > 0 ? widthsWithin(limit, kGap) : fWidths;
    for (const std::vector<std::string>& row : fRows) {
        AlignedLine line(0, limit);
        for (size_t i = 0; i < row.size(); ++i)
            line.add(limit > 0 ? cutToWidth(row[i], widths[i]) : row[i], widths[i], false,
                     i > 0 ? kGap : 0);
        output.write(line.end());
    }
}

}  // namespace orbo::Quilmeta
