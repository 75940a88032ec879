// One line of an aligned table.
// SPDX-License-Identifier: Apache-2.0
#include "output/AlignedLine.h"

#include "values/Utf8.h"

#include <algorithm>
#include <utility>

namespace orbo::Quilmeta {

namespace {
constexpr const char* kCutMark = "\u2026";  // an ellipsis, one column wide
}  // namespace

void widen(size_t& width, std::string_view text, size_t widest) {
    width = std::max(width, std::min(displayWidth(text), widest));
}

bool narrow(const std::vector<size_t*>& widths, size_t excess) {
    constexpr size_t kNarrowest = 6;
    while (excess > 0 && !widths.empty()) {
        size_t* const widest = *std::max_element(
            widths.begin(), widths.end(), [](auto* one, auto* other) { return *one < *other; });
        if (*widest <= kNarrowest) break;
        --*widest;
        --excess;
    }
    return excess == 0;
}

std::string cutToWidth(std::string_view text, size_t width) {
    if (displayWidth(text) <= width) return std::string(text);
    size_t end = 0;
    for (size_t used = 0; end < text.size();) {
        const size_t size = firstCharacter(text.substr(end)).size;
        used += displayWidth(text.substr(end, size));
        if (used >= width) break;
        end += size;
    }
    return std::string(text.substr(0, end)) + kCutMark;
}

void AlignedLine::add(std::string_view text, size_t width, bool rightAligned, size_t gap) {
    if (fIsFull) return;
    const size_t used = displayWidth(text);
    const size_t padding = width > used ? width - used : 0;
    // Blanks are written only when a text follows, so none are left at the end of the line.
    fBlanks += gap + (rightAligned ? padding : 0);
    if (fLimit > 0 && fUsed + fBlanks + used > fLimit) {
        fIsFull = true;
        fText.append(std::min(fBlanks, fLimit - std::min(fUsed + 1, fLimit)), ' ');
        if (fUsed < fLimit) fText += kCutMark;
        return;
    }
    if (!text.empty()) {
        fUsed += fBlanks + used;
        fText.append(std::exchange(fBlanks, 0), ' ') += text;
    }
    if (!rightAligned) fBlanks += padding;
}

std::string AlignedLine::end() { return std::move(fText) + '\n'; }

}  // namespace orbo::Quilmeta
