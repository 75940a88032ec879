// The elements of a stream as an aligned table.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"

#include <data/Stream.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Writes a header line, then a line for each element: its index, then a column for each value.
/// Walks the stream twice, so that memory holds only one line and the width of each column.
class StreamTable {
  public:
    StreamTable(Output& output, const Data::Stream& stream, size_t indent);
    void write();

  private:
    /// The columns of one member.
    struct Group {
        const Data::Member* member;
        std::string title;
        bool rightAligned;
        bool isText;
        std::vector<size_t> widths;

        [[nodiscard]] size_t width() const;
    };

    void measure();
    void measureElement(Data::Handle& handle);
    void makeRoomForTitle(Group& group);
    void fitTerminal();
    [[nodiscard]] std::string shown(const std::string& text, size_t width) const;
    void writeHeader();
    void writeElement(Data::StreamIterator& element);

    Output& fOutput;
    const Data::Stream& fStream;
    size_t fIndent;
    size_t fLimit;  // the width of the terminal, or 0
    bool fNumericIndex;
    size_t fIndexWidth;
    std::vector<Group> fGroups;
};

}  // namespace orbo::Quilmeta
