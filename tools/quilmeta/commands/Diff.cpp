// quilmeta diff: what differs between the metadata of two scenes.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/ResultList.h"
#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "process/Messages.h"
#include "scene/SceneFile.h"
#include "selection/NameHints.h"
#include "selection/SceneView.h"

#include <algorithm>
#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"diff", "Show what differs between two scenes", R"(
Compares structures, streams, elements and values bit by bit, whatever kinds of
scenes A and B are. Exit code 0 without a difference, 1 with one, 2 when a scene
cannot be read. --json prints a patch, which the command patch applies; --jsonl
prints its changes, a line each.
Example:
  quilmeta diff robot.kx robot-exported-again.ky)"};

class Diff : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("A", fLeft, "Scene file");
        options.word("B", fRight, "Scene file to compare it with");
        options.selection(fSelection);
        options.flag("--stat", fCounts, "Only count the changes of each stream");
        options.results(fFormat);
        options.wait(fAccess);
        fAccess.looksFirst = true;
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        auto& [left, right] = lastingScenes();
        const Outcome read = std::max(open(fLeft, left), open(fRight, right));
        if (read >= Outcome::kFailed) return read;
        const Selection selection = fSelection.selection();
        const SceneView before = select(*left.accessor, selection);
        const SceneView after = select(*right.accessor, selection);
        const Patch patch = differences(before, after);
        print(patch, output);
        if (!patch.changes.empty()) return std::max(read, Outcome::kFound);
        if (selection.everything() || !before.nodes.empty() || !after.nodes.empty()) return read;
        NameHints hints(GivenNames{selection});
        hints.offer(*left.accessor);
        hints.offer(*right.accessor);
        complain("", "nothing matches" + selection.text() + hints.question());
        return std::max(read, Outcome::kNothingSelected);
    }

  private:
    void print(const Patch& patch, Output& output) const {
        const PatchFiles files{fLeft, fRight};
        if (fFormat == ResultFormat::kText && fCounts) return printStatistics(patch, output);
        if (fFormat == ResultFormat::kText) return printDifferences(patch, fLeft, fRight, output);
        if (fFormat == ResultFormat::kJson && !fCounts) return write(patch, output, &files);
        ResultList results(output, fFormat);
        if (fCounts)
            for (const JsonObject& counts : statisticsOf(patch, files))
                ResultList::add(results, fFormat, counts);
        else
            for (const Change& change : patch.changes)
                ResultList::add(results, fFormat, jsonOf(change, &files));
        results.end();
    }

    Outcome open(const std::string& file, Scene& scene) const {
        return guarded(file,
                       [&] {
                           scene = openScene(file, fAccess);
                           return FileResult(scene.outcome());
                       })
            .outcome;
    }

    std::string fLeft, fRight;
    SelectionArguments fSelection;
    bool fCounts = false;
    ResultFormat fFormat = ResultFormat::kText;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeDiff() { return std::make_unique<Diff>(); }

}  // namespace orbo::Quilmeta
