// quilmeta export: the metadata of a scene, for programs.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonDocument.h"
#include "output/NewFile.h"
#include "process/EachFile.h"
#include "scene/SceneFile.h"
#include "scene/SceneView.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace orbo::Quilmeta {

namespace {

struct ExportOptions {
    std::string file;
    std::string target;
    bool toFile = false;
    bool force = false;
    SceneAccess access;
};

/// What could not be read is not in the document.
Outcome exportScene(const ExportOptions& options, Output& output) {
    bool complete = false;
    const std::unique_ptr<Data::Accessor> scene =
        openScene(options.file, options.access, &complete);
    const SceneView view = select(*scene, {});
    const Outcome outcome = complete ? Outcome::kDone : Outcome::kUnreadable;
    if (!options.toFile) {
        JsonDocument(output).write(view);
        return outcome;
    }
    NewFile file(options.target, options.file, {FileKind::kDocument, options.force});
    JsonDocument(file.output()).write(view);
    file.commit();
    return outcome;
}

}  // namespace

void addExport(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<ExportOptions>();
    CLI::App* command = app.add_subcommand("export", "Write all metadata as a JSON document");
    command->add_option("FILE", options->file, "Scene file")->required()->type_name("");
    const CLI::Option* target =
        command->add_option("-o,--output", options->target, "Write to this file")->type_name("OUT");
    command->add_flag("--force", options->force, "Replace OUT even if it is no such document");
    addPartial(*command, options->access);
    addWait(*command, options->access);
    command->footer(
        "The document is lossless. OUT appears when it is complete, never in part. An\n"
        "existing OUT is replaced if it is such a document, or with --force; a scene or a\n"
        "journal never is.\n"
        "Example:\n"
        "  quilmeta export robot.kx -o robot.json");
    command->callback([options, target, &output, &exitCode] {
        options->toFile = target->count() > 0;
        output.stopOnSignals();
        exitCode = exitCodeOf(forEachFile({options->file}, Purpose::kReading, [&](const auto&) {
            return exportScene(*options, output);
        }));
    });
}

}  // namespace orbo::Quilmeta
