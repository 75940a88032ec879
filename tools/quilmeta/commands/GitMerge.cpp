// quilmeta git-merge: merges scenes for git.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "patches/MergeScenes.h"

#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"git-merge", "Merge scenes for git", R"(
The words are those that git puts for %O, %A, %B and %P in the configuration of a
merge driver. The result replaces CURRENT. With a conflict CURRENT stays as it
is and the exit code is 1, so that git asks for a decision.
Example:
  git config merge.quilmeta.driver "quilmeta git-merge %O %A %B %P")"};

class GitMerge : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("BASE", fRequest.base, "%O, the version that both sides come from");
        options.word("CURRENT", fRequest.ours, "%A, our version, which is replaced");
        options.word("OTHER", fRequest.theirs, "%B, their version");
        options.word("PATH", fPath, "%P, the path of the scene in the work tree");
    }

    Outcome run(Output& output) override {
        return guarded(fPath,
                       [&] {
                           fRequest.out = fRequest.ours;
                           fRequest.path = fPath;
                           fRequest.access.kindName = kindNameOf(fPath, fRequest.ours);
                           return FileResult(mergeScenes(fRequest, output));
                       })
            .outcome;
    }

  private:
    MergeRequest fRequest;
    std::string fPath;
};

}  // namespace

std::unique_ptr<Command> makeGitMerge() { return std::make_unique<GitMerge>(); }

}  // namespace orbo::Quilmeta
