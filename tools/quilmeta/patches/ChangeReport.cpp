// Reports of the files that a command changes: for people, or as JSON.
// SPDX-License-Identifier: Apache-2.0
#include "patches/ChangeReport.h"

#include "json/ResultList.h"
#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "process/Messages.h"
#include "selection/SceneView.h"
#include "values/SafeText.h"

#include <optional>
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

    std::optional<Patch> changes;  // of a dry run

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
    JsonObject object;
    object.add("file", turn.file).add("changed", result.changed);
    if (how.dryRun) object.add("dryRun", true);
    if (!result.report.empty()) object.add("report", result.report);
    if (const auto details = held.lines(); !details.empty()) object.addList("details", details);
    if (held.changes) object.addJson("changes", jsonOf(*held.changes));
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
    ResultList results(output, access.format);
    const Outcome outcome = editFiles(files, access, jobs, results,
                                      reporting(edit, {access.format, access.dryRun, silent}));
    results.end();
    return outcome;
}

void showDryRun(const Data::Accessor& before, const Data::Accessor& after, Output& output) {
    const std::string& file = after.fileName();
    Patch patch = differences(select(before, {}), select(after, {}));
    if (auto* const report = dynamic_cast<HeldReport*>(&output))
        report->changes = std::move(patch);
    else
        printDifferences(patch, file, file + " (dry run)", output);
}

}  // namespace orbo::Quilmeta
