// quilmeta rename: gives what scenes hold other names.
// SPDX-License-Identifier: Apache-2.0
#include "editing/Rename.h"
#include "commands/Commands.h"
#include "commands/Options.h"
#include "patches/EditScenes.h"
#include "process/CommandError.h"
#include "references/References.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"rename", "Rename nodes, channels, streams and more", R"(
Renames what the deepest of --node, --channel and --stream fits; the others say
where. --structure renames structures, and with --member their members; --index
gives the element another index. Each * and ? of --to is what the one in its place
of the pattern stood for. With a --to for each pattern names are exchanged, as by
--node a --to b --node b --to a. A scene in which two would
have one name stays as it is. With --node the table of external files follows.
Examples:
  quilmeta rename shots -r --node 'old:*' --to 'new:*'
  quilmeta rename robot.kx --structure Joint --member side --to mirror)"};

class Rename : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are rewritten");
        options.selection(fSelected);
        options.repeated("--structure", "GLOB", fStructures, "Structures");
        options.repeated("--member", "GLOB", fMembers, "Members of structures");
        options.optional("--index", "INDEX", fIndex, "Element with this index");
        options.repeated("--to", "GLOB", fTo, "New name, one for each pattern or one for all");
        options.flag("--no-refs", fNoReferences, "Leave the table of external files");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        fSelection = fSelected.selection();
        demandOneKind();
        if (!fIndex) fNewName.emplace(patternsToRename(), fTo, fSelected.as());
        return editScenes(
            fFiles, fAccess, output, selectionText(),
            [this](Scene& scene) {
                const Renamed renamed = rename(scene);
                return Edited{renamed.selected + renamed.references,
                              renamed.changed + renamed.references > 0, reportOf(renamed)};
            },
            {fSelection, fSelected.patterns(fStructures), fSelected.patterns(fMembers)});
    }

  private:
    enum class Kind { kPart, kElement, kStructure, kMember };

    [[nodiscard]] Kind kind() const {
        if (fIndex) return Kind::kElement;
        if (!fMembers.empty()) return Kind::kMember;
        return fStructures.empty() ? Kind::kPart : Kind::kStructure;
    }

    void demandOneKind() const {
        const bool structures = !fStructures.empty() || !fMembers.empty();
        if (fSelection.everything() && !structures)
            throw UsageError(
                "what to rename is not said: give --node, --channel, --stream, "
                "--structure or --member");
        if (structures && (!fSelection.everything() || fIndex))
            throw UsageError(
                "--structure and --member go with no --node, --channel, --stream "
                "or --index");
        if (fTo.empty()) throw UsageError("--to is required");
        if (fIndex && fTo.size() > 1) throw UsageError("one element takes one --to");
        const auto hasEmpty = [](const std::vector<std::string>& names) {
            return std::count(names.begin(), names.end(), "") > 0;
        };
        if (isAboutNodes() && (hasEmpty(fTo) || hasEmpty(fSelected.nodes)))
            throw UsageError("the scene itself has no name to change");
    }

    [[nodiscard]] bool isAboutNodes() const {
        return kind() == Kind::kPart && deepestLevel(fSelection) == Level::kNode;
    }

    [[nodiscard]] const std::vector<std::string>& patternsToRename() const {
        if (kind() == Kind::kMember) return fMembers;
        if (kind() == Kind::kStructure) return fStructures;
        return patternsOf(fSelection, deepestLevel(fSelection)).texts();
    }

    [[nodiscard]] std::string selectionText() const {
        std::string text = fSelection.text();
        for (const std::string& name : fStructures) text += " --structure " + inQuotes(name);
        for (const std::string& name : fMembers) text += " --member " + inQuotes(name);
        return fIndex ? text + " --index " + inQuotes(*fIndex) : text;
    }

    [[nodiscard]] Renamed rename(Scene& scene) const {
        Data::Accessor& accessor = *scene.accessor;
        if (kind() == Kind::kElement)
            return renameElements(accessor, fSelection, *fIndex, fTo.front());
        if (kind() == Kind::kPart) {
            Renamed renamed = renameParts(accessor, fSelection, *fNewName);
            if (isAboutNodes() && !fNoReferences)
                if (Data::Stream* table = tableOf(scene))
                    renamed.references = renameReferences(*table, *fNewName);
            return renamed;
        }
        const Renamed renamed =
            kind() == Kind::kStructure
                ? renameStructures(accessor, *fNewName)
                : renameMembers(accessor, fSelected.patterns(fStructures), *fNewName);
        if (renamed.changed > 0 && !scene.complete)
            throw CommandError("metadata that cannot be read may use the structures to change");
        return renamed;
    }

    [[nodiscard]] std::string reportOf(const Renamed& renamed) const {
        const char* const what = kind() == Kind::kElement     ? "element"
                                 : kind() == Kind::kMember    ? "member"
                                 : kind() == Kind::kStructure ? "structure"
                                                              : wordFor(deepestLevel(fSelection));
        if (renamed.changed == 0 && renamed.references > 0)
            return "nodes renamed in " + counted(renamed.references, "external file") +
                   ", none of them with metadata";
        std::string text = counted(renamed.changed, what) + " renamed";
        if (renamed.references > 0)
            text += ", in " + counted(renamed.references, "external file") + " as well";
        return text;
    }

    FileArguments fFiles;
    SelectionArguments fSelected;
    Selection fSelection;
    std::vector<std::string> fStructures, fMembers, fTo;
    std::optional<std::string> fIndex;
    std::optional<NewName> fNewName;
    bool fNoReferences = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeRename() { return std::make_unique<Rename>(); }

}  // namespace orbo::Quilmeta
