// quilmeta find: the elements that a condition selects.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonElement.h"
#include "json/ResultList.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/SceneFile.h"
#include "selection/ElementSearch.h"
#include "selection/NameHints.h"
#include "values/SafeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"find", "Find elements by a condition", R"(
Prints an element a line: file, node, channel, stream and index, with tabs
between. Without --where all elements match. The exit code is 1 when nothing
was found. docs/expressions.md says what may be in a condition.
Example:
  quilmeta find -r shots --where 'channel == "edge" and sharpness > 0.9' --files)"};

/// An element is found with tabs in its line: names that have tabs stand in quotes.
std::string lineOf(const std::string& file, const NodeView& node, const ChannelView& channel,
                   const Data::Stream& stream, const Data::ElementIndex& index) {
    return fmt::format("{}\t{}\t{}\t{}\t{}\n", shownPath(file), shownNode(node.name),
                       shownName(channel.channel.name()), shownName(stream.name()),
                       shownName(index.asString()));
}

class Find : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files");
        options.optional("--where", "EXPRESSION", fWhere, "Only elements for which this is true");
        options.selection(fSelected);
        options.flag("--files", fNames, "Print only the files that have such elements");
        options.flag("--count", fCounts, "Print only how many such elements each file has");
        options.results(fFormat);
        options.reading(fAccess);
        fAccess.looksFirst = true;
    }

    Outcome run(Output& output) override {
        if (fNames && fCounts) throw UsageError("--files and --count exclude each other");
        output.stopOnSignals();
        fSelection = fSelected.selection();
        fSearch.emplace(fWhere);
        fHints.emplace(GivenNames{fSelection});
        EachFile how;
        how.jobs = fFiles.jobs;
        how.failed = ResultList::failures(fFormat);
        ResultList results(output, fFormat);
        const std::vector<std::string> files = filesOf(fFiles);
        Outcome outcome =
            forEachFile(files, how, results, [&](const FileTurn& turn) { return find(turn); });
        results.end();
        if (Signals::received() != 0) return outcome;
        const bool isSpeltRight = fSearch->warn();
        const bool isAnswered = !files.empty() && isSpeltRight && outcome != Outcome::kFailed;
        if (fFound == 0 && isAnswered) reportNothing();
        if (fFound == 0 || !isSpeltRight) outcome = std::max(outcome, Outcome::kNothingSelected);
        return outcome;
    }

  private:
    /// Nothing found is an answer, but for a name that may be misspelt.
    void reportNothing() {
        const std::string hint = fHints->question();
        if (hint.empty() && !fCounts)
            remark("no element is found");
        else if (!hint.empty())
            complain("", "nothing matches" + fSelection.text() + hint);
    }

    FileResult find(const FileTurn& turn) {
        const Scene scene = openSelected(turn.file, fAccess, fSelection);
        SceneView view = select(*scene.accessor, fSelection);
        size_t count = 0;
        const bool printsElements = !fNames && !fCounts;
        fSearch->forEach(turn.file, *scene.accessor, view,
                         [&](const auto& node, const auto& channel, const auto& stream,
                             const auto& index, const auto&) {
                             ++count;
                             if (printsElements) print(turn, node, channel, stream, index);
                         });
        fFound += count;
        if (fFound == 0) fHints->offer(*scene.accessor);
        if (fCounts || (fNames && count > 0)) print(turn, count);
        return scene.outcome();
    }

    void print(const FileTurn& turn, const NodeView& node, const ChannelView& channel,
               const Data::Stream& stream, const Data::ElementIndex& index) const {
        if (fFormat == ResultFormat::kText)
            return turn.output.write(lineOf(turn.file, node, channel, stream, index));
        std::string json;
        appendIndex(json, index);
        JsonObject object;
        object.add("file", turn.file)
            .add("node", node.name)
            .add("channel", channel.channel.name())
            .add("stream", stream.name())
            .add("structure", stream.structure().name())
            .addJson("index", json);
        ResultList::add(turn.output, fFormat, object);
    }

    void print(const FileTurn& turn, size_t count) const {
        if (fFormat != ResultFormat::kText) {
            JsonObject object;
            object.add("file", turn.file);
            if (fCounts) object.add("count", count);
            return ResultList::add(turn.output, fFormat, object);
        }
        // Other programs get the name as it is.
        const std::string name = turn.output.isTerminal() ? shownPath(turn.file) : turn.file;
        turn.output.write(fCounts ? fmt::format("{}: {}\n", name, count) : name + '\n');
    }

    FileArguments fFiles;
    std::optional<std::string> fWhere;
    SelectionArguments fSelected;
    bool fNames = false;
    bool fCounts = false;
    ResultFormat fFormat = ResultFormat::kText;
    SceneAccess fAccess;
    Selection fSelection;
    std::optional<ElementSearch> fSearch;
    std::optional<NameHints> fHints;
    std::atomic<size_t> fFound = 0;
};

}  // namespace

std::unique_ptr<Command> makeFind() { return std::make_unique<Find>(); }

}  // namespace orbo::Quilmeta
