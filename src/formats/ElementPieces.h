// Reads the elements of a long stream in pieces, side by side.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "core/Ascii.h"
#include "core/PlainNumber.h"
#include "formats/ElementText.h"
#include "streams/StreamImplMapped.h"

namespace orbo::Data {

/// An index that is a number, alone on its line.
struct NumberLine {
    unsigned int number = 0;
    const char* behind = nullptr;  // the next line; null when the line is not plain

    static NumberLine read(const char* at, const char* last) {
        NumberLine line;
        const char* const end = PlainNumber<unsigned int>::read(at, last, line.number);
        if (end) line.behind = ElementText::endOfLine(end, last);
        return line;
    }
};

/// Moves `at` behind blanks and empty lines, and `line` to the beginning of the line that `at` is
/// on. Returns how many empty lines there were.
inline unsigned int skipEmptyLines(const char*& at, const char*& line, const char* last) {
    unsigned int count = 0;
    for (; at != last && Ascii::isBlank(*at); ++at) {
        if (*at != '\n') continue;
        ++count;
        line = at + 1;
    }
    return count;
}

/// The elements of a piece, in storage of its own. Where the piece begins is a guess until the
/// piece in front of it has been read, and ends there.
struct ElementPiece {
    const char* begin = nullptr;
    std::unique_ptr<StreamImplMapped> elements;
    const char* end = nullptr;                   // the line behind the last element
    unsigned int lines = 0;                      // of indices, and empty ones
    std::vector<std::uint32_t> elementsAt = {};  // from `begin`, in the order of the text
    bool isRising = true;                        // each number is higher than the one before
    unsigned int firstNumber = 0;
    unsigned int lastNumber = 0;
};

/// Cuts the text of a stream into pieces and reads them by several threads, as far as it has
/// numbers for indices and plain values. Each element is expected to have two lines.
class ElementPieces {
  public:
    /// So much text of one stream is worth threads.
    static constexpr std::size_t kWorthwhile = std::size_t{1} << 20;

    /// The text begins at the line of an index. It is all there is, with `endWord` behind the
    /// elements. What is handed over outlives the object.
    ElementPieces(std::string_view text, std::string_view endWord, const ElementText& values)
        : fText(text), fEndWord(endWord), fValues(values) {}

    /// Whether the stream has as much text as is worth threads.
    [[nodiscard]] bool isWorthwhile() const;
    /// Reads a few pieces for each thread into storage like `storage`. Pieces behind one that ends
    /// early, or behind the stream, have something else than what the text says. Throws
    /// `std::bad_alloc`.
    std::vector<ElementPiece> read(unsigned threads, const StreamImplMapped& storage) const;

  private:
    struct Lines;
    [[nodiscard]] Lines scan(std::size_t at, std::size_t size) const;
    [[nodiscard]] ElementPiece read(const char* begin, const char* boundary,
                                    const StreamImplMapped& storage) const;

    const std::string_view fText;
    const std::string_view fEndWord;
    const ElementText& fValues;
};

}  // namespace orbo::Data
