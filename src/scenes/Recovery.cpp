// What an interrupted write left beside a file, and doing something about it.
// SPDX-License-Identifier: Apache-2.0
#include <data/Recovery.h>

#include "files/LockedFile.h"
#include "files/journal/MovedRecovery.h"
#include "scenes/Inspection.h"
#include "scenes/Messages.h"

namespace orbo::Data {

namespace {

using Files::LockedFile;
using Files::MovedRecovery;
using Verdict = Files::JournalRecovery::Verdict;

Recovery::State stateOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::kNothing:
            return Recovery::State::kNothing;
        case Verdict::kNotBegun:
            return Recovery::State::kUnused;
        case Verdict::kRestoreOld:
            return Recovery::State::kUndo;
        case Verdict::kKeepNew:
            return Recovery::State::kFinish;
        case Verdict::kDamaged:
        case Verdict::kUnexplained:
            return Recovery::State::kOrphaned;
        case Verdict::kForeign:
        case Verdict::kUnreadable:
            break;
    }
    return Recovery::State::kRefused;
}

Recovery recoveryOf(const LockedFile::Opening& opening) {
    Recovery recovery;
    recovery.state = stateOf(opening.verdict);
    recovery.journal = opening.journalPath;
    addMessage(recovery.message, opening.notes);
    addMessage(recovery.message, opening.problem);
    if (opening.error) addMessage(recovery.message, opening.error.message());
    return recovery;
}

Recovery recoveryOf(const MovedRecovery& moved) {
    Recovery recovery;
    recovery.state = stateOf(moved.verdict);
    recovery.done = moved.done;
    recovery.journal = moved.journalPath;
    recovery.message = moved.message;
    return recovery;
}

}  // namespace

Recovery inspectionOf(const LockedFile::Opening& opening, const std::string& fileName) {
    Recovery recovery = recoveryOf(opening);
    if (!opening.file) recovery.state = Recovery::State::kRefused;
    if (opening.error == std::errc::no_such_file_or_directory) {
        const std::string journal = MovedRecovery::journalLeftAt(fileName);
        if (!journal.empty()) {
            addMessage(recovery.message, "Its journal " + journal +
                                             " is still there. If the file was moved, `quilmeta "
                                             "recover OLD-NAME --file NEW-NAME` mends it.");
        }
    }
    if (opening.file) recovery.setAside = opening.file->journalSetAside();
    recovery.done = opening.file && recovery.state == Recovery::State::kNothing;
    return recovery;
}

Recovery Recovery::inspect(const std::string& fileName, Milliseconds patience,
                           const Callback<bool()>& stopsWaiting) {
    return inspectionOf(LockedFile::inspect(fileName, {patience, stopsWaiting}), fileName);
}

Recovery Recovery::run(const std::string& fileName, Milliseconds patience,
                       const Callback<bool()>& stopsWaiting) {
    // Read-only users normally have nothing to recover.
    Recovery found = inspect(fileName, patience, stopsWaiting);
    if (found.done || found.state == State::kRefused) return found;
    const auto opening =
        LockedFile::open(fileName, LockedFile::Use::kRecover, {patience, stopsWaiting});
    Recovery recovery = recoveryOf(opening);
    if (!opening.file && recovery.state == State::kNothing) recovery.state = State::kRefused;
    recovery.done = opening.file != nullptr;
    return recovery;
}

Recovery Recovery::inspectMoved(const std::string& oldName, const std::string& fileName,
                                Milliseconds patience, const Callback<bool()>& stopsWaiting) {
    return recoveryOf(MovedRecovery::inspect(oldName, fileName, {patience, stopsWaiting}));
}

Recovery Recovery::runMoved(const std::string& oldName, const std::string& fileName,
                            Milliseconds patience, const Callback<bool()>& stopsWaiting) {
    return recoveryOf(MovedRecovery::run(oldName, fileName, {patience, stopsWaiting}));
}

}  // namespace orbo::Data
