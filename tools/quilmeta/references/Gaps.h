// The tiles and frames that are missing.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orbo::Quilmeta {

struct PatternFiles;

/// Takes "1001-1010,1021". Throws `UsageError`.
std::vector<unsigned> parseTiles(const std::string& text);

/// Fills in what is missing of the files, which are by tile and frame: the tiles that are wanted,
/// and of the frames all between the first and the last of any tile. `asUv` writes tiles as u1_v1.
void findGaps(PatternFiles& found, const std::vector<unsigned>& wantedTiles, bool asUv);

}  // namespace orbo::Quilmeta
