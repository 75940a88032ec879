// quilmeta refs: the external files that scenes refer to.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include <CLI/CLI.hpp>

namespace orbo::Quilmeta {

void addRefs(CLI::App& app, Output& output, int& exitCode) {
    CLI::App* command = app.add_subcommand("refs", "List external files, or change their paths");
    command->require_subcommand(1);
    addRefsList(*command, output, exitCode);
    addRefsRepath(*command, output, exitCode);
    for (CLI::App* nested : command->get_subcommands({})) nested->group("Commands");
    command->footer(
        "Scenes record the files they refer to in a table: which node refers to the file,\n"
        "the path as entered and as resolved, and the file's roles.\n"
        "Example:\n"
        "  quilmeta refs list robot.kx");
}

}  // namespace orbo::Quilmeta
