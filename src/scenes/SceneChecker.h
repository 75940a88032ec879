// Finds what stands in the way of rewriting a scene that was read.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include "scenes/Findings.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/writing/SceneSection.h"

namespace orbo::Data {

/// Index types that nobody registered; numbers that are not finite or that six digits would change,
/// counted for each member of a stream.
void checkModel(const Accessor& accessor, const TakenNames& taken, Findings& findings);

/// Writes all of the model anew, in memory, and compares what would be read back. The accessor's
/// write policy is to be the careful one; the section is of the file.
void checkRewrite(const Accessor& accessor, const TakenNames& taken, SceneSection& section,
                  Files::File& file, Findings& findings);

}  // namespace orbo::Data
