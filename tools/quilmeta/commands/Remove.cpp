// quilmeta remove: takes metadata out of scenes.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/Parts.h"
#include "editing/Structures.h"
#include "patches/EditScenes.h"
#include "process/CommandError.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"remove", "Take metadata out of scenes", R"(
Removes what the deepest of --node, --channel, --stream and --index names; the
others say where. Channels and nodes that have nothing left go as well; streams
without elements stay. No pattern fits the scene's own metadata: name it by
--node ''. A structure that streams use is not removed, and they are named.
Examples:
  quilmeta remove shots -r --node '*' --channel debug --stream '*'
  quilmeta remove robot.kx --node rig --channel joints --stream pose --index lid
  quilmeta remove robot.kx --structure 'tmp*' --unused)"};

class Remove : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are rewritten");
        options.selection(fSelected);
        options.repeated("--index", "INDEX", fIndices, "Elements with this index");
        options.repeated("--structure", "GLOB", fStructures, "Structures with these names");
        options.flag("--unused", fUnused, "Structures that no stream uses");
        options.flag("--all", fAll, "All metadata and structures");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        fSelection = fSelected.selection();
        fNames.names = fSelected.patterns(fStructures);
        fNames.unusedOnly = fUnused;
        demandOneKind();
        return editScenes(fFiles, fAccess, output, selectionText(),
                          [this](Scene& scene) { return remove(scene); },
                          {fSelection, fNames.names});
    }

  private:
    [[nodiscard]] bool wantsParts() const { return !fSelection.everything() || !fIndices.empty(); }
    [[nodiscard]] bool wantsStructures() const { return fUnused || !fStructures.empty(); }

    void demandOneKind() const {
        if (!wantsParts() && !wantsStructures() && !fAll)
            throw UsageError("what to remove is not said; --all removes everything");
        if (fAll && (wantsParts() || wantsStructures()))
            throw UsageError("--all and a selection exclude each other");
        if (wantsParts() && wantsStructures())
            throw UsageError(
                "--structure and --unused go with no --node, --channel, --stream "
                "or --index");
    }

    [[nodiscard]] std::string selectionText() const {
        std::string text = fSelection.text();
        for (const std::string& index : fIndices) text += " --index " + inQuotes(index);
        for (const std::string& name : fStructures) text += " --structure " + inQuotes(name);
        return fUnused ? text + " --unused" : fAll ? text + " --all" : text;
    }

    [[nodiscard]] Edited remove(Scene& scene) const {
        size_t count = 0;
        const char* what = "structure";
        if (fAll) return removeAll(scene);
        if (wantsStructures()) {
            count = removeStructures(*scene.accessor, fNames, scene.complete);
        } else if (!fIndices.empty()) {
            what = "element";
            const auto streams = partsOf(*scene.accessor, fSelection, Level::kStream);
            count = removeElements(*scene.accessor, streams, fIndices);
        } else {
            const Level level = deepestLevel(fSelection);
            const auto parts = partsOf(*scene.accessor, fSelection, level);
            what = wordFor(level);
            count = parts.size();
            removeParts(*scene.accessor, parts, level);
        }
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
    StructuresToRemove fNames;
    bool fUnused = false;
    bool fAll = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeRemove() { return std::make_unique<Remove>(); }

}  // namespace orbo::Quilmeta
