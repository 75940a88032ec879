// quilmeta show: the metadata of scenes, for people.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonDocument.h"
#include "json/ResultList.h"
#include "output/TreeWriter.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/SceneFile.h"
#include "selection/NameHints.h"
#include "selection/SceneView.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"show", "Show the metadata of scenes", R"(
--node, --channel and --stream may be given several times. In their patterns *
stands for any text and ? for one character; \ takes the next one as it is.
Example:
  quilmeta show --values --node rig --channel joints robot.kx)"};

class Show : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files");
        options.flag("--values", fValues, "Show the elements, too");
        options.selection(fSelected);
        options.results(fFormat);
        options.reading(fAccess);
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        fSelection = fSelected.selection();
        fHints.emplace(GivenNames{fSelection});
        const std::vector<std::string> files = filesOf(fFiles);
        EachFile how;
        how.jobs = fFiles.jobs;
        // One file is one document; several are a list of them.
        fLayout = fFormat == ResultFormat::kJson ? Layout::kLines : Layout::kOneLine;
        if (fFiles.isOneFile() && fFormat == ResultFormat::kJson)
            fFormat = ResultFormat::kJsonLines;
        how.failed = ResultList::failures(fFormat);
        ResultList results(output, fFormat);
        const Outcome outcome = forEachFile(files, how, results, [&](const FileTurn& turn) {
            return show(turn.file, turn.output);
        });
        results.end();
        if (fShown > 0 || outcome == Outcome::kFailed || Signals::received() != 0) return outcome;
        // Names that match nothing may be misspelt; silence would look like scenes without
        // metadata.
        if (!files.empty())
            complain("", "nothing matches" + fSelection.text() + fHints->question());
        return std::max(outcome, Outcome::kNothingSelected);
    }

  private:
    using Layout = JsonDocument::Layout;

    FileResult show(const std::string& file, Output& output) {
        const Scene scene = openSelected(file, fAccess, fSelection);
        const SceneView view = select(*scene.accessor, fSelection);
        if (view.nodes.empty() && !fSelection.everything()) {
            fHints->offer(*scene.accessor);
            return scene.outcome();
        }
        if (fFormat != ResultFormat::kText) {
            writeJson(file, view, output);
        } else {
            output.beginSection();
            TreeWriter(output, fValues).write(file, view);
        }
        ++fShown;
        output.flush();
        return scene.outcome();
    }

    void writeJson(const std::string& file, const SceneView& view, Output& output) const {
        const size_t depth = fFormat == ResultFormat::kJson ? 1 : 0;
        ResultList::begin(output, fFormat);
        JsonDocument(output, fLayout, depth).write(view, file);
        ResultList::end(output, fFormat);
    }

    FileArguments fFiles;
    SelectionArguments fSelected;
    Selection fSelection;
    std::optional<NameHints> fHints;
    bool fValues = false;
    ResultFormat fFormat = ResultFormat::kText;
    Layout fLayout = Layout::kLines;
    SceneAccess fAccess;
    std::atomic<size_t> fShown = 0;  // files with something that was selected
};

}  // namespace

std::unique_ptr<Command> makeShow() { return std::make_unique<Show>(); }

}  // namespace orbo::Quilmeta
