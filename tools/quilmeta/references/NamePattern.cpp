// Names of files with tokens for tiles and frames.
// SPDX-License-Identifier: Apache-2.0
#include "references/NamePattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

namespace orbo::Quilmeta {

namespace {

constexpr std::string_view kUdimToken = "<UDIM>";
constexpr std::string_view kUvTileToken = "<UVTILE>";
constexpr unsigned kColumns = 10;
/// Numbers of more digits are no frames.
constexpr size_t kMostDigits = 18;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool beginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

size_t countDigits(std::string_view text) {
    return static_cast<size_t>(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
}

std::uint64_t numberOf(std::string_view digits) {
    std::uint64_t number = 0;
    for (const char digit : digits) number = number * 10 + static_cast<unsigned>(digit - '0');
    return number;
}

/// "%d" and "%04d"; 0 for what is none.
size_t percentLength(std::string_view text) {
    const size_t digits = countDigits(text.substr(1));
    if (digits > 0 && text[1] != '0') return 0;
    const size_t end = digits + 1;
    return end < text.size() && text[end] == 'd' ? end + 1 : 0;
}

/// "$F4" and "${F4}"; 0 for what is none, such as "$FILE".
size_t dollarLength(std::string_view text) {
    const size_t start = beginsWith(text, "${") ? 2 : 1;
    if (start >= text.size() || text[start] != 'F') return 0;
    const size_t end = start + 1 + countDigits(text.substr(start + 1));
    const char next = end < text.size() ? text[end] : '\0';
    if (start == 2) return next == '}' ? end + 1 : 0;
    const bool goesOn = (next >= 'A' && next <= 'Z') || (next >= 'a' && next <= 'z') || next == '_';
    return goesOn ? 0 : end;
}

/// The fewest digits of the number that a frame token stands for. A width that no name could have
/// is as good as the longest.
size_t digitsOf(std::string_view token) {
    if (token[0] == '#') return token.size();
    const auto first = std::find_if(token.begin(), token.end(), isDigit);
    const std::string_view digits = token.substr(static_cast<size_t>(first - token.begin()));
    const size_t count = countDigits(digits);
    constexpr size_t kLongest = 9;
    const std::uint64_t number = numberOf(digits.substr(0, std::min(count, kLongest)));
    return static_cast<size_t>(std::max<std::uint64_t>(number, 1));
}

/// The length of the token of a tile or a frame that the text begins with; 0 when there is none.
size_t tokenLength(std::string_view text) {
    if (beginsWith(text, kUdimToken)) return kUdimToken.size();
    if (beginsWith(text, kUvTileToken)) return kUvTileToken.size();
    return frameTokenLength(text);
}

/// A tile that a text begins with, and how much of the text it is.
struct TileText {
    unsigned tile;
    size_t length;
};

std::vector<TileText> udimAt(std::string_view text) {
    constexpr size_t kDigits = 4;
    if (countDigits(text.substr(0, kDigits)) < kDigits) return {};
    const auto tile = static_cast<unsigned>(numberOf(text.substr(0, kDigits)));
    if (tile < kFirstTile || tile > kLastTile) return {};
    return {{tile, kDigits}};
}

/// Several, because u1_v10 begins with u1_v1.
std::vector<TileText> uvTilesAt(std::string_view text) {
    constexpr size_t kMostColumnDigits = 2, kMostRowDigits = 3;
    const size_t columnEnd = 1 + countDigits(text.substr(std::min<size_t>(text.size(), 1)));
    if (text.empty() || text[0] != 'u' || columnEnd > 1 + kMostColumnDigits ||
        !beginsWith(text.substr(columnEnd), "_v"))
        return {};
    const std::uint64_t column = numberOf(text.substr(1, columnEnd - 1));
    const std::string_view rows = text.substr(columnEnd + 2);
    std::vector<TileText> tiles;
    for (size_t length = 1; length <= std::min(countDigits(rows), kMostRowDigits); ++length) {
        const std::uint64_t row = numberOf(rows.substr(0, length));
        if (column == 0 || column > kColumns || row == 0) continue;
        const auto tile = static_cast<unsigned>(kFirstTile + column - 1 + kColumns * (row - 1));
        const size_t all = columnEnd + 2 + length;
        // The same numbers with zeros ahead are no tile.
        if (tile <= kLastTile && uvTileText(tile) == text.substr(0, all))
            tiles.push_back({tile, all});
    }
    return tiles;
}

}  // namespace

bool operator<(const FilePlace& one, const FilePlace& other) {
    return std::tie(one.tile, one.frame) < std::tie(other.tile, other.frame);
}

std::string uvTileText(unsigned tile) {
    const unsigned number = tile - kFirstTile;
    return fmt::format("u{}_v{}", number % kColumns + 1, number / kColumns + 1);
}

size_t frameTokenLength(std::string_view text) {
    switch (text.empty() ? '\0' : text[0]) {
        case '#':
            return std::min(text.find_first_not_of('#'), text.size());
        case '%':
            return percentLength(text);
        case '$':
            return dollarLength(text);
        default:
            return 0;
    }
}

NamePattern::NamePattern(std::string_view name) {
    while (!name.empty()) {
        const size_t length = tokenLength(name);
        if (length > 0) {
            add(name.substr(0, length));
        } else {
            if (fTokens.empty() || fTokens.back().kind != Kind::kText) fTokens.emplace_back();
            // "$$" is no beginning of "$F".
            fTokens.back().text += name.substr(0, beginsWith(name, "$$") ? 2 : 1);
        }
        name.remove_prefix(length > 0 ? length : (beginsWith(name, "$$") ? 2 : 1));
    }
}

void NamePattern::add(std::string_view token) {
    if (token != "#") fMayBeLiteral = false;
    if (token == kUdimToken)
        fTokens.push_back({Kind::kUdim});
    else if (token == kUvTileToken)
        fTokens.push_back({Kind::kUvTile});
    else
        fTokens.push_back({Kind::kFrame, {}, digitsOf(token)});
}

bool NamePattern::has(Kind kind) const {
    return std::any_of(fTokens.begin(), fTokens.end(),
                       [&](const Token& token) { return token.kind == kind; });
}

std::string_view NamePattern::firstText() const {
    return fTokens.empty() ? std::string_view() : std::string_view(fTokens.front().text);
}

std::string_view NamePattern::lastText() const {
    return fTokens.empty() ? std::string_view() : std::string_view(fTokens.back().text);
}

std::optional<FilePlace> NamePattern::match(std::string_view name, const FilePlace& known) const {
    return match(0, {name, known});
}

std::optional<FilePlace> NamePattern::match(size_t token, const Reading& reading) const {
    if (token == fTokens.size())
        return reading.rest.empty() ? std::optional<FilePlace>(reading.place) : std::nullopt;
    const Token& wanted = fTokens[token];
    if (wanted.kind == Kind::kFrame) return matchFrame(token, reading);
    if (wanted.kind != Kind::kText) return matchTile(token, reading);
    if (!beginsWith(reading.rest, wanted.text)) return {};
    return match(token + 1, {reading.rest.substr(wanted.text.size()), reading.place});
}

std::optional<FilePlace> NamePattern::matchTile(size_t token, const Reading& reading) const {
    const bool asUdim = fTokens[token].kind == Kind::kUdim;
    for (const TileText& found : asUdim ? udimAt(reading.rest) : uvTilesAt(reading.rest)) {
        if (reading.place.tile && *reading.place.tile != found.tile) continue;
        const Reading next{reading.rest.substr(found.length), {found.tile, reading.place.frame}};
        if (auto place = match(token + 1, next)) return place;
    }
    return {};
}

std::optional<FilePlace> NamePattern::matchFrame(size_t token, const Reading& reading) const {
    const size_t most = std::min(countDigits(reading.rest), kMostDigits);
    for (size_t length = fTokens[token].digits; length <= most; ++length) {
        if (length > fTokens[token].digits && reading.rest[0] == '0') break;
        const std::uint64_t frame = numberOf(reading.rest.substr(0, length));
        if (reading.place.frame && *reading.place.frame != frame) continue;
        if (auto place =
                match(token + 1, {reading.rest.substr(length), {reading.place.tile, frame}}))
            return place;
    }
    return {};
}

}  // namespace orbo::Quilmeta
