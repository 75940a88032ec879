// quilmeta recover: deals with what an interrupted write left beside files.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "process/CommandError.h"
#include "process/EachFile.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "values/SafeText.h"

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
    std::string moved;
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

/// What the journal is about, for people.
std::string journalOf(State state, const std::string& oldName) {
    const bool isOther = state == State::kOrphaned && !oldName.empty();
    return isOther ? "the journal of " + safeLine(oldName) + " does not fit the file "
                   : wordsFor(state).found;
}

/// `oldName` is empty unless the scene was moved without its journal.
Outcome list(const std::string& file, const std::string& oldName, const RecoverOptions& options,
             Output& output) {
    const auto patience = options.access.patience();
    const Recovery recovery = oldName.empty()
                                  ? Recovery::inspect(file, patience, interrupted)
                                  : Recovery::inspectMoved(oldName, file, patience, interrupted);
    if (recovery.state == State::kRefused) throw CommandError(recovery.message);
    if (recovery.state == State::kNothing) return Outcome::kDone;
    const bool stays = recovery.state == State::kOrphaned && !oldName.empty();
    output.write(safeLine(file) + ": " + journalOf(recovery.state, oldName) +
                 (stays ? "and stays" : wordsFor(recovery.state).toDo) + '\n');
    complain(file, recovery.message);
    return Outcome::kFound;
}

Outcome recover(const std::string& file, const std::string& oldName, const RecoverOptions& options,
                Output& output) {
    const auto patience = options.access.patience();
    const Recovery recovery = oldName.empty()
                                  ? Recovery::run(file, patience, interrupted)
                                  : Recovery::runMoved(oldName, file, patience, interrupted);
    const bool isOrphaned = recovery.state == State::kOrphaned;
    const bool stays = isOrphaned && !oldName.empty();
    if (!recovery.done && !stays) throw CommandError(recovery.message);
    output.write(safeLine(file) + ": " + journalOf(recovery.state, oldName) +
                 (stays ? "and stays" : wordsFor(recovery.state).done) + '\n');
    // What was undone or finished has been said.
    if (isOrphaned || !oldName.empty()) complain(file, recovery.message);
    output.flush();
    return isOrphaned ? Outcome::kFound : Outcome::kDone;
}

Outcome recoverAll(const RecoverOptions& options, Output& output) {
    const bool wasMoved = !options.moved.empty();
    if (wasMoved && options.files.size() != 1) {
        throw CommandError("--file goes with one FILE: the old name of the scene");
    }
    const std::string oldName = wasMoved ? options.files.front() : std::string();
    const std::vector<std::string> files = wasMoved ? std::vector{options.moved} : options.files;
    const Purpose purpose = options.list ? Purpose::kReading : Purpose::kWriting;
    return forEachFile(files, purpose, [&](const std::string& file) {
        return (options.list ? list : recover)(file, oldName, options, output);
    });
}

}  // namespace

void addRecover(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<RecoverOptions>();
    CLI::App* command = app.add_subcommand("recover", "Finish or undo what was cut short");
    addWords(*command, "FILE", options->files, "Scene files");
    command->add_flag("--list", options->list,
                      "Only say what is to be done; exit code 1 if there is anything");
    command
        ->add_option("--file", options->moved,
                     "The scene FILE was moved to here, without its journal")
        ->type_name("NEW-NAME");
    addWait(*command, options->access);
    command->footer(
        "A write that is killed, or meets the end of the power, leaves a journal beside the\n"
        "scene. All commands deal with it by themselves, except where the file system has no\n"
        "locks: there make sure that nobody is writing the scene, and use this one. Exit code 1\n"
        "says that a journal does not fit its scene, which may then be damaged.\n"
        "Examples:\n"
        "  quilmeta recover --list shots/*.kx\n"
        "  quilmeta recover old-name.kx --file shots/new-name.kx");
    command->callback(
        [options, &output, &exitCode] { exitCode = exitCodeOf(recoverAll(*options, output)); });
}

}  // namespace orbo::Quilmeta
