// quilmeta import: the metadata of a document into a scene.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Import.h"

#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/DocumentReader.h"
#include "patches/ChangeReport.h"
#include "scene/SceneFile.h"

#include <algorithm>
#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"import", "Put the metadata of a JSON document into a scene", R"(
DOC is what export writes; "-" is standard input. Streams and structures of DOC
replace those of the same name, and all else in FILE stays; with --replace FILE
has afterwards what DOC has. All of DOC is checked first: every problem is
listed with its line and path, and then nothing is written.
Example:
  quilmeta export robot.kx -o robot.json
  quilmeta import robot-exported-again.kx robot.json)"};

class Import : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("FILE", fFile, "Scene file, which is rewritten");
        options.word("DOC", fDocument, "JSON document to read");
        options.flag("--replace", fReplace, "Remove what DOC does not have");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        // The document is read once, however often a conflict makes us read the scene again.
        SceneModel model;
        const Outcome read = guarded(documentName(), [&] {
                                 JsonSource source = JsonSource::ofFile(fDocument);
                                 model = readDocument(source);
                                 return Outcome::kDone;
                             }).outcome;
        if (read != Outcome::kDone) return read;
        return changeFiles({fFile}, fAccess, 1, output,
                           [&](const FileTurn& turn) { return importInto(model, turn.output); });
    }

  private:
    FileResult importInto(const SceneModel& model, Output& output) const {
        const Scene scene = openScene(fFile, fAccess);
        try {
            import(model, scene, fReplace ? ImportHow::kReplace : ImportHow::kMerge);
            const bool changed = writeScene(scene, fAccess, output);
            return {scene.outcome(), changed};
        } catch (const Conflict&) {
            throw;
        } catch (const StructuresInTheWay& error) {
            throw CommandError(std::string(error.what()) + "; --replace takes the document alone");
        } catch (const CommandError&) {
            const JsonProblems refused = refusedPartsOf(model, *scene.accessor);
            if (refused.empty()) throw;
            throw FileError(documentName(), refused.text());
        }
    }

    [[nodiscard]] std::string documentName() const {
        return fDocument == "-" ? "standard input" : fDocument;
    }

    std::string fFile, fDocument;
    bool fReplace = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeImport() { return std::make_unique<Import>(); }

}  // namespace orbo::Quilmeta
