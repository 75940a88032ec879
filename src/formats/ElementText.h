// Reads and writes ordinary data lines of elements, directly from and to memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/Layout.h"
#include "core/ValueText.h"
#include "formats/BufferedWriter.h"

namespace orbo::Data {

/// Reads and writes elements of one layout. Lines that are not ordinary are left to
/// `MemberTextReader`.
class ElementText {
  public:
    /// The layout outlives this object.
    explicit ElementText(const Layout& layout)
        : fLayout(layout), fRuns(layout.runs().data()), fRunsEnd(fRuns + layout.runs().size()) {}

    /// Reads the values of all members, which may stand on several lines, into a default chunk.
    /// Returns the end of the last value's line; null, with a default chunk, when something is not
    /// ordinary, such as a value too many, or a line that goes on behind `last`.
    const char* read(const char* first, const char* last, char* chunk) const;
    /// Skips the blanks behind an index or values. Returns the beginning of the next line; null
    /// when something else stands on the line, or it goes on behind `last`.
    static const char* endOfLine(const char* at, const char* last);

    /// Writes a line end, and the values as `StreamSerializerRaw::writeMember` does for each member
    /// on a line of their own.
    void write(BufferedWriter& out, const ValueText::NumberFormat& format, const char* chunk) const;

  private:
    const Layout& fLayout;
    const Layout::Run* fRuns;
    const Layout::Run* fRunsEnd;
};

}  // namespace orbo::Data
