// quilmeta remove: takes metadata out of scenes.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/Parts.h"
#include "editing/Structures.h"
#include "patches/EditScenes.h"
#include "process/CommandError.h"
#include "process/Signals.h"
#include "selection/ElementSearch.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/Index.h>
#include <data/Stream.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"remove", "Take metadata out of scenes", R"(
Removes what the deepest of --node, --channel and --stream names; the others say
where. --index and --where take elements out of what these name; without any of
them --index needs --all. Channels and nodes that have nothing left go as well;
streams without elements stay. No pattern fits the scene's own metadata: name it
by --node ''. A structure that streams use is not removed, and they are named.
Examples:
  quilmeta remove shots -r --node '*' --channel debug --stream '*'
  quilmeta remove shots -r --where 'stream == "tag" and layer < 0'
  quilmeta remove robot.kx --node rig --channel joints --stream pose --index lid
  quilmeta remove robot.kx --structure 'tmp*' --unused)"};

class Remove : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are rewritten");
        options.selection(fSelected);
        options.repeated("--index", "INDEX", fIndices, "Elements with this index");
        options.optional("--where", "EXPRESSION", fWhere, "Elements for which this is true");
        options.repeated("--structure", "GLOB", fStructures, "Structures with these names");
        options.flag("--unused", fUnused, "Structures that no stream uses");
        options.flag("--all", fAll, "All metadata and structures, or elements of all streams");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        fSelection = fSelected.selection();
        fNames.names = fSelected.patterns(fStructures);
        fNames.unusedOnly = fUnused;
        demandOneKind();
        if (fWhere) fSearch.emplace(fWhere);
        const Outcome outcome =
            editScenes(fFiles, fAccess, output, selectionText(),
                       [this](Scene& scene) { return remove(scene); }, {fSelection, fNames.names});
        if (!fSearch || Signals::received() != 0 || fSearch->warn()) return outcome;
        return std::max(outcome, Outcome::kNothingSelected);
    }

  private:
    [[nodiscard]] bool wantsElements() const { return fWhere || !fIndices.empty(); }
    [[nodiscard]] bool wantsStructures() const { return fUnused || !fStructures.empty(); }

    void demandOneKind() const {
        const bool isSelected = !fSelection.everything();
        if (wantsStructures() && (isSelected || wantsElements()))
            throw UsageError(
                "--structure and --unused go with no --node, --channel, --stream, --index or "
                "--where");
        if (fAll && (isSelected || wantsStructures() || fWhere))
            throw UsageError("--all and a selection exclude each other");
        if (fWhere && !fIndices.empty())
            throw UsageError("--index and --where exclude each other: --where takes index == 3");
        if (fAll || isSelected || wantsStructures() || fWhere) return;
        throw UsageError(fIndices.empty()
                             ? "what to remove is not said; --all removes everything"
                             : "this removes elements of all streams: say so with --all, or "
                               "select some");
    }

    [[nodiscard]] std::string selectionText() const {
        std::string text = fSelection.text();
        for (const std::string& index : fIndices) text += " --index " + inQuotes(index);
        if (fWhere) text += " --where " + inQuotes(*fWhere);
        for (const std::string& name : fStructures) text += " --structure " + inQuotes(name);
        return fUnused ? text + " --unused" : fAll ? text + " --all" : text;
    }

    [[nodiscard]] Edited remove(Scene& scene) {
        Data::Accessor& accessor = *scene.accessor;
        if (fWhere) return report(removeFound(accessor), "element");
        if (!fIndices.empty()) {
            const auto streams = partsOf(accessor, fSelection, Level::kStream);
            return report(removeElements(accessor, streams, fIndices), "element");
        }
        if (fAll) return removeAll(scene);
        if (wantsStructures())
            return report(removeStructures(accessor, fNames, scene.complete), "structure");
        const Level level = deepestLevel(fSelection);
        const auto parts = partsOf(accessor, fSelection, level);
        removeParts(accessor, parts, level);
        return report(parts.size(), wordFor(level));
    }

    /// Removes the elements for which the condition is true, and returns how many there were.
    size_t removeFound(Data::Accessor& scene) {
        SceneView view = select(scene, fSelection);
        std::vector<std::pair<Data::Stream, Data::Index>> found;
        fSearch->forEach(scene.fileName(), scene, view,
                         [&](const auto&, const auto&, const auto& stream, const auto& index,
                             const auto&) { found.emplace_back(stream, index); });
        for (auto& [stream, index] : found) stream.removeElement(index);
        return found.size();
    }

    [[nodiscard]] static Edited report(size_t count, const char* what) {
        return {count, count > 0, counted(count, what) + " removed"};
    }

    [[nodiscard]] static Edited removeAll(Scene& scene) {
        const size_t nodes = scene.accessor->associations().size();
        scene.accessor->associations().clear();
        const size_t structures = removeStructures(*scene.accessor, {}, scene.complete);
        return {nodes + structures, nodes + structures > 0,
                counted(nodes, "node") + " and " + counted(structures, "structure") + " removed"};
    }

    FileArguments fFiles;
    SelectionArguments fSelected;
    Selection fSelection;
    std::vector<std::string> fIndices, fStructures;
    std::optional<std::string> fWhere;
    std::optional<ElementSearch> fSearch;
    StructuresToRemove fNames;
    bool fUnused = false;
    bool fAll = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeRemove() { return std::make_unique<Remove>(); }

}  // namespace orbo::Quilmeta
