// One edit of many scenes.
// SPDX-License-Identifier: Apache-2.0
#include "patches/EditScenes.h"

#include "patches/ChangeReport.h"
#include "process/Messages.h"
#include "process/Signals.h"

#include <algorithm>
#include <atomic>

namespace orbo::Quilmeta {

Outcome editScenes(const FileArguments& files, const SceneAccess& access, Output& output,
                   const std::string& selection, const std::function<Edited(Scene&)>& edit,
                   const GivenNames& names) {
    const std::vector<std::string> words = filesOf(files);
    NameHints hints(names);
    std::atomic<bool> found = false;
    const auto work = [&](const FileTurn& turn) {
        Scene scene = openScene(turn.file, access);
        const Edited edited = edit(scene);
        if (edited.selected > 0)
            found = true;
        else
            hints.offer(*scene.accessor);
        if (!edited.changed) return FileResult(scene.outcome());
        if (!writeScene(scene, access, turn.output)) return FileResult(scene.outcome());
        return FileResult(scene.outcome(), true, edited.report);
    };
    const Outcome outcome = changeFiles(words, access, files.jobs, output, work);
    const bool isSelecting = !selection.empty() || !words.empty();
    if (found || !isSelecting || outcome == Outcome::kFailed || Signals::received() != 0)
        return outcome;
    // An empty list of files is no misspelt selection.
    if (!words.empty()) complain("", "nothing matches" + selection + hints.question());
    return std::max(outcome, Outcome::kNothingSelected);
}

}  // namespace orbo::Quilmeta
