// Puts changes into the file of a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>
#include <data/WritePolicy.h>

#include <vector>

#include "files/LockedFile.h"
#include "scenes/Findings.h"

namespace orbo::Data {

enum class RewriteResult {
    kDone,
    kFailed,
    kConflict,  ///< somebody else has written the file since it was opened
    kUnsure,    ///< the file holds the new section, but not everything that was asked for is done
};

enum class RewriteExtent {
    kWhole,
    kChecks,  ///< all that can fail before the first byte is written; `kDone`: nothing would
};

/// Anything but `kDone` comes with a finding.
RewriteResult rewrite(Files::LockedFile& file, const std::vector<SceneChange>& changes,
                      const WritePolicy& policy, RewriteExtent extent, Findings& findings);

}  // namespace orbo::Data
