// A file that is open and locked, with no interrupted rewrite left to deal with.
// SPDX-License-Identifier: Apache-2.0
#include "files/LockedFile.h"

#include <algorithm>
#include <thread>

namespace orbo::Files {

namespace {

using Clock = std::chrono::steady_clock;
using Mode = FileSystem::Mode;
using Verdict = JournalRecovery::Verdict;

constexpr std::chrono::milliseconds kShortestPause{1};
constexpr std::chrono::milliseconds kLongestPause{32};
// Far from where sums of times wrap.
constexpr std::chrono::milliseconds kMostPatience = std::chrono::hours(24 * 365);

void addNote(std::string& notes, const std::string& note) {
    if (note.empty()) return;
    if (!notes.empty()) notes += '\n';
    notes += note;
}

}  // namespace

/// Opens one file, trying again while others are in the way.
class FileOpener {
  public:
    FileOpener(const std::string& name, const Patience& patience)
        : fSystem(FileSystem::current()),
          fEnd(Clock::now() + std::min(patience.longest, kMostPatience)),
          fIsOver(patience.isOver) {
        fPath = fSystem.resolve(name, fOpening.error);
        if (!fPath.empty()) fOpening.journalPath = Journal::pathFor(fPath);
    }

    LockedFile::Opening toWrite(bool evenWithoutLocks) {
        auto file = locked(Mode::kReadWrite, File::Lock::kExclusive);
        if (file && (recoverable(*file) || evenWithoutLocks) && recover(*file)) finish(file);
        return std::move(fOpening);
    }

    LockedFile::Opening toRead() {
        auto file = locked(Mode::kRead, File::Lock::kShared);
        if (!file || !recoverable(*file)) return std::move(fOpening);
        if (isPending(*file)) file = readPending(std::move(file));
        if (file) finish(file);
        return std::move(fOpening);
    }

    LockedFile::Opening toInspect() {
        auto file = locked(Mode::kRead, File::Lock::kShared);
        if (!file) return std::move(fOpening);
        JournalRecovery recovery(fSystem, fPath, *file);
        fOpening.verdict = recovery.look();
        addNote(fOpening.notes, recovery.message());
        finish(file);
        return std::move(fOpening);
    }

  private:
    void finish(std::unique_ptr<File>& file) {
        if (!fHasLocks) {
            addNote(fOpening.notes,
                    "The file system has no locks: nothing keeps other programs from "
                    "writing the file at the same time");
        }
        fOpening.file.reset(new LockedFile(fSystem, fPath, std::move(file)));
    }

    void pause() {
        std::this_thread::sleep_for(std::min<Clock::duration>(fPause, fEnd - Clock::now()));
        fPause = std::min(2 * fPause, kLongestPause);
    }

    /// Null, with an error or a problem, when there is no getting it.
    std::unique_ptr<File> locked(Mode mode, File::Lock lock) {
        if (fPath.empty()) return nullptr;
        for (;;) {
            auto file = fSystem.open(fPath, mode, fOpening.error);
            if (!file) return nullptr;
            const File::LockResult result = file->lock(lock);
            if (result == File::LockResult::kFailed) {
                fOpening.error = file->error();
                return nullptr;
            }
            fHasLocks = result != File::LockResult::kUnsupported;
            const bool isBusy = result == File::LockResult::kBusy;
            if (!isBusy && isNamed(fSystem, fPath, *file, fOpening.error)) return file;
            if (fOpening.error) return nullptr;
            if (Clock::now() >= fEnd || (fIsOver && fIsOver())) {
                fOpening.problem = isBusy ? "The file is in use by another program"
                                          : "The file is being replaced by another program";
                return nullptr;
            }
            file.reset();
            pause();
        }
    }

    // Without locks nobody knows whether the journal's writer is still at work.
    bool recoverable(File& file) {
        if (fHasLocks) return true;
        JournalRecovery recovery(fSystem, fPath, file);
        fOpening.verdict = recovery.look();
        if (fOpening.verdict == Verdict::kNothing) return true;
        fOpening.problem = "The file is in use by another program, or was when that ended: " +
                           recovery.journalPath() + " is there, and the file system has no locks";
        return false;
    }

    bool recover(File& file) {
        fOpening.problem.clear();
        JournalRecovery recovery(fSystem, fPath, file);
        fOpening.verdict = recovery.look();
        const bool done = recovery.run();
        (done ? addNote : setProblem)(done ? fOpening.notes : fOpening.problem, recovery.message());
        return done;
    }
    static void setProblem(std::string& problem, const std::string& message) { problem = message; }

    bool isPending(File& file) {
        JournalRecovery recovery(fSystem, fPath, file);
        fOpening.verdict = recovery.look();
        return fOpening.verdict != Verdict::kNothing && fOpening.verdict != Verdict::kNotBegun;
    }

    // Recovering takes another lock, so the first goes, and everything is looked at once more.
    std::unique_ptr<File> readPending(std::unique_ptr<File> file) {
        file.reset();
        file = locked(Mode::kReadWrite, File::Lock::kExclusive);
        if (file && recover(*file)) {
            static_cast<void>(file->lock(File::Lock::kShared));
            return file;
        }
        if (!file && !fOpening.problem.empty()) return nullptr;
        const std::string problem = std::exchange(fOpening.problem, {});
        file.reset();
        file = locked(Mode::kRead, File::Lock::kShared);
        return file ? readThrough(std::move(file), problem) : nullptr;
    }

    std::unique_ptr<File> readThrough(std::unique_ptr<File> file, const std::string& problem) {
        JournalRecovery recovery(fSystem, fPath, *file);
        fOpening.verdict = recovery.look();
        addNote(fOpening.notes, problem.empty() ? recovery.message() : problem);
        switch (fOpening.verdict) {
            case Verdict::kForeign:
            case Verdict::kUnreadable:
                fOpening.problem = recovery.message();
                fOpening.notes.clear();
                return nullptr;
            case Verdict::kRestoreOld:
                addNote(fOpening.notes,
                        "A change was cut short and cannot be undone from here; "
                        "what was read is the state before it");
                return recovery.oldBytesOver(std::move(file));
            case Verdict::kKeepNew:
                addNote(fOpening.notes,
                        "A change was cut short at its end and cannot be finished from here; "
                        "what was read is the state after it");
                return file;
            default:
                return file;
        }
    }

    FileSystem& fSystem;
    Clock::time_point fEnd;
    std::function<bool()> fIsOver;
    std::chrono::milliseconds fPause = kShortestPause;
    std::string fPath;
    bool fHasLocks = true;
    LockedFile::Opening fOpening;
};

LockedFile::Opening LockedFile::open(const std::string& name, Use use, const Patience& patience) {
    FileOpener opener(name, patience);
    return use == Use::kRead ? opener.toRead() : opener.toWrite(use == Use::kRecover);
}

LockedFile::Opening LockedFile::inspect(const std::string& name, const Patience& patience) {
    return FileOpener(name, patience).toInspect();
}

std::string LockedFile::journalSetAside() {
    std::error_code ignored;
    std::string path = Journal::pathSetAside(fPath, 1);
    return fSystem.status(path, ignored) ? path : std::string();
}

bool LockedFile::isInPlace() {
    std::error_code ignored;
    return isNamed(fSystem, fPath, *fFile, ignored);
}

}  // namespace orbo::Files
