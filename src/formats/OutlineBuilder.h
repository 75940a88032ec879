// Notes where the elements of a stream stand in a text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "formats/ElementPieces.h"
#include "formats/TextOutline.h"

namespace orbo::Data {

/// Does nothing without an outline. Positions are those of the input that is left, which is all in
/// memory.
class OutlineBuilder {
  public:
    explicit OutlineBuilder(TextOutline* outline) : fOutline(outline) {}

    [[nodiscard]] bool isNeeded() const { return fOutline != nullptr; }

    void begin(std::size_t left) {
        if (!fOutline) return;
        fStream.begin = fOutline->size - left;
    }
    /// Another element begins, whose index is a number.
    void add(unsigned int number, std::size_t left) {
        if (!fOutline) return;
        if (fStream.elements > 0 && number <= fLast) fStream.blockSize = StreamOutline::kUndivided;
        fLast = number;
        if (fStream.elements++ % StreamOutline::kBlock != 0) return;
        fStream.blocks.push_back(fOutline->size - left);
    }
    /// Another element begins, with an index of another type.
    void add(std::size_t left) {
        if (!fOutline) return;
        fStream.blockSize = StreamOutline::kUndivided;
        if (fStream.elements++ == 0) fStream.blocks.push_back(fOutline->size - left);
    }
    /// Those of a piece follow, of which there is so much text left where it begins.
    void add(const ElementPiece& piece, std::size_t left) {
        if (!fOutline || piece.elementsAt.empty()) return;
        const bool isBehind = fStream.elements == 0 || piece.firstNumber > fLast;
        if (!piece.isRising || !isBehind) fStream.blockSize = StreamOutline::kUndivided;
        fLast = piece.lastNumber;
        const std::size_t begun = fStream.elements % StreamOutline::kBlock;
        const std::size_t size = piece.elementsAt.size();
        for (std::size_t i = begun == 0 ? 0 : StreamOutline::kBlock - begun; i < size;
             i += StreamOutline::kBlock) {
            fStream.blocks.push_back(fOutline->size - left + piece.elementsAt[i]);
        }
        fStream.elements += size;
    }
    void endElements(std::size_t left) {
        if (fOutline) fStream.elementsEnd = fOutline->size - left;
    }
    void end(const std::string& name, std::size_t left) {
        if (!fOutline) return;
        fStream.stream = name;
        fStream.end = fOutline->size - left;
        if (fStream.blockSize == StreamOutline::kUndivided && fStream.blocks.size() > 1) {
            fStream.blocks.resize(1);
        }
        fOutline->streams.push_back(std::move(fStream));
    }

  private:
    TextOutline* const fOutline;
    StreamOutline fStream;
    unsigned int fLast = 0;
};

}  // namespace orbo::Data
