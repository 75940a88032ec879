// The tiles and frames that are missing.
// SPDX-License-Identifier: Apache-2.0
#include "references/Gaps.h"

#include "process/CommandError.h"
#include "references/FileLookup.h"
#include "values/SafeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <set>
#include <string_view>

namespace orbo::Quilmeta {

namespace {

unsigned parseTile(std::string_view text, const std::string& all) {
    unsigned tile = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), tile);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    if (!whole || tile < kFirstTile || tile > kLastTile)
        throw UsageError(
            fmt::format("--tiles takes numbers from {} to {}, such as 1001-1010,1021, not {}",
                        kFirstTile, kLastTile, inQuotes(all)));
    return tile;
}

std::string tileText(unsigned tile, bool asUv) {
    return asUv ? uvTileText(tile) : std::to_string(tile);
}

std::string frameRange(std::uint64_t first, std::uint64_t last) {
    return first == last ? fmt::format("{}", first) : fmt::format("{}-{}", first, last);
}

using FilePlaces = std::vector<FilePlace>::const_iterator;

/// Appends the frames from `first` to `last` that one tile lacks.
void appendGaps(std::vector<std::string>& gaps, const std::string& tile, FilePlaces begin,
                FilePlaces end, std::uint64_t first, std::uint64_t last) {
    std::uint64_t next = first;
    for (; begin != end; ++begin) {
        if (*begin->frame > next) gaps.push_back(tile + frameRange(next, *begin->frame - 1));
        next = *begin->frame + 1;
    }
    if (next <= last) gaps.push_back(tile + frameRange(next, last));
}

void findMissingFrames(PatternFiles& found, bool asUv) {
    std::vector<FilePlace> places;
    for (const PatternFile& file : found.files)
        if (file.place.frame) places.push_back(file.place);
    if (places.empty()) return;
    const auto [lowest, highest] = std::minmax_element(
        places.begin(), places.end(),
        [](const FilePlace& one, const FilePlace& other) { return one.frame < other.frame; });
    for (FilePlaces begin = places.begin(); begin != places.end();) {
        const auto tile = begin->tile;
        const FilePlaces end = std::find_if(
            begin, places.cend(), [&](const FilePlace& place) { return place.tile != tile; });
        const std::string name = tile ? tileText(*tile, asUv) + ": " : std::string();
        appendGaps(found.missingFrames, name, begin, end, *lowest->frame, *highest->frame);
        begin = end;
    }
}

}  // namespace

std::vector<unsigned> parseTiles(const std::string& text) {
    std::vector<unsigned> tiles;
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find(',', start), text.size());
        const std::string_view part = std::string_view(text).substr(start, end - start);
        const size_t dash = std::min(part.find('-'), part.size());
        const unsigned first = parseTile(part.substr(0, dash), text);
        const unsigned last = dash < part.size() ? parseTile(part.substr(dash + 1), text) : first;
        if (last < first)
            throw UsageError(fmt::format("--tiles: {} ends before it begins", inQuotes(part)));
        for (unsigned tile = first; tile <= last; ++tile) tiles.push_back(tile);
        start = end + 1;
    }
    std::sort(tiles.begin(), tiles.end());
    tiles.erase(std::unique(tiles.begin(), tiles.end()), tiles.end());
    return tiles;
}

void findGaps(PatternFiles& found, const std::vector<unsigned>& wantedTiles, bool asUv) {
    std::set<unsigned> tiles;
    for (const PatternFile& file : found.files)
        if (file.place.tile) tiles.insert(*file.place.tile);
    for (const unsigned tile : wantedTiles)
        if (tiles.count(tile) == 0) found.missingTiles.push_back(tileText(tile, asUv));
    findMissingFrames(found, asUv);
}

}  // namespace orbo::Quilmeta
