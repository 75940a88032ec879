// quilmeta diff: what differs between the metadata of two scenes.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "scene/SceneFile.h"
#include "selection/SceneView.h"

#include <algorithm>
#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"diff", "Show what differs between two scenes", R"(
Compares structures, streams, elements and values bit by bit, whatever kinds of
scenes A and B are. Exit code 0 without a difference, 1 with one, 2 when a scene
cannot be read. --json prints a patch, which the command patch applies.
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
        options.flag("--json", fJson, "Print a patch that makes A what B is");
        options.wait(fAccess);
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        Scene left, right;
        const Outcome read = std::max(open(fLeft, left), open(fRight, right));
        if (read >= Outcome::kFailed) return read;
        const Selection selection = fSelection.selection();
        const Patch patch =
            differences(select(*left.accessor, selection), select(*right.accessor, selection));
        if (fJson)
            write(patch, output);
        else if (fCounts)
            printStatistics(patch, output);
        else
            printDifferences(patch, fLeft, fRight, output);
        return patch.changes.empty() ? read : std::max(read, Outcome::kFound);
    }

  private:
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
    bool fJson = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeDiff() { return std::make_unique<Diff>(); }

}  // namespace orbo::Quilmeta
