// Finds what stands in the way of rewriting a scene that was read.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/SceneKind.h>

#include "files/File.h"
#include "scenes/Findings.h"
#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// Finds index types that nobody registered, and numbers that are not finite or that six digits
/// would change, counted for each member of a stream.
void checkModel(const Accessor& accessor, const ReadSnapshot& snapshot, Findings& findings);

/// Writes all of the model anew, in memory, by a careful write, and compares what would be read
/// back; what certainly reads back is not tried. The snapshot has the places of the records.
void checkRewrite(const SceneKind& kind, const Accessor& accessor, const ReadSnapshot& snapshot,
                  Files::File& file, Findings& findings);

}  // namespace orbo::Data
