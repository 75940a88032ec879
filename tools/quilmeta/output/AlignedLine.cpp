// One line of an aligned table.
// SPDX-License-Identifier: Apache-2.0
#include "output/AlignedLine.h"

#include "values/Utf8.h"

#include <algorithm>
#include <utility>

namespace orbo::Quilmeta {

void widen(size_t& width, std::string_view text, size_t widest) {
    width = std::max(width, std::min(displayWidth(text), widest));
}

void AlignedLine::add(std::string_view text, size_t width, bool rightAligned, size_t gap) {
    const size_t used = displayWidth(text);
    const size_t padding = width > used ? width - used : 0;
    // Blanks are written only when a text follows, so none are left at the end of the line.
    fBlanks += gap + (rightAligned ? padding : 0);
    if (!text.empty()) fText.append(std::exchange(fBlanks, 0), ' ') += text;
    if (!rightAligned) fBlanks += padding;
}

std::string AlignedLine::end() { return std::move(fText) + '\n'; }

}  // namespace orbo::Quilmeta
