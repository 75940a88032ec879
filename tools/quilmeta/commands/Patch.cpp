// quilmeta patch: makes the changes of a patch in a scene.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Patch.h"

#include "commands/Commands.h"
#include "commands/Options.h"
#include "patches/Apply.h"
#include "patches/ChangeReport.h"
#include "patches/Import.h"
#include "process/Messages.h"
#include "scene/SceneFile.h"

#include <set>
#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"patch", "Make the changes of a patch in a scene", R"(
PATCH is what diff --json prints; "-" is standard input. Every old value must be
what the scene has, bit by bit: else all that differ are listed, and nothing is
written. --reverse takes new for old, and so undoes a patch.
Example:
  quilmeta diff robot.kx robot2.kx --json > robot.patch
  quilmeta patch robot.kx robot.patch)"};

class ApplyPatch : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("FILE", fFile, "Scene file, which is rewritten");
        options.word("PATCH", fPatch, "Patch to read");
        options.flag("--reverse", fReverse, "Undo the changes instead");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        Patch patch;
        const auto read = [&] {
            JsonSource source = JsonSource::ofFile(fPatch);
            patch = readPatch(source);
            if (fReverse) patch = reversed(std::move(patch));
            return Outcome::kDone;
        };
        const Outcome outcome = guarded(patchName(), read).outcome;
        if (outcome != Outcome::kDone) return outcome;
        return changeFiles({fFile}, fAccess, 1, output,
                           [&](const FileTurn& turn) { return change(patch, turn.output); });
    }

  private:
    [[nodiscard]] std::string patchName() const {
        return fPatch == "-" ? "standard input" : fPatch;
    }

    FileResult change(const Patch& patch, Output& output) const {
        const Scene scene = openScene(fFile, fAccess);
        std::set<std::string> nodes;
        for (const Change& change : patch.changes)
            if (change.kind != Change::Kind::kStructure) nodes.insert(change.node);
        demandReadable(*scene.accessor, scene.complete, nodes);
        const ApplyProblems problems = apply(patch, *scene.accessor);
        if (!problems.ofPatch.empty()) {
            complain(fFile, problems.sceneText());
            throw FileError(patchName(), problems.ofPatch.text());
        }
        if (!problems.empty()) throw CommandError(problems.text() + "nothing was changed");
        const bool changed = writeScene(scene, fAccess, output);
        return {scene.outcome(), changed};
    }

    std::string fFile, fPatch;
    bool fReverse = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makePatch() { return std::make_unique<ApplyPatch>(); }

}  // namespace orbo::Quilmeta
