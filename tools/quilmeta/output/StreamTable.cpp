// The elements of a stream as an aligned table.
// SPDX-License-Identifier: Apache-2.0
#include "output/StreamTable.h"

#include "output/AlignedLine.h"
#include "process/TerminalWidth.h"
#include "values/NumberText.h"
#include "values/SafeText.h"
#include "values/Utf8.h"
#include "values/ValueType.h"

#include <data/Structure.h>

#include <algorithm>
#include <numeric>

namespace orbo::Quilmeta {

namespace {

constexpr std::string_view kIndexTitle = "index";
// The values of one member stand closer together than the members.
constexpr size_t kGroupGap = 2;
constexpr size_t kCellGap = 1;

/// Returns the text of one value. A null string looks different from an empty one.
template <typename Part>
std::string cell(const Part& part) {
    if constexpr (std::is_same_v<Part, Text>) {
        return part ? inQuotes(part) : "null";
    } else if constexpr (std::is_same_v<Part, bool>) {
        return part ? "true" : "false";
    } else {
        std::string text;
        appendNumber(text, part);
        return text;
    }
}

}  // namespace

size_t StreamTable::Group::width() const {
    return std::accumulate(widths.begin(), widths.end(), (widths.size() - 1) * kCellGap);
}

StreamTable::StreamTable(Output& output, const Data::Stream& stream, size_t indent)
    : fOutput(output),
      fStream(stream),
      fIndent(indent),
      fLimit(terminalWidth(output)),
      fNumericIndex(stream.indexType() == Data::Index::theTypeName()),
      fIndexWidth(kIndexTitle.size()) {
    for (const Data::Member& member : stream.structure()) {
        // Numbers are easier to compare when their last digits stand below each other.
        const bool number =
            member.type() != Data::Member::kString && member.type() != Data::Member::kBoolean;
        fGroups.push_back({&member,
                           shownName(member.name()),
                           number,
                           member.type() == Data::Member::kString,
                           {}});
    }
}

void StreamTable::write() {
    measure();
    writeHeader();
    for (Data::StreamIterator element = fStream.cbegin(); element.valid(); ++element)
        writeElement(element);
}

void StreamTable::measure() {
    const size_t widest = fLimit > 0 ? fLimit : kWidestColumn;
    for (Data::StreamIterator element = fStream.cbegin(); element.valid(); ++element) {
        widen(fIndexWidth, shownName(element.index().asString()), widest);
        if (element->hasData()) measureElement(*element);
    }
    for (Group& group : fGroups) makeRoomForTitle(group);
    if (fLimit > 0) fitTerminal();
}

// Only texts are cut: half a number would be another one.
void StreamTable::fitTerminal() {
    std::vector<size_t*> texts;
    if (!fNumericIndex) texts.push_back(&fIndexWidth);
    size_t sum = fIndent + fIndexWidth;
    for (Group& group : fGroups) {
        sum += kGroupGap + group.width();
        for (size_t& width : group.widths)
            if (group.isText) texts.push_back(&width);
    }
    if (sum > fLimit) narrow(texts, sum - fLimit);
}

std::string StreamTable::shown(const std::string& text, size_t width) const {
    return fLimit > 0 ? cutToWidth(text, width) : text;
}

// Widens the columns for the values of one element.
void StreamTable::measureElement(Data::Handle& handle) {
    const size_t widest = fLimit > 0 ? fLimit : kWidestColumn;
    for (unsigned int i = 0; i < fGroups.size(); ++i) {
        Group& group = fGroups[i];
        handle.setPositionByMemberIndex(i);
        // Not before there is an element: a structure alone may claim any length.
        group.widths.resize(partsOf(*group.member));
        withParts(handle, *group.member, [&](auto* parts) {
            for (size_t k = 0; k < group.widths.size(); ++k)
                widen(group.widths[k], cell(parts[k]), widest);
        });
    }
}

// A title stands above all values of its member, so the first column gets what they lack together.
void StreamTable::makeRoomForTitle(Group& group) {
    if (group.widths.empty()) group.widths.push_back(0);
    const size_t wanted = std::min(displayWidth(group.title), kWidestColumn);
    const size_t width = group.width();
    if (wanted > width) group.widths.front() += wanted - width;
}

// A title that stands above several columns is aligned to the left, where the first one begins.
void StreamTable::writeHeader() {
    AlignedLine line(fIndent, fLimit);
    line.add(kIndexTitle, fIndexWidth, fNumericIndex, 0);
    for (const Group& group : fGroups) {
        const bool right = group.rightAligned && group.widths.size() == 1;
        line.add(shown(group.title, group.width()), group.width(), right, kGroupGap);
    }
    fOutput.write(line.end());
}

// An element without data has only its index.
void StreamTable::writeElement(Data::StreamIterator& element) {
    AlignedLine line(fIndent, fLimit);
    const std::string index = shownName(element.index().asString());
    line.add(fNumericIndex ? index : shown(index, fIndexWidth), fIndexWidth, fNumericIndex, 0);
    Data::Handle& handle = *element;
    for (unsigned int i = 0; handle.hasData() && i < fGroups.size(); ++i) {
        const Group& group = fGroups[i];
        handle.setPositionByMemberIndex(i);
        withParts(handle, *group.member, [&](auto* parts) {
            for (size_t k = 0; k < group.widths.size(); ++k) {
                const size_t gap = k == 0 ? kGroupGap : kCellGap;
                const std::string text = cell(parts[k]);
                line.add(group.isText ? shown(text, group.widths[k]) : text, group.widths[k],
                         group.rightAligned, gap);
            }
        });
    }
    fOutput.write(line.end());
}

}  // namespace orbo::Quilmeta
