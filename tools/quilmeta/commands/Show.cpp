// quilmeta show: the metadata of scenes, for people.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonDocument.h"
#include "output/TreeWriter.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/SceneFile.h"
#include "scene/SceneView.h"
#include "values/SafeText.h"

#include <algorithm>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"show", "Show the metadata of scenes", R"(
--node, --channel and --stream may be given several times.
Example:
  quilmeta show --values --node rig --channel joints robot.kx)"};

/// Repeats the names that match nothing, which may be misspelt; silence would look like scenes
/// without metadata.
void complainOfNothing(const Selection& selection) {
    std::string message = "nothing matches";
    for (const std::string& name : selection.nodes) message += " --node " + inQuotes(name);
    for (const std::string& name : selection.channels) message += " --channel " + inQuotes(name);
    for (const std::string& name : selection.streams) message += " --stream " + inQuotes(name);
    complain("", message);
}

class Show : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.words("FILE", fFiles, "Scene files");
        options.flag("--values", fValues, "Show the elements, too");
        options.repeated("--node", "NAME", fSelection.nodes, "Only this node; '' is the scene");
        options.repeated("--channel", "NAME", fSelection.channels, "Only this channel");
        options.repeated("--stream", "NAME", fSelection.streams, "Only this stream");
        options.flag("--json", fJson, "Print a JSON document for each file instead");
        options.reading(fAccess);
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        const Outcome outcome = forEachFile(
            fFiles, Purpose::kReading, [&](const std::string& file) { return show(file, output); });
        if (fShown > 0 || outcome == Outcome::kFailed || Signals::received() != 0) return outcome;
        complainOfNothing(fSelection);
        return std::max(outcome, Outcome::kNothingSelected);
    }

  private:
    Outcome show(const std::string& file, Output& output) {
        const Scene scene = openScene(file, fAccess);
        const SceneView view = select(*scene.accessor, fSelection);
        if (view.nodes.empty() && !fSelection.everything()) return scene.outcome();
        if (fJson) {
            JsonDocument(output).write(view);
        } else {
            if (fShown > 0) output.write("\n");
            TreeWriter(output, fValues).write(file, view);
        }
        ++fShown;
        output.flush();
        return scene.outcome();
    }

    std::vector<std::string> fFiles;
    Selection fSelection;
    bool fValues = false;
    bool fJson = false;
    SceneAccess fAccess;
    size_t fShown = 0;  // files with something that was selected
};

}  // namespace

std::unique_ptr<Command> makeShow() { return std::make_unique<Show>(); }

}  // namespace orbo::Quilmeta
