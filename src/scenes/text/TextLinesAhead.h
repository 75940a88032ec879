// The lines of a text scene directly in front of a statement or of the trailer.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

#include "files/BackwardLineReader.h"

namespace orbo::Data {

/// Some readers know no comments: they join every line without a ";" to the statement behind it.
/// Two guard lines, which are comments for all other readers, prevent damage. The line "//;" in
/// front of the section ends whatever stands ahead of it. The line "//" in front of a line that
/// must not act as a statement joins it to a meaningless one.
class TextLinesAhead {
  public:
    static constexpr std::string_view kClosingGuard = "//;\n";
    static constexpr std::string_view kMutingGuard = "//\n";

    /// Knows nothing yet about the lines in front of the place.
    explicit TextLinesAhead(std::uint64_t place) : fBegin(place) {}

    /// To be called for each line, the nearest first.
    void add(const Files::LineDescriptor& line);

    /// Where the guard line begins that ends at the place; the place itself without one.
    [[nodiscard]] std::uint64_t begin() const { return fBegin; }
    [[nodiscard]] bool haveMutingGuard() const { return fGuard == Guard::kMuting; }
    /// A line "//;" counts as ours only where a section needs it.
    [[nodiscard]] bool haveClosingGuard() const { return fGuard == Guard::kClosing && !fClosed; }
    /// Whether the last line that is neither blank nor a guard ends with ";".
    [[nodiscard]] bool closed() const { return fClosed; }

  private:
    enum class Guard { kNone, kClosing, kMuting };

    std::uint64_t fBegin;
    Guard fGuard = Guard::kNone;
    bool fClosed = false;
    bool fAtGuards = true;   // all lines so far were guards
    bool fComplete = false;  // nothing more is of interest
};

}  // namespace orbo::Data
