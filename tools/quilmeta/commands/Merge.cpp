// quilmeta merge: the metadata of two scenes that have a common ancestor.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/ResultList.h"
#include "patches/ChangeReport.h"
#include "patches/MergeScenes.h"

#include <filesystem>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"merge", "Merge what two sides changed of a scene", R"(
Takes what OURS and THEIRS changed of BASE's metadata. Where both changed the
same value, each in another way, that is a conflict: all are listed with the
values of each side, the exit code is 1 and OUT is not written.
Only metadata merges. If one side changed the rest of the file, OUT gets it from
there; if both did, --payload must say whose to take.
Example:
  quilmeta merge base.kx ours.kx theirs.kx -o merged.kx)"};

class Merge : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("BASE", fRequest.base, "Scene that both sides come from");
        options.word("OURS", fRequest.ours, "Scene of one side");
        options.word("THEIRS", fRequest.theirs, "Scene of the other side");
        options.required("-o,--output", "OUT", fRequest.out, "Scene to write");
        options.optional("--payload", "ours|theirs", fPayload,
                         "Where all but the metadata comes from");
        options.flag("--force", fForce, "Replace OUT if it is there");
        options.flag("-n,--dry-run", fRequest.access.dryRun,
                     "Show what OUT would have beside OURS, and write nothing");
        options.results(fRequest.access.format);
        options.wait(fRequest.access);
    }

    Outcome run(Output& output) override {
        if (fPayload && *fPayload != "ours" && *fPayload != "theirs")
            throw UsageError("--payload takes \"ours\" or \"theirs\"");
        if (fPayload)
            fRequest.payload = *fPayload == "ours" ? MergeSide::kOurs : MergeSide::kTheirs;
        const ResultFormat format = fRequest.access.format;
        ResultList results(output, format);
        const FileWork work = reporting([this](const FileTurn& turn) { return merge(turn); },
                                        {format, fRequest.access.dryRun});
        const FileTurn turn{0, fRequest.out, results};
        const auto failed = [&](const std::vector<std::string>& messages) {
            if (const auto report = ResultList::failures(format)) report(turn, messages);
        };
        const Outcome outcome = guarded(
                                    fRequest.out, [&] { return work(turn); }, failed)
                                    .outcome;
        results.end();
        return outcome;
    }

  private:
    [[nodiscard]] FileResult merge(const FileTurn& turn) const {
        std::error_code ignored;
        if (!fForce && std::filesystem::exists(fRequest.out, ignored))
            throw CommandError("is there already; --force replaces it");
        demandSameKind(fRequest.out, fRequest.ours);
        const Outcome outcome = mergeScenes(fRequest, turn.output);
        return {outcome, outcome == Outcome::kDone};
    }

    MergeRequest fRequest;
    std::optional<std::string> fPayload;
    bool fForce = false;
};

}  // namespace

std::unique_ptr<Command> makeMerge() { return std::make_unique<Merge>(); }

}  // namespace orbo::Quilmeta
