// quilmeta show: the metadata of scenes, for people.
// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "JsonDocument.h"
#include "SafeText.h"
#include "Scene.h"
#include "SceneView.h"
#include "TreeWriter.h"
#include "Trouble.h"

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
};

/// A misspelt name must not pass for a scene without metadata.
void demandMatch(const SceneView& view, const Selection& selection) {
    if (selection.everything() || !view.nodes.empty()) return;
    std::string message = "nothing matches";
    for (const std::string& name : selection.nodes) message += " --node " + inQuotes(name);
    for (const std::string& name : selection.channels) message += " --channel " + inQuotes(name);
    for (const std::string& name : selection.streams) message += " --stream " + inQuotes(name);
    throw Trouble(message);
}

void showFile(const std::string& file, const ShowOptions& options, bool first, Output& output) {
    const std::unique_ptr<Data::Accessor> scene = openScene(file);
    const SceneView view = select(*scene, options.selection);
    demandMatch(view, options.selection);
    if (options.json) return JsonDocument(output).write(view);
    if (!first) output.write("\n");
    TreeWriter(output, options.values).write(file, view);
}

void addSelection(CLI::App& command, Selection& selection) {
    const auto add = [&command](const char* name, std::vector<std::string>& names,
                                const char* description) {
        command.add_option(name, names, description)->type_name("NAME")->allow_extra_args(false);
    };
    add("--node", selection.nodes, "Only this node; '' is the scene");
    add("--channel", selection.channels, "Only this channel");
    add("--stream", selection.streams, "Only this stream");
}

int show(const ShowOptions& options, Output& output) {
    int exitCode = kDone;
    bool first = true;
    for (const std::string& file : options.files) {
        const int code = guarded(file, [&] { showFile(file, options, first, output); });
        first = first && code != kDone;
        exitCode = std::max(exitCode, code);
        output.flush();
    }
    return exitCode;
}

}  // namespace

void addShow(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<ShowOptions>();
    CLI::App* command = app.add_subcommand("show", "Show the metadata of scenes");
    command->add_option("FILE", options->files, "Scene files")->required()->type_name("");
    command->add_flag("--values", options->values, "Show the elements, too");
    addSelection(*command, options->selection);
    command->add_flag("--json", options->json, "Print a JSON document for each file instead");
    command->footer(
        "--node, --channel and --stream may be given several times.\n"
        "Example:\n"
        "  quilmeta show --values --node rig --channel joints robot.kx");
    command->callback([options, &output, &exitCode] { exitCode = show(*options, output); });
}

}  // namespace orbo::Quilmeta
