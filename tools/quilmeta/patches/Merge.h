// Merges what two sides changed of the same metadata.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Patch.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Two changes that exclude each other, of which one may be about a part of what the other is
/// about.
struct MergeConflict {
    Change ours, theirs;
};

struct MergePlan {
    Patch toOurs;    ///< what only they changed: it makes our side the merged one
    Patch toTheirs;  ///< what only we changed
    std::vector<MergeConflict> conflicts;
};

/// Both patches begin at the common ancestor. What both sides changed in the same way is in neither
/// patch of the plan.
MergePlan planMerge(const Patch& ours, const Patch& theirs);

/// The change of the smaller place, which says more.
const Change& partOf(const MergeConflict& conflict);

/// "node arm, ..., member side: 1 was changed to 2 by us and to 3 by them", a line for each value.
std::string textOf(const MergeConflict& conflict);
/// The same as JSON: the place, and as `base`, `ours` and `theirs` the values there. A side that
/// changed more than that place has its change instead, as a patch has it.
JsonObject jsonOf(const MergeConflict& conflict);

}  // namespace orbo::Quilmeta
