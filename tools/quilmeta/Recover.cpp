// quilmeta recover: deals with what an interrupted write left beside files.
// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "EachFile.h"
#include "Options.h"
#include "SafeText.h"
#include "Signals.h"
#include "Trouble.h"

#include <data/Recovery.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using Data::Recovery;
using State = Recovery::State;

struct RecoverOptions {
    std::vector<std::string> files;
    SceneAccess access;
    bool list = false;
};

bool interrupted() { return Signals::received() != 0; }

struct Words {
    const char* found;
    const char* toDo;
    const char* done;
};

Words wordsFor(State state) {
    switch (state) {
        case State::kUnused:
            return {"a change was cut short before it began; the journal ", "is to be removed",
                    "has been removed"};
        case State::kUndo:
            return {"a change was cut short; it ", "is to be undone", "has been undone"};
        case State::kFinish:
            return {"a change was cut short at its end; it ", "is to be finished",
                    "has been finished"};
        case State::kOrphaned:
            return {"a journal that does not fit the file ", "is to be set aside",
                    "has been set aside"};
        case State::kNothing:
        case State::kRefused:
            break;
    }
    return {"nothing to recover", "", ""};
}

Outcome list(const std::string& file, const RecoverOptions& options, Output& output) {
    const Recovery recovery = Recovery::inspect(file, options.access.patience(), interrupted);
    if (recovery.state == State::kRefused) throw Trouble(recovery.message);
    if (recovery.state == State::kNothing) return Outcome::kDone;
    const Words words = wordsFor(recovery.state);
    output.write(safeLine(file) + ": " + words.found + words.toDo + '\n');
    complain(file, recovery.message);
    return Outcome::kFound;
}

Outcome recover(const std::string& file, const RecoverOptions& options, Output& output) {
    const Recovery recovery = Recovery::run(file, options.access.patience(), interrupted);
    if (!recovery.done) throw Trouble(recovery.message);
    const Words words = wordsFor(recovery.state);
    output.write(safeLine(file) + ": " + words.found + words.done + '\n');
    if (recovery.state == State::kOrphaned) complain(file, recovery.message);
    output.flush();
    return Outcome::kDone;
}

Outcome recoverAll(const RecoverOptions& options, Output& output) {
    const Purpose purpose = options.list ? Purpose::kReading : Purpose::kWriting;
    return forEachFile(options.files, purpose, [&](const std::string& file) {
        return options.list ? list(file, options, output) : recover(file, options, output);
    });
}

}  // namespace

void addRecover(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<RecoverOptions>();
    CLI::App* command = app.add_subcommand("recover", "Finish or undo what was cut short");
    addWords(*command, "FILE", options->files, "Scene files");
    command->add_flag("--list", options->list,
                      "Only say what is to be done; exit code 1 if there is anything");
    addWait(*command, options->access);
    command->footer(
        "A write that is killed, or meets the end of the power, leaves a journal beside the\n"
        "scene. All commands deal with it by themselves, except where the file system has no\n"
        "locks: there make sure that nobody is writing the scene, and use this one.\n"
        "Example:\n"
        "  quilmeta recover --list shots/*.kx");
    command->callback(
        [options, &output, &exitCode] { exitCode = exitCodeOf(recoverAll(*options, output)); });
}

}  // namespace orbo::Quilmeta
