// The lines of a text scene directly in front of a statement or of the trailer.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

#include "files/BackwardLineReader.h"

namespace orbo::Data {

/// Some readers know no comments: they take a line without a ";" for the beginning of the statement
/// behind it, whatever the line is. Two lines, which are comments for everybody else, keep them
/// from that. "//;" in front of the section closes what stands ahead of it; "//" in front of a line
/// that must not act as a statement makes it a part of one that means nothing.
class TextLinesAhead {
  public:
    static constexpr std::string_view kClosingGuard = "//;\n";
    static constexpr std::string_view kMutingGuard = "//\n";

    /// Nothing is known yet of what is in front of the place.
    explicit TextLinesAhead(std::uint64_t place) : fBegin(place) {}

    /// To be told of one line after the other, the nearest first.
    void add(const Files::LineDescriptor& line);

    /// Where the line "//;" or "//" begins that ends at the place; the place itself without one.
    [[nodiscard]] std::uint64_t begin() const { return fBegin; }
    [[nodiscard]] bool haveMutingGuard() const { return fGuard == Guard::kMuting; }
    /// Only where a section needs the line is it taken for one that a write has put there.
    [[nodiscard]] bool haveClosingGuard() const { return fGuard == Guard::kClosing && !fClosed; }
    /// The last line that is neither blank nor such a guard ends with ";".
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
