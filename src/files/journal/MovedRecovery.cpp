// Recovers a file that was moved, or renamed, without its journal.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/MovedRecovery.h"

#include <utility>

#include "files/LockedFile.h"

namespace orbo::Files {

namespace {

using Verdict = JournalRecovery::Verdict;
using Use = LockedFile::Use;

void addLine(std::string& text, const std::string& line) {
    if (!text.empty() && !line.empty()) text += '\n';
    text += line;
}

/// The absolute path of a file that may not exist any more; empty when its folder does not exist.
std::string pathOf(FileSystem& system, const std::string& name, std::error_code& error) {
    std::string path = system.resolve(name, error);
    if (!path.empty()) return path;
    const std::string base = Journal::nameOf(name);
    const std::string folder = name.substr(0, name.size() - base.size());
    path = system.resolve(folder.empty() ? "." : folder, error);
    if (path.empty() || base.empty()) return {};
    return path + (path.back() == '/' ? "" : "/") + base;
}

class Mover {
  public:
    Mover(const std::string& oldName, Patience patience)
        : fSystem(FileSystem::current()), fPatience(std::move(patience)) {
        std::error_code error;
        fOldPath = pathOf(fSystem, oldName, error);
        if (fOldPath.empty()) fResult.message = oldName + ": " + error.message();
        if (!fOldPath.empty()) fResult.journalPath = Journal::pathFor(fOldPath);
    }

    MovedRecovery recover(LockedFile::Opening opening, bool isToAct) {
        if (fOldPath.empty()) return refused();
        addLine(fResult.message, opening.notes);
        addLine(fResult.message, opening.problem);
        if (opening.error) addLine(fResult.message, opening.error.message());
        if (!opening.file) return refused();
        if (opening.file->path() == fOldPath) return settledByOpening(opening, isToAct);
        LockedFile& file = *opening.file;
        JournalRecovery recovery(fSystem, file.path(), file.file(), fResult.journalPath);
        fResult.verdict = recovery.look();
        if (fResult.verdict == Verdict::kNothing) return withoutJournal();
        const bool isNeeded = look(file.file());
        if (isToAct && !fIsInUse) {
            fResult.done = isNeeded ? recovery.runAndKeepJournal() : fits() && recovery.run();
        }
        if (!fResult.done) addLine(fResult.message, recovery.message());
        if (isNeeded && fits()) {
            addLine(fResult.message, "The journal stays: it is also about " + fOldPath);
        }
        return fResult;
    }

  private:
    MovedRecovery refused() {
        fResult.verdict = Verdict::kUnreadable;
        return fResult;
    }
    MovedRecovery withoutJournal() {
        addLine(fResult.message, "There is no journal " + fResult.journalPath);
        return refused();
    }
    MovedRecovery settledByOpening(const LockedFile::Opening& opening, bool isToAct) {
        fResult.verdict = opening.verdict;
        fResult.done = isToAct || opening.verdict == Verdict::kNothing;
        return fResult;
    }
    [[nodiscard]] bool fits() const {
        return fResult.verdict == Verdict::kRestoreOld || fResult.verdict == Verdict::kKeepNew ||
               fResult.verdict == Verdict::kNotBegun;
    }

    // Whether a file at the old name still needs the journal; a writer at work there needs it, too.
    bool look(File& file) {
        std::error_code error;
        const auto there = fSystem.status(fOldPath, error);
        const auto moved = file.status();
        if (!there || !moved || there->isSameFile(*moved)) return false;
        fOther = LockedFile::inspect(fOldPath, fPatience);
        fIsInUse = !fOther.file;
        if (fIsInUse) {
            addLine(fResult.message,
                    fOldPath + ": " +
                        (fOther.problem.empty() ? fOther.error.message() : fOther.problem));
            return true;
        }
        return fOther.verdict == Verdict::kRestoreOld || fOther.verdict == Verdict::kKeepNew;
    }

    FileSystem& fSystem;
    Patience fPatience;
    std::string fOldPath;
    LockedFile::Opening fOther;  // locked until all is done
    bool fIsInUse = false;
    MovedRecovery fResult;
};

}  // namespace

std::string MovedRecovery::journalLeftAt(const std::string& oldName) {
    FileSystem& system = FileSystem::current();
    std::error_code error;
    const std::string path = pathOf(system, oldName, error);
    if (path.empty()) return {};
    const std::string journal = Journal::pathFor(path);
    return system.status(journal, error) ? journal : std::string();
}

MovedRecovery MovedRecovery::inspect(const std::string& oldName, const std::string& newName,
                                     const Patience& patience) {
    return Mover(oldName, patience).recover(LockedFile::inspect(newName, patience), false);
}

MovedRecovery MovedRecovery::run(const std::string& oldName, const std::string& newName,
                                 const Patience& patience) {
    return Mover(oldName, patience)
        .recover(LockedFile::open(newName, Use::kRecover, patience), true);
}

}  // namespace orbo::Files
