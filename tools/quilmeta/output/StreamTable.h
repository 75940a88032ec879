// The elements of a stream as an aligned table.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output/Output.h"

#include <data/Stream.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// A header line, then a line for each element: its index, then its values, a column for each.
/// Walks the stream twice, and holds one line and a width for each column.
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
        std::vector<size_t> widths;

        [[nodiscard]] size_t width() const;
    };

    void measure();
    void measureElement(Data::Handle& handle);
    void makeRoomForTitle(Group& group);
    void writeHeader();
    void writeElement(Data::StreamIterator& element);

    Output& fOutput;
    const Data::Stream& fStream;
    size_t fIndent;
    bool fNumericIndex;
    size_t fIndexWidth;
    std::vector<Group> fGroups;
};

}  // namespace orbo::Quilmeta
