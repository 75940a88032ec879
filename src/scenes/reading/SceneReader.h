// Reads a scene of any kind into a model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/SceneKind.h>

#include <optional>
#include <vector>

#include "scenes/Findings.h"
#include "scenes/reading/ModelBuilder.h"
#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// Adds the content of the input to the map, and its structures to this thread's registry. Returns
/// what was added; nothing, with a finding, when the input could not be scanned to its end.
/// `request.lastFirst` is ignored: the kind of scene decides the order of records. The snapshot has
/// a fingerprint if that is asked for and all records were read.
std::optional<ReadSnapshot> readScene(const SceneKind& kind, SceneInput& input,
                                      ModelBuilder::Request request, Accessor::AssociationsMap& map,
                                      Findings& findings, bool takesFingerprint = false);

/// Adds one node that an earlier read left in the file, from the places that it noted. The
/// structures are registered in this thread's registry. Otherwise as `readScene`.
std::optional<ReadSnapshot> readLeftNode(const SceneKind& kind, SceneInput& input,
                                         const std::vector<SceneRecordRange>& places,
                                         ModelBuilder::Request request,
                                         Accessor::AssociationsMap& map, Findings& findings);

}  // namespace orbo::Data
