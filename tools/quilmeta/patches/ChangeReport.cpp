// Reports of the files that a command changes: for people, or as JSON.
// SPDX-License-Identifier: Apache-2.0
#include "patches/ChangeReport.h"

#include "json/ResultList.h"
#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "process/Messages.h"
#include "selection/SceneView.h"
#include "values/SafeText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string_view>
#include <utility>

namespace orbo::Quilmeta {

namespace {

/// Holds what the work on one file says until it is known how the work ends.
class HeldReport : public Output {
  public:
    /// The lines that were written.
    [[nodiscard]] std::vector<std::string> lines() {
        flush();
        std::vector<std::string> lines;
        for (std::string_view rest = fText; !rest.empty();) {
            const size_t end = rest.find('\n');
            lines.emplace_back(rest.substr(0, end));
            rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
        }
        return lines;
    }

    ReportParts parts;

  protected:
    void deliver(std::string_view bytes) override { fText += bytes; }

  private:
    std::string fText;
};

std::string jsonOf(const Patch& patch) {
    std::string text = "[";
    for (const Change& change : patch.changes)
        text += (text.size() > 1 ? ", " : "") + jsonOf(change).text();
    return text + ']';
}

FileResult reportJson(const FileWork& work, const FileTurn& turn, const ReportHow& how) {
    HeldReport held;
    FileResult result = work({turn.number, turn.file, held});
    if (const auto& errors = held.parts.errors; !errors.empty()) {
        ResultList::failures(how.format)(turn, errors);
        return result;
    }
    JsonObject object;
    object.add("file", turn.file).add("changed", result.changed);
    if (how.dryRun) object.add("dryRun", true);
    if (!result.report.empty()) object.add("report", result.report);
    if (const auto details = held.lines(); !details.empty()) object.addList("details", details);
    if (held.parts.changes) object.addJson("changes", jsonOf(*held.parts.changes));
    if (const auto& conflicts = held.parts.conflicts; !conflicts.empty())
        object.addJson("conflicts", fmt::format("[{}]", fmt::join(conflicts, ", ")));
    ResultList::add(turn.output, how.format, object);
    return result;
}

}  // namespace

FileWork reporting(FileWork work, const ReportHow& how) {
    return [work = std::move(work), how](const FileTurn& turn) {
        if (how.format != ResultFormat::kText) return reportJson(work, turn, how);
        FileResult result = work(turn);
        if (!how.silent && !result.report.empty())
            turn.output.write(shownPath(turn.file) + ": " + result.report + '\n');
        return result;
    };
}

// A dry run has shown what would change, which says more than a report.
Outcome changeFiles(const std::vector<std::string>& files, const SceneAccess& access, size_t jobs,
                    Output& output, const FileWork& edit) {
    const bool silent = access.dryRun || verbosity() == Verbosity::kQuiet;
    EachFile how = access.eachFile(jobs);
    how.failed = ResultList::failures(access.format);
    ResultList results(output, access.format);
    const Outcome outcome = editFiles(files, access, how, results,
                                      reporting(edit, {access.format, access.dryRun, silent}));
    results.end();
    return outcome;
}

ReportParts* reportPartsOf(Output& output) {
    auto* const report = dynamic_cast<HeldReport*>(&output);
    return report ? &report->parts : nullptr;
}

void showChanges(Patch patch, const std::string& before, const std::string& after, Output& output) {
    if (ReportParts* parts = reportPartsOf(output))
        parts->changes = std::move(patch);
    else
        printDifferences(patch, before, after, output);
}

void showDryRun(const Data::Accessor& before, const Data::Accessor& after, Output& output) {
    const std::string& file = after.fileName();
    showChanges(differences(select(before, {}), select(after, {})), file, file + " (dry run)",
                output);
}

}  // namespace orbo::Quilmeta
