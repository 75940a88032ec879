// The elements of a scene that a condition selects.
// SPDX-License-Identifier: Apache-2.0
#include "selection/ElementSearch.h"

#include "process/Messages.h"

#include <data/Structure.h>

namespace orbo::Quilmeta {

void ElementSearch::note(const Data::Accessor& scene, const SceneView& view) {
    if (fExpression.syntax().names.empty()) return;
    MembersSeen seen;
    for (const Data::Structure* structure : scene.structures()) seen.add(*structure);
    for (const Data::Structure* structure : view.structures) seen.add(*structure);
    const std::lock_guard<std::mutex> guard(fLock);
    fSeen.add(seen);
    fSawScene = true;
}

bool ElementSearch::warn() {
    if (!fSawScene) return true;
    const auto warnings = fExpression.warnings(fSeen);
    for (const std::string& warning : warnings) complain("", "warning: " + warning);
    return warnings.empty();
}

}  // namespace orbo::Quilmeta
