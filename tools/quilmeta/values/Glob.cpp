// Patterns of names: *, ? and \.
// SPDX-License-Identifier: Apache-2.0
#include "values/Glob.h"

#include "values/Utf8.h"

namespace orbo::Quilmeta {

Glob::Glob(std::string_view pattern) {
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char byte = pattern[i];
        if (byte == '*' || byte == '?') {
            fPieces.push_back({byte == '*' ? Kind::kAny : Kind::kOne, {}});
            continue;
        }
        const bool escapes = byte == '\\' && i + 1 < pattern.size();
        addText(escapes ? pattern[++i] : byte);
    }
    if (fPieces.empty()) fOnlyText.emplace();
    if (fPieces.size() == 1 && fPieces[0].kind == Kind::kText) fOnlyText = fPieces[0].text;
}

Glob Glob::literal(std::string_view text) {
    Glob glob;
    if (!text.empty()) glob.fPieces.push_back({Kind::kText, std::string(text)});
    glob.fOnlyText.emplace(text);
    return glob;
}

void Glob::addText(char byte) {
    if (fPieces.empty() || fPieces.back().kind != Kind::kText) fPieces.push_back({Kind::kText, {}});
    fPieces.back().text += byte;
}

bool Glob::matches(std::string_view text) const {
    return fOnlyText ? text == *fOnlyText : match(text, nullptr);
}

std::optional<std::vector<std::string_view>> Glob::captures(std::string_view text) const {
    std::vector<std::string_view> found;
    if (!match(text, &found)) return {};
    return found;
}

std::string Glob::wildcards() const {
    std::string found;
    for (const Piece& piece : fPieces)
        if (piece.kind != Kind::kText) found += piece.kind == Kind::kAny ? '*' : '?';
    return found;
}

std::string Glob::filledWith(const std::vector<std::string_view>& values) const {
    std::string text;
    auto value = values.begin();
    for (const Piece& piece : fPieces) text += piece.kind == Kind::kText ? piece.text : *value++;
    return text;
}

// Only the last "*" that was met ever has to take more: what an earlier one could gain by that, the
// last one can have as well.
bool Glob::match(std::string_view text, std::vector<std::string_view>* captures) const {
    size_t piece = 0;
    size_t at = 0;
    size_t starPiece = std::string_view::npos;
    size_t starEnd = 0;  // where the text of the last "*" ends
    size_t starCapture = 0;
    const auto capture = [&](size_t begin, size_t size) {
        if (captures) captures->push_back(text.substr(begin, size));
    };
    const auto widenStar = [&] {
        if (starPiece == std::string_view::npos || starEnd == text.size()) return false;
        const size_t step = firstCharacter(text.substr(starEnd)).size;
        at = starEnd += step;
        piece = starPiece + 1;
        if (!captures) return true;
        captures->resize(starCapture + 1);
        std::string_view& taken = captures->back();
        taken = std::string_view(taken.data(), taken.size() + step);
        return true;
    };
    while (piece < fPieces.size() || at < text.size()) {
        bool fits = piece < fPieces.size();
        if (fits && fPieces[piece].kind == Kind::kAny) {
            starPiece = piece;
            starEnd = at;
            if (captures) starCapture = captures->size();
            capture(at, 0);
        } else if (fits && fPieces[piece].kind == Kind::kOne) {
            fits = at < text.size();
            const size_t size = fits ? firstCharacter(text.substr(at)).size : 0;
            if (fits) capture(at, size);
            at += size;
        } else if (fits) {
            const std::string& wanted = fPieces[piece].text;
            fits = text.compare(at, wanted.size(), wanted) == 0;
            if (fits) at += wanted.size();
        }
        if (fits)
            ++piece;
        else if (!widenStar())
            return false;
    }
    return true;
}

}  // namespace orbo::Quilmeta
