// Finds characters of a text in its escaped form.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace orbo::Data::TextStatement {

/// Goes forward through an escaped text, which outlives it.
class EscapedText {
  public:
    explicit EscapedText(std::string_view escaped) : fLeft(escaped), fSize(escaped.size()) {}

    /// Goes to the character at this offset of the unescaped text, or to its end. False when there
    /// is none, or when the escape in front of it might go on with what is put there: an octal
    /// number of fewer than three digits, or a backslash that ends the text.
    [[nodiscard]] bool goTo(std::size_t offset);
    /// Where the character stands.
    [[nodiscard]] std::size_t place() const { return fSize - fLeft.size(); }

  private:
    void skipBlocks(std::size_t offset);
    void skipOne();

    std::string_view fLeft;
    std::size_t fSize;
    std::size_t fOffset = 0;
    bool fIsOpen = false;  // the last escape might go on
};

}  // namespace orbo::Data::TextStatement
