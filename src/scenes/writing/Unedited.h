// Tells whether the caller has edited what a read or write left in the model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include "scenes/model/ModelDigest.h"
#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// Whether a write of the model would store exactly what was read from the file. Also false when
/// that cannot be told for some node.
bool isUnedited(const Accessor& accessor, const ReadSnapshot& snapshot, ModelDigests& digests);

}  // namespace orbo::Data
