// Data lines of elements as they mostly are, straight from memory and to memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "core/Layout.h"
#include "core/ValueText.h"
#include "formats/LumpedOutput.h"

namespace orbo::Data {

/// Knows the members of one layout.
class ElementText {
  public:
    explicit ElementText(const Layout& layout);

    /// Reads the values of all members from one line into a default chunk; behind the line. Null
    /// when something is not as usual, such as an escape, a value too many, or a line that goes on
    /// behind `last`: the chunk is then default again.
    const char* read(const char* first, const char* last, char* chunk) const;

    /// Writes the line, as `StreamSerializerRaw::writeMember` does for each member.
    void write(LumpedOutput& out, const ValueText::NumberFormat& format, const char* chunk) const;

  private:
    /// Values of one type that follow each other in a chunk.
    struct Run {
        Member::eDataType type;
        std::uint64_t offset;
        std::uint64_t count;  // of numbers, not of matrices
    };

    const Layout& fLayout;
    std::vector<Run> fRuns;
};

}  // namespace orbo::Data
