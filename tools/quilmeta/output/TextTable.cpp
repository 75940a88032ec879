// A table of text with aligned columns.
// SPDX-License-Identifier: Apache-2.0
#include "output/TextTable.h"

#include "output/AlignedLine.h"
#include "process/TerminalWidth.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace orbo::Quilmeta {

namespace {
constexpr size_t kGap = 2;
constexpr const char* kMore = "\u2026";  // an ellipsis, one column wide
}  // namespace

TextTable::TextTable(const std::vector<Column>& columns)
    : fColumns(columns), fWidths(columns.size(), 0) {
    std::vector<std::string> titles;
    titles.reserve(columns.size());
    for (const Column& column : columns) titles.emplace_back(column.title);
    add(std::move(titles));
}

void TextTable::add(std::vector<std::string> row) {
    for (size_t i = 0; i < fWidths.size(); ++i) widen(fWidths[i], row[i], fColumns[i].widest);
    fRows.push_back(std::move(row));
}

/// Narrows the columns to the width of all of a row; a cell may stick out no longer. False when
/// they are still too wide.
bool TextTable::fitWidths(Layout& layout, size_t limit) const {
    layout.widths.assign(layout.shown.size(), 0);
    const bool isWhole = layout.shown.size() == fColumns.size();
    size_t sum = kGap * (layout.shown.size() - 1) + (isWhole ? 0 : kGap + 1);
    std::vector<size_t*> all;
    for (size_t i = 0; i < layout.shown.size(); ++i) {
        for (const auto& row : fRows) widen(layout.widths[i], row[layout.shown[i]], limit);
        sum += layout.widths[i];
        all.push_back(&layout.widths[i]);
    }
    return sum <= limit || narrow(all, sum - limit);
}

/// Leaves out spare columns, the last one first, until the others fit.
TextTable::Layout TextTable::layoutWithin(size_t limit) const {
    Layout layout;
    layout.shown.resize(fColumns.size());
    std::iota(layout.shown.begin(), layout.shown.end(), 0);
    while (!fitWidths(layout, limit)) {
        const auto spare = std::find_if(layout.shown.rbegin(), layout.shown.rend(),
                                        [&](size_t i) { return fColumns[i].isSpare; });
        if (spare == layout.shown.rend()) break;
        layout.shown.erase(std::next(spare).base());
    }
    return layout;
}

void TextTable::write(Output& output) const {
    if (fRows.size() == 1) return;
    const size_t limit = terminalWidth(output);
    Layout layout;
    if (limit > 0) layout = layoutWithin(limit);
    for (const std::vector<std::string>& row : fRows) {
        AlignedLine line(0, limit);
        if (limit == 0)
            for (size_t i = 0; i < row.size(); ++i)
                line.add(row[i], fWidths[i], false, i > 0 ? kGap : 0);
        for (size_t i = 0; i < layout.shown.size(); ++i)
            line.add(cutToWidth(row[layout.shown[i]], layout.widths[i]), layout.widths[i], false,
                     i > 0 ? kGap : 0);
        const bool isWhole = limit == 0 || layout.shown.size() == row.size();
        if (!isWhole && &row == &fRows.front()) line.add(kMore, 1, false, kGap);
        output.write(line.end());
    }
}

}  // namespace orbo::Quilmeta
