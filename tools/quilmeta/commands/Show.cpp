// quilmeta show: the metadata of scenes, for people.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonDocument.h"
#include "output/TreeWriter.h"
#include "process/EachFile.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/SceneFile.h"
#include "scene/SceneView.h"
#include "values/SafeText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

struct ShowOptions {
    std::vector<std::string> files;
    Selection selection;
    bool values = false;
    bool json = false;
    SceneAccess access;
};

/// A misspelt name must not pass for scenes without metadata.
void complainOfNothing(const Selection& selection) {
    std::string message = "nothing matches";
    for (const std::string& name : selection.nodes) message += " --node " + inQuotes(name);
    for (const std::string& name : selection.channels) message += " --channel " + inQuotes(name);
    for (const std::string& name : selection.streams) message += " --stream " + inQuotes(name);
    complain("", message);
}

/// Shows what was selected of each file, and counts the files that had something.
class Show {
  public:
    Show(const ShowOptions& options, Output& output) : fOptions(options), fOutput(output) {}

    Outcome show(const std::string& file) {
        bool complete = false;
        const std::unique_ptr<Data::Accessor> scene = openScene(file, fOptions.access, &complete);
        const Outcome outcome = complete ? Outcome::kDone : Outcome::kUnreadable;
        const SceneView view = select(*scene, fOptions.selection);
        if (view.nodes.empty() && !fOptions.selection.everything()) return outcome;
        if (fOptions.json) {
            JsonDocument(fOutput).write(view);
        } else {
            if (fShown > 0) fOutput.write("\n");
            TreeWriter(fOutput, fOptions.values).write(file, view);
        }
        ++fShown;
        fOutput.flush();
        return outcome;
    }
    [[nodiscard]] size_t shown() const { return fShown; }

  private:
    const ShowOptions& fOptions;
    Output& fOutput;
    size_t fShown = 0;
};

Outcome showAll(const ShowOptions& options, Output& output) {
    output.stopOnSignals();
    Show show(options, output);
    const Outcome outcome = forEachFile(options.files, Purpose::kReading,
                                        [&](const std::string& file) { return show.show(file); });
    if (show.shown() > 0 || outcome == Outcome::kFailed || Signals::received() != 0) return outcome;
    complainOfNothing(options.selection);
    return std::max(outcome, Outcome::kNothingSelected);
}

void addSelection(CLI::App& command, Selection& selection) {
    addEach(command, "--node", selection.nodes, "NAME", "Only this node; '' is the scene");
    addEach(command, "--channel", selection.channels, "NAME", "Only this channel");
    addEach(command, "--stream", selection.streams, "NAME", "Only this stream");
}

}  // namespace

void addShow(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<ShowOptions>();
    CLI::App* command = app.add_subcommand("show", "Show the metadata of scenes");
    addWords(*command, "FILE", options->files, "Scene files");
    command->add_flag("--values", options->values, "Show the elements, too");
    addSelection(*command, options->selection);
    command->add_flag("--json", options->json, "Print a JSON document for each file instead");
    addPartial(*command, options->access);
    addWait(*command, options->access);
    command->footer(
        "--node, --channel and --stream may be given several times.\n"
        "Example:\n"
        "  quilmeta show --values --node rig --channel joints robot.kx");
    command->callback(
        [options, &output, &exitCode] { exitCode = exitCodeOf(showAll(*options, output)); });
}

}  // namespace orbo::Quilmeta
