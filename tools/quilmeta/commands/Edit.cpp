// quilmeta edit: new values for all elements that a condition selects.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "patches/Assignment.h"
#include "patches/ChangeReport.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/MemberName.h"
#include "scene/SceneFile.h"
#include "selection/ElementSearch.h"
#include "selection/NameHints.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"edit", "Change values of all elements that a condition selects",
                                 R"(
MEMBER=VALUE takes the text as it is, with blanks or commas between the values of a
member that has several; MEMBER[k] is one of them. MEMBER:=VALUE takes JSON, such as
null or [1,2,3]. += and -= add to numbers and subtract, *= multiplies. A file whose
name has a "=" is written with a path: ./a=b.kx. Without a selection, --all says that
all elements are meant. A scene gets all of its changes or none.
Example:
  quilmeta edit -r shots --where 'stream == "tag" and material ~ "gold*"' \
      roughness=0.4 --dry-run)"};

/// Says which of the files looks like an assignment, such as "a/=2"; empty when none does.
std::string hintAt(const std::vector<std::string>& files) {
    for (const std::string& file : files)
        if (file.find('=') != file.npos)
            return fmt::format("; {} is a file, because of its \"/\"", inQuotes(file));
    return {};
}

/// The assignments, looked up once in each structure.
class AssignmentsOfScene {
  public:
    explicit AssignmentsOfScene(const std::vector<std::string>& texts) : fTexts(texts) {}

    void apply(const Data::Structure& structure, Data::Handle element) {
        auto found = fFound.find(&structure);
        if (found == fFound.end()) found = fFound.try_emplace(&structure, structure, fTexts).first;
        found->second.apply(element);
    }

  private:
    const std::vector<std::string>& fTexts;
    std::map<const Data::Structure*, Assignments> fFound;
};

/// Says how to leave out the elements that lack a member; empty for other errors.
std::string hintFor(const CommandError& error) {
    const auto* const missing = dynamic_cast<const NoSuchMember*>(&error);
    return missing ? "; in --where, " + existsCondition(missing->name()) +
                         " selects only elements that have it"
                   : "";
}

class Edit : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are rewritten, and MEMBER=VALUE");
        options.optional("--where", "EXPRESSION", fWhere, "Only elements for which this is true");
        options.selection(fSelected);
        options.flag("--all", fAll, "Change all elements, without a selection");
        options.writing(fAccess);
        fAccess.looksFirst = true;
    }

    Outcome run(Output& output) override {
        fAssignments = takeAssignments(fFiles);
        if (fAssignments.empty())
            throw UsageError("nothing to assign: MEMBER=VALUE is missing" + hintAt(fFiles.words));
        fSelection = fSelected.selection();
        if (!fWhere && fSelection.everything() && !fAll)
            throw UsageError("this changes all elements: say so with --all, or select some");
        fSearch.emplace(fWhere);
        fHints.emplace(GivenNames{fSelection});
        const std::vector<std::string> files = filesOf(fFiles);
        Outcome outcome = changeFiles(files, fAccess, fFiles.jobs, output,
                                      [&](const FileTurn& turn) { return edit(turn); });
        if (Signals::received() != 0) return outcome;
        const bool isSpeltRight = fSearch->warn();
        if (fFound == 0 && !files.empty() && outcome != Outcome::kFailed)
            complain("", "no element is selected" + fHints->question());
        if (fFound == 0 || !isSpeltRight) outcome = std::max(outcome, Outcome::kNothingSelected);
        return outcome;
    }

  private:
    FileResult edit(const FileTurn& turn) {
        const Scene scene = openScene(turn.file, fAccess);
        SceneView view = select(*scene.accessor, fSelection);
        AssignmentsOfScene assignments(fAssignments);
        size_t count = 0;
        fSearch->forEach(
            turn.file, *scene.accessor, view,
            [&](const auto& node, const auto& channel, const auto& stream, const auto& index,
                const auto& element) {
                if (count++ == 0) scene.accessor->prepareEdits();
                try {
                    assignments.apply(stream.structure(), element);
                } catch (const CommandError& error) {
                    throw CommandError(fmt::format(
                        "node {}, channel {}, stream {}, index {}: {}{}", shownNode(node.name),
                        shownName(channel.channel.name()), shownName(stream.name()),
                        shownName(index.asString()), error.what(), hintFor(error)));
                }
            });
        fFound += count;
        if (fFound == 0) fHints->offer(*scene.accessor);
        if (count == 0) return scene.outcome();
        if (!writeScene(scene, fAccess, turn.output)) return scene.outcome();
        return {scene.outcome(), true, counted(count, "element") + " set"};
    }

    FileArguments fFiles;
    std::vector<std::string> fAssignments;
    std::optional<std::string> fWhere;
    SelectionArguments fSelected;
    bool fAll = false;
    SceneAccess fAccess;
    Selection fSelection;
    std::optional<ElementSearch> fSearch;
    std::optional<NameHints> fHints;
    std::atomic<size_t> fFound = 0;  // elements that were selected
};

}  // namespace

std::unique_ptr<Command> makeEdit() { return std::make_unique<Edit>(); }

}  // namespace orbo::Quilmeta
