// quilmeta export: the metadata of a scene, for programs.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonDocument.h"
#include "output/NewFile.h"
#include "scene/SceneFile.h"
#include "selection/SceneView.h"

#include <optional>
#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"export", "Write all metadata as a JSON document", R"(
The document is lossless. OUT appears when it is complete, never in part. An
existing OUT is replaced if it is such a document, or with --force; a scene or a
journal never is.
Example:
  quilmeta export robot.kx -o robot.json)"};

class Export : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("FILE", fFile, "Scene file");
        options.optional("-o,--output", "OUT", fTarget, "Write to this file");
        options.flag("--force", fForce, "Replace OUT even if it is no such document");
        options.wideIntegers();
        options.reading(fAccess);
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        return forEachFile({fFile}, {}, output,
                           [&](const FileTurn& turn) { return exportScene(turn.output); });
    }

  private:
    /// Metadata that cannot be read is not in the document, which the outcome tells.
    Outcome exportScene(Output& output) const {
        const Scene scene = openScene(fFile, fAccess);
        const SceneView view = select(*scene.accessor, {});
        if (!fTarget) {
            JsonDocument(output).write(view);
            return scene.outcome();
        }
        NewFile file(*fTarget, fFile, {FileKind::kDocument, fForce});
        JsonDocument(file.output()).write(view);
        file.commit();
        return scene.outcome();
    }

    std::string fFile;
    std::optional<std::string> fTarget;
    bool fForce = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeExport() { return std::make_unique<Export>(); }

}  // namespace orbo::Quilmeta
