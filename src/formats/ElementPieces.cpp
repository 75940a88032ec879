// Reads the elements of a long stream in pieces, side by side.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ElementPieces.h"

#include <algorithm>
#include <new>

#include "core/ShareOut.h"

namespace orbo::Data {

namespace {

constexpr std::size_t kPieceSize = std::size_t{512} << 10;
constexpr std::size_t kPiecesForThread = 16;
constexpr std::size_t kMostPieces = 4096;  // 2 GiB: what `elementsAt` can tell

}  // namespace

/// What a piece of text has, before it is known where its elements begin.
struct ElementPieces::Lines {
    std::string_view text;
    std::size_t count = 0;  // of line ends
    bool hasEnd = false;    // of the stream, perhaps: a string may look like it
};

// Looks at a block of bytes at a time, which a byte can count, without a branch between them, and
// behind the part for the rest of a word.
ElementPieces::Lines ElementPieces::scan(std::size_t at, std::size_t size) const {
    constexpr std::size_t kBlock = 192;
    const std::size_t reach = fEndWord.size() - 1;
    const std::string_view text = fText.substr(at, size + reach);
    Lines lines{fText.substr(at, size)};
    std::size_t done = 0;
    for (; done + kBlock + reach <= text.size(); done += kBlock) {
        const char* const block = text.data() + done;
        unsigned ends = 0;
        unsigned likely = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            ends += block[i] == '\n';
            likely |= (block[i] == fEndWord.front()) & (block[i + reach] == fEndWord.back());
        }
        if (likely != 0 && text.substr(done, kBlock + reach).find(fEndWord) != text.npos) break;
        lines.count += ends;
    }
    const std::size_t end = text.find(fEndWord, done);
    lines.hasEnd = end != text.npos;
    if (lines.hasEnd) lines.text = text.substr(0, end);
    const std::string_view rest = lines.text.substr(done);
    lines.count += static_cast<std::size_t>(std::count(rest.begin(), rest.end(), '\n'));
    return lines;
}

bool ElementPieces::isWorthwhile() const {
    return fText.size() > kWorthwhile && !scan(0, kWorthwhile).hasEnd;
}

std::vector<ElementPiece> ElementPieces::read(unsigned threads,
                                              const StreamImplMapped& storage) const {
    const std::size_t most = std::min(threads * kPiecesForThread, kMostPieces);
    std::vector<Lines> lines(std::min((fText.size() + kPieceSize - 1) / kPieceSize, most));
    shareOut(threads, lines.size(), [&](std::size_t number) noexcept {
        lines[number] = scan(number * kPieceSize, kPieceSize);
    });

    std::vector<const char*> begins;
    std::size_t linesInFront = 0;
    const char* boundary = fText.data();
    for (const Lines& part : lines) {
        // The part's first line began in the part in front, but for the very first one.
        std::string_view rest = part.text;
        std::size_t skipped = begins.empty() ? 0 : 1 + (linesInFront + 1) % 2;
        for (; skipped > 0 && !rest.empty(); --skipped) {
            rest.remove_prefix(std::min(rest.find('\n'), rest.size() - 1) + 1);
        }
        linesInFront += part.count;
        boundary = part.text.data() + part.text.size();
        if (!rest.empty()) begins.push_back(rest.data());
        if (part.hasEnd) break;
    }
    begins.push_back(boundary);
    std::vector<ElementPiece> pieces(begins.size() - 1);
    // What a thread works on is its own until it is done: neighbours share lines of the cache.
    shareOut(threads, pieces.size(), [&](std::size_t number) noexcept {
        pieces[number] = read(begins[number], begins[number + 1], storage);
    });
    return pieces;
}

// A default element stays where values are not plain, which the general reader replaces.
ElementPiece ElementPieces::read(const char* begin, const char* boundary,
                                 const StreamImplMapped& storage) const {
    const char* const last = fText.data() + fText.size();
    const char* next = begin;
    ElementPiece piece;
    try {
        piece.elements =
            std::make_unique<StreamImplMapped>(static_cast<const StreamImpl&>(storage));
        while (next < boundary) {
            const char* at = next;
            const unsigned int lines = 1 + skipEmptyLines(at, next, last);
            const NumberLine index = NumberLine::read(at, last);
            char* const chunk = index.behind ? piece.elements->place(index.number) : nullptr;
            const char* const end = chunk ? fValues.read(index.behind, last, chunk) : nullptr;
            piece.lines += end ? lines : lines - 1;
            if (!end) break;
            if (piece.elementsAt.empty()) {
                piece.firstNumber = index.number;
            } else if (index.number <= piece.lastNumber) {
                piece.isRising = false;
            }
            piece.lastNumber = index.number;
            piece.elementsAt.push_back(static_cast<std::uint32_t>(next - begin));
            next = end;
        }
        piece.begin = begin;
        piece.end = next;
    } catch (const std::bad_alloc&) {
        // Without a beginning the piece fits nowhere. Reading goes on there without threads, and
        // says so if memory is still short.
    }
    return piece;
}

}  // namespace orbo::Data
