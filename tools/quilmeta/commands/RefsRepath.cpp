// quilmeta refs repath: gives the external files of scenes new paths.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "patches/ChangeReport.h"
#include "process/CommandError.h"
#include "process/InputText.h"
#include "process/Messages.h"
#include "process/Output.h"
#include "process/Signals.h"
#include "references/References.h"
#include "references/Repath.h"
#include "values/SafeText.h"

#include <algorithm>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {
    "repath", "Replace prefixes of paths, or matches of a regular expression", R"(
A prefix ends where a component of the path ends. Paths as entered and as resolved
are replaced each by its own longest prefix, once. --from and --to may be given
several times. With --regex instead of --from, each match is replaced; \1 in --to is
what the first brackets match. Expressions apply in their order, each to what the one
before has made. All else in the table and the scene stays. A prefix or expression
that no path has is reported, with exit code 1.
Example:
  quilmeta refs repath shots/*.kx --from /shows/demo --to /archive/demo --dry-run)"};

class RefsRepath : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are rewritten");
        options.repeated("--from", "PREFIX", fFrom, "Where paths begin now");
        options.repeated("--regex", "REGEX", fRegexes, "What to replace, wherever in a path");
        options.repeated("--to", "TEXT", fTo, "What takes the place of --from or --regex");
        options.repeated("--map", "CSV", fTables, "More pairs, from a table of two columns");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        if (!readPairs()) return Outcome::kUsage;
        const Outcome outcome =
            changeFiles(filesOf(fFiles), fAccess, fFiles.jobs, output,
                        [&](const FileTurn& turn) { return repath(turn.file, turn.output); });
        if (Signals::received() != 0 || fRepath.reportUnused()) return outcome;
        return std::max(outcome, Outcome::kNothingSelected);
    }

  private:
    /// Returns false, with a message, when they are wrong.
    bool readPairs() {
        if (!fRegexes.empty()) return readRegexes();
        if (fFrom.size() != fTo.size())
            throw CommandError("each --from takes a --to, in the same order");
        for (size_t i = 0; i < fFrom.size(); ++i) fRepath.add(fFrom[i], fTo[i]);
        Outcome read = Outcome::kDone;
        for (const std::string& file : fTables)
            read = std::max(read, guarded(file, [&] {
                                      fRepath.addCsv(inputText(file));
                                      return Outcome::kDone;
                                  }).outcome);
        if (read == Outcome::kDone && fRepath.empty())
            throw CommandError(
                "nothing to replace: give --from and --to, --regex and --to, or --map");
        return read == Outcome::kDone;
    }

    bool readRegexes() {
        if (!fFrom.empty() || !fTables.empty())
            throw UsageError("--regex takes the place of --from and --map");
        if (fRegexes.size() != fTo.size())
            throw UsageError("each --regex takes a --to, in the same order");
        for (size_t i = 0; i < fTo.size(); ++i) fRepath.addRegex(fRegexes[i], fTo[i]);
        return true;
    }

    FileResult repath(const std::string& file, Output& output) {
        const Scene scene = openForReferences(file, fAccess, ReferencesFor::kWriting);
        // Printed only once the file is written; see `forEachFile`.
        std::string text;
        if (Data::Stream* table = tableOf(scene))
            for (Data::StreamIterator row = table->begin(); row.valid(); ++row)
                text += fRepath.apply(*row);
        if (text.empty()) return scene.outcome();
        const bool changed = writeScene(scene, fAccess, output);
        output.write(safeLine(file) + '\n' + text);
        output.flush();
        return {scene.outcome(), changed};
    }

    FileArguments fFiles;
    std::vector<std::string> fFrom, fRegexes, fTo, fTables;
    SceneAccess fAccess;
    Repath fRepath;
};

}  // namespace

std::unique_ptr<Command> makeRefsRepath() { return std::make_unique<RefsRepath>(); }

}  // namespace orbo::Quilmeta
