// quilmeta recover: deals with what an interrupted write left beside files.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/ResultList.h"
#include "patches/ChangeReport.h"
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "values/SafeText.h"

#include <data/Recovery.h>

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using Data::Recovery;
using State = Recovery::State;

constexpr Command::Help kHelp = {"recover", "Finish or undo what was cut short", R"(
A write that is killed, or interrupted by a power cut, leaves a journal beside the
scene. All commands deal with it by themselves, except where the file system has no
locks: there make sure that nobody is writing the scene, and use this one. Exit code 1
says that a journal does not fit its scene, which may then be damaged.
Examples:
  quilmeta recover --list shots/*.kx
  quilmeta recover old-name.kx --file shots/new-name.kx)"};

/// Ends the wait for a lock after a signal.
bool interrupted() { return Signals::received() != 0; }

/// How a line about a journal begins, and how it ends with and without --list.
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

class Recover : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files");
        options.flag("--list", fList,
                     "Only say what is to be done; exit code 1 if there is anything");
        options.flag("-n,--dry-run", fDryRun, "The same, but end as a real run would");
        options.optional("--file", "NEW-NAME", fNewName,
                         "The scene FILE was moved to here, without its journal");
        options.results(fFormat);
        options.wait(fAccess);
    }

    Outcome run(Output& output) override {
        const std::vector<std::string> files = filesOf(fFiles);
        if (wasMoved() && files.size() != 1)
            throw CommandError("--file goes with one FILE: the old name of the scene");
        if (wasMoved()) fOldName = files.front();
        EachFile how;
        how.purpose = onlyLooks() ? Purpose::kReading : Purpose::kWriting;
        how.jobs = fFiles.jobs;
        how.failed = ResultList::failures(fFormat);
        ResultList results(output, fFormat);
        const Outcome outcome =
            forEachFile(wasMoved() ? std::vector{*fNewName} : files, how, results,
                        reporting(
                            [&](const FileTurn& turn) {
                                return onlyLooks() ? list(turn.file) : recover(turn.file);
                            },
                            {fFormat, fDryRun}));
        results.end();
        return outcome;
    }

  private:
    [[nodiscard]] bool wasMoved() const { return fNewName && !fNewName->empty(); }

    /// The journal of a scene that was moved away is left where it is.
    [[nodiscard]] bool stays(State state) const { return state == State::kOrphaned && wasMoved(); }

    [[nodiscard]] bool onlyLooks() const { return fList || fDryRun; }

    /// Deals with the journal, or only looks.
    [[nodiscard]] Recovery recoveryOf(const std::string& file) const {
        std::error_code error;
        if (std::filesystem::is_directory(file, error)) throw CommandError("is a directory");
        const auto patience = fAccess.patience();
        if (!wasMoved())
            return (onlyLooks() ? Recovery::inspect : Recovery::run)(file, patience, interrupted);
        return (onlyLooks() ? Recovery::inspectMoved : Recovery::runMoved)(fOldName, file, patience,
                                                                           interrupted);
    }

    static bool changesFile(State state) {
        return state == State::kUndo || state == State::kFinish;
    }

    FileResult list(const std::string& file) const {
        const Recovery recovery = recoveryOf(file);
        const State state = recovery.state;
        if (state == State::kRefused) throw CommandError(recovery.message);
        if (state == State::kNothing && fList) return Outcome::kDone;
        complain(file, recovery.message);
        const bool isFinding = fList || state == State::kOrphaned;
        return {isFinding ? Outcome::kFound : Outcome::kDone, !fList && changesFile(state),
                reportOf(state, wordsFor(state).toDo)};
    }

    FileResult recover(const std::string& file) const {
        const Recovery recovery = recoveryOf(file);
        const State state = recovery.state;
        const bool isOrphaned = state == State::kOrphaned;
        if (!recovery.done && !stays(state)) throw CommandError(recovery.message);
        // The report says everything about a change that was undone or finished.
        if (isOrphaned || wasMoved()) complain(file, recovery.message);
        return {isOrphaned ? Outcome::kFound : Outcome::kDone, changesFile(state),
                reportOf(state, wordsFor(state).done)};
    }

    /// Says what the journal is about and what becomes of it.
    [[nodiscard]] std::string reportOf(State state, const char* ending) const {
        if (stays(state))
            return "the journal of " + safeLine(fOldName) + " does not fit the file and stays";
        return std::string(wordsFor(state).found) + ending;
    }

    FileArguments fFiles;
    std::string fOldName;  // of a scene that was moved
    std::optional<std::string> fNewName;
    SceneAccess fAccess;
    bool fList = false, fDryRun = false;
    ResultFormat fFormat = ResultFormat::kText;
};

}  // namespace

std::unique_ptr<Command> makeRecover() { return std::make_unique<Recover>(); }

}  // namespace orbo::Quilmeta
