// Shows what a dry run would change.
// SPDX-License-Identifier: Apache-2.0
#include "patches/DryRun.h"

#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "selection/SceneView.h"

namespace orbo::Quilmeta {

void showDryRun(const Data::Accessor& before, const Data::Accessor& after, Output& output) {
    const std::string& file = after.fileName();
    printDifferences(differences(select(before, {}), select(after, {})), file, file + " (dry run)",
                     output);
}

}  // namespace orbo::Quilmeta
