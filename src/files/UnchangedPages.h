// Narrows a rewrite to the part of the file that changes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "files/RewriteRange.h"

namespace orbo::Files {

/// Leaves out the pages at the ends of the last range that keep their bytes and their place. If it
/// then no longer reaches the end of the file, a range of nothing follows there. `ranges` is not
/// empty; each range keeps its number, and the number of its pieces.
void leaveOutUnchanged(std::vector<RewriteRange>& ranges);

}  // namespace orbo::Files
