// quilmeta refs collect: copies scenes and all files they need into one folder.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/ResultList.h"
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "references/Collection.h"
#include "references/TargetFolder.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"collect", "Copy scenes and all files they need", R"(
DIR, which must not exist or be empty, gets the scenes, below "files" all files that
they refer to, tiles and frames included, and manifest.json with the size and SHA-256
of each file. The copied scenes refer to the copied files. Scenes that they refer to
are treated alike. If a file is missing, nothing is copied unless --allow-missing is
given. The scenes themselves stay as they are.
Example:
  quilmeta refs collect shots/010.kx --to delivery --define SHOW=/shows/demo)"};

class RefsCollect : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files");
        options.required("--to", "DIR", fTarget, "The folder to make");
        options.lookup(fLookupArguments);
        options.flag("--allow-missing", fAllowMissing, "Copy what is there");
        options.flag("-n,--dry-run", fDryRun, "Show what would be copied, and copy nothing");
        options.results(fFormat);
        options.wait(fAccess);
    }

    Outcome run(Output& output) override {
        fLookup.prepare(fLookupArguments);
        fHow.jobs = fFiles.jobs;
        fHow.failed = ResultList::failures(fFormat);
        ResultList results(output, fFormat);
        const Outcome outcome = collect(results);
        results.end();
        return outcome;
    }

  private:
    Outcome collect(Output& output) {
        TargetFolder folder(fTarget);
        const Outcome read = fCollection.read(filesOf(fFiles), fAccess, fHow, output);
        if (Signals::received() != 0) return read;
        if (read >= Outcome::kFailed) return refuse(read);
        const bool anyMissing = reportMissing();
        if (anyMissing && !fAllowMissing) return refuse(std::max(read, Outcome::kFound));
        fCollection.plan();
        if (!fDryRun) folder.make(fCollection.files());
        const Outcome copied = copyAll(folder, output);
        if (fDryRun) {
            const std::string problem = folder.problemOf(fBytes);
            if (!problem.empty()) throw CommandError(inQuotes(fTarget) + ": " + problem);
            return std::max(read, copied);
        }
        if (Signals::received() != 0 || copied >= Outcome::kFailed) {
            complain("", "what was copied is removed again");
            return copied;
        }
        folder.writeManifest(manifest());
        folder.keep();
        remark(fmt::format("{}, {}, in {}", counted(fEntries.size(), "file"),
                           byteText(static_cast<double>(fBytes)), inQuotes(fTarget)));
        return std::max(read, copied);
    }

    static Outcome refuse(Outcome outcome) {
        complain("", outcome >= Outcome::kFailed
                         ? "nothing was copied"
                         : "nothing was copied; --allow-missing copies what is there");
        return outcome;
    }

    [[nodiscard]] bool reportMissing() const {
        for (const MissingReference& missing : fCollection.missing())
            complain(subjectOf(missing.scene),
                     fmt::format("node {}, key {}: {} is missing{}{}", inQuotes(missing.node),
                                 inQuotes(missing.key), inQuotes(missing.path),
                                 missing.reason.empty() ? "" : ": ", missing.reason));
        return !fCollection.missing().empty();
    }

    Outcome copyAll(TargetFolder& folder, Output& output) {
        std::vector<std::string> sources;
        for (const CollectedFile& file : fCollection.files()) sources.push_back(file.source);
        fEntries.resize(sources.size());
        fSizes.resize(sources.size());
        const Outcome outcome = forEachFile(
            sources, fHow, output, [&](const FileTurn& turn) { return copy(folder, turn); });
        output.flush();
        for (const std::uint64_t size : fSizes) fBytes += size;
        return outcome;
    }

    FileResult copy(TargetFolder& folder, const FileTurn& turn) {
        const CollectedFile& file = fCollection.files()[turn.number];
        Digest digest;
        if (fDryRun) {
            TargetFolder::rehearse(file, fAccess);
            digest.size = std::filesystem::file_size(file.source);
        } else {
            digest = folder.copy(turn.number, fAccess);
        }
        fSizes[turn.number] = digest.size;
        const auto add = [&](JsonObject& object) {
            object.add("source", file.source).add("target", file.target).add("size", digest.size);
            if (!fDryRun) object.add("sha256", digest.sha256);
        };
        add(fEntries[turn.number]);
        if (fFormat != ResultFormat::kText) {
            JsonObject result;
            add(result.add("file", turn.file));
            ResultList::add(turn.output, fFormat, result);
        } else if (verbosity() != Verbosity::kQuiet) {
            turn.output.write(shownPath(file.source) + " -> " + shownPath(file.target) + '\n');
        }
        return Outcome::kDone;
    }

    [[nodiscard]] std::string manifest() const {
        std::string text = "{\n  \"files\": [";
        const char* gap = "\n    ";
        for (const JsonObject& entry : fEntries) {
            text += gap + entry.text();
            gap = ",\n    ";
        }
        text += "\n  ],\n  \"missing\": [";
        gap = "\n    ";
        for (const MissingReference& missing : fCollection.missing()) {
            JsonObject object;
            object.add("scene", missing.scene)
                .add("node", missing.node)
                .add("key", missing.key)
                .add("path", missing.path);
            text += gap + object.text();
            gap = ",\n    ";
        }
        return text + (fCollection.missing().empty() ? "]\n}\n" : "\n  ]\n}\n");
    }

    FileArguments fFiles;
    std::string fTarget;
    LookupArguments fLookupArguments;
    bool fAllowMissing = false, fDryRun = false;
    ResultFormat fFormat = ResultFormat::kText;
    SceneAccess fAccess;
    EachFile fHow;
    FileLookup fLookup;
    Collection fCollection{fLookup};
    // Both have a place for each file, by its number, so that threads write apart from each other.
    std::vector<JsonObject> fEntries;
    std::vector<std::uint64_t> fSizes;
    std::uint64_t fBytes = 0;
};

}  // namespace

std::unique_ptr<Command> makeRefsCollect() { return std::make_unique<RefsCollect>(); }

}  // namespace orbo::Quilmeta
