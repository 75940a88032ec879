// quilmeta git-diff: shows for git what differs between two scenes.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "patches/MergeScenes.h"
#include "process/Output.h"
#include "scene/SceneFile.h"
#include "selection/SceneView.h"
#include "values/SafeText.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"git-diff", "Show for git what differs between two scenes", R"(
The words are those that git gives an external diff command: the path, then file,
object and mode of the old version, then of the new one. The exit code is 0,
also for a version that cannot be read, which is reported.
Example:
  git config diff.quilmeta.command "quilmeta git-diff")"};

class GitDiff : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.words("WORD", fWords, "PATH OLD OLD-HEX OLD-MODE NEW NEW-HEX NEW-MODE");
    }

    Outcome run(Output& output) override {
        // Git gives nothing but the name of a path with a conflict. The new name and a text follow
        // the seven words for a path that was renamed.
        if (fWords.size() == 1) {
            output.write("unmerged: " + shownPath(fWords[0]) + '\n');
            return Outcome::kDone;
        }
        if (fWords.size() != 7 && fWords.size() != 9)
            throw UsageError("git gives the command 7 words, or 9 for a file that was renamed");
        guarded(fWords[0], [&] {
            show(output);
            return Outcome::kDone;
        });
        return Outcome::kDone;
    }

  private:
    void show(Output& output) const {
        const std::string& path = fWords[0];
        const std::string& newPath = fWords.size() == 9 ? fWords[7] : path;
        auto& [left, right] = lastingScenes();
        left = open(fWords[1], path);
        right = open(fWords[4], newPath);
        const Patch patch = differences(viewOf(left), viewOf(right));
        const std::string before = left.accessor ? "a/" + path : kNothing;
        const std::string after = right.accessor ? "b/" + newPath : kNothing;
        if (newPath != path)
            output.write("rename from " + shownPath(path) + "\nrename to " + shownPath(newPath) +
                         '\n');
        if (!patch.changes.empty()) return printDifferences(patch, before, after, output);
        output.write(shownPath(newPath) + ": " + sameness(left, right) + '\n');
    }

    /// Says what there is where no metadata differs.
    [[nodiscard]] const char* sameness(const Scene& left, const Scene& right) const {
        if (left.accessor && right.accessor) return "the metadata is the same";
        if (left.accessor)
            return fWords[4] == kNothing ? "is removed, and had no metadata"
                                         : "is empty now, and had no metadata";
        if (right.accessor)
            return fWords[1] == kNothing ? "is new, and has no metadata"
                                         : "was empty, and has no metadata";
        return "is empty";
    }

    static Scene open(const std::string& file, const std::string& path) {
        if (file == kNothing || isEmptyFile(file)) return {};
        SceneAccess access;
        access.looksFirst = true;
        access.kindName = kindNameOf(path, file);
        return openScene(file, access);
    }

    static SceneView viewOf(const Scene& scene) {
        return scene.accessor ? select(*scene.accessor, {}) : SceneView();
    }

    static constexpr const char* kNothing = "/dev/null";
    std::vector<std::string> fWords;
};

}  // namespace

std::unique_ptr<Command> makeGitDiff() { return std::make_unique<GitDiff>(); }

}  // namespace orbo::Quilmeta
