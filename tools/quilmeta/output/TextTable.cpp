// A table of text with aligned columns.
// SPDX-License-Identifier: Apache-2.0
#include "output/TextTable.h"

#include "output/AlignedLine.h"

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

void TextTable::write(Output& output) const {
    constexpr size_t kGap = 2;
    if (fRows.size() == 1) return;
    for (const std::vector<std::string>& row : fRows) {
        AlignedLine line(0);
        for (size_t i = 0; i < row.size(); ++i)
            line.add(row[i], fWidths[i], false, i > 0 ? kGap : 0);
        output.write(line.end());
    }
}

}  // namespace orbo::Quilmeta
