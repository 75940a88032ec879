// Puts the new section of a scene into its file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/WritePolicy.h>

#include <string>
#include <vector>

#include "files/LockedFile.h"
#include "scenes/writing/SceneSection.h"

namespace orbo::Data {

enum class RewriteResult {
    kDone,
    kFailed,
    kConflict,  ///< somebody else has written the file since it was opened
    kUnsure,    ///< the file holds the new section, but not everything that was asked for is done
};

enum class RewriteExtent {
    kWhole,
    kChecks,  ///< all that can fail ahead of the first byte; `kDone` then says that nothing would
};

/// Anything but `kDone` comes with a message.
RewriteResult rewrite(Files::LockedFile& file, const std::vector<SceneSection::Change>& changes,
                      const WritePolicy& policy, RewriteExtent extent, std::string& errors);

}  // namespace orbo::Data
