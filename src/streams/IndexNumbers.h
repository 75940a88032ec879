// Reads the numbers in the text of an index.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace orbo::Data {

/// Reads unsigned 32-bit numbers with blanks, tabs and carriage returns around them. A line feed is
/// an error, because an index is one line.
class IndexNumbers {
  public:
    /// Throws `Index::eMalformedIndex` for any other character, wherever it stands. The text must
    /// outlive this object.
    explicit IndexNumbers(std::string_view text);
    /// Throws `Index::eMalformedIndex` when no number is left and when it is too large.
    unsigned int next();
    /// Throws `Index::eTrailingData` when a number is left.
    void finish();

  private:
    void skipBlanks();

    std::string_view fRest;
};

}  // namespace orbo::Data
