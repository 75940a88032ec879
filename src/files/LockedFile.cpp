// A file that is open and locked, with no interrupted rewrite left to deal with.
// SPDX-License-Identifier: Apache-2.0
#include "files/LockedFile.h"

#include <algorithm>
#include <optional>
#include <thread>

#include "files/FileAccess.h"

namespace orbo::Files {

namespace {

using Clock = std::chrono::steady_clock;
using Mode = FileSystem::Mode;
using Verdict = JournalRecovery::Verdict;

constexpr std::chrono::milliseconds kShortestPause{1};
constexpr std::chrono::milliseconds kLongestPause{16};
// The longest wait: sums with a time of the clock must not overflow.
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
    FileOpener(const std::string& name, std::optional<LockedFile::Use> use,
               const Patience& patience)
        : fSystem(FileSystem::current()),
          fEnd(Clock::now() + std::min(patience.longest, kMostPatience)),
          fIsOver(patience.isOver),
          fUse(use) {
        fPath = fSystem.resolve(name, fOpening.error);
        if (!fPath.empty()) fOpening.journalPath = Journal::pathFor(fPath);
    }

    LockedFile::Opening toWrite() {
        auto file = locked(Mode::kReadWrite, File::Lock::kExclusive);
        // If this process has made the journal, there is no other to recover by.
        if (file && (fClaim || recover(*file))) finish(file);
        return std::move(fOpening);
    }

    LockedFile::Opening toRead() {
        auto file = locked(Mode::kRead, File::Lock::kShared);
        if (file && isPending(*file)) file = readPending(std::move(file));
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
        if (!fOpening.hasLocks) {
            addNote(fOpening.notes,
                    "The file system has no locks: nothing keeps other programs from "
                    "writing the file at the same time");
        }
        fOpening.file.reset(new LockedFile(fSystem, fPath, std::move(file), std::move(fClaim)));
    }

    void pause() {
        std::this_thread::sleep_for(std::min<Clock::duration>(fPause, fEnd - Clock::now()));
        fPause = std::min(2 * fPause, kLongestPause);
    }

    /// Returns null, with an error or a problem, when the file cannot be had.
    std::unique_ptr<File> locked(Mode mode, File::Lock lock) {
        if (fPath.empty()) return nullptr;
        std::unique_ptr<File> file;
        for (;;) {
            // Tries the same open file again: a waiting writer has a place in the queue.
            if (!file) file = fSystem.open(fPath, mode, fOpening.error);
            if (!file) return nullptr;
            const File::LockResult result = file->lock(lock);
            if (result == File::LockResult::kFailed) fOpening.error = file->error();
            fOpening.hasLocks = result != File::LockResult::kUnsupported;
            if (fOpening.error) return nullptr;
            const bool isInPlace = isNamed(fSystem, fPath, *file, fOpening.error);
            if (fOpening.error) return nullptr;
            const bool isOurs = result == File::LockResult::kLocked ||
                                (!fOpening.hasLocks && isInPlace && isFreeWithoutLocks(*file));
            if (!fOpening.problem.empty()) return nullptr;
            if (isOurs && isInPlace) return file;
            if (Clock::now() >= fEnd || (fIsOver && fIsOver())) {
                fOpening.problem =
                    isOurs ? "The file is being replaced by another program" : inUse();
                return nullptr;
            }
            if (!isInPlace) file.reset();
            pause();
        }
    }

    [[nodiscard]] std::string inUse() const {
        std::string problem = "The file is in use by another program";
        if (fOpening.hasLocks) return problem;
        return problem + ", or was when that ended: " + fOpening.journalPath +
               " is there, and the file system has no locks";
    }

    // Without locks there is no telling whether a journal's writer is still at work.
    bool isFreeWithoutLocks(File& file) {
        if (!fUse || *fUse == LockedFile::Use::kRecover) return true;
        if (*fUse == LockedFile::Use::kWrite) return claim(file);
        JournalRecovery recovery(fSystem, fPath, file);
        fOpening.verdict = recovery.look();
        return fOpening.verdict == Verdict::kNothing;
    }

    // Only one of those who create the same file exclusively succeeds.
    bool claim(File& file) {
        std::error_code error;
        const auto access = file.access();
        if (access) fClaim = fSystem.create(fOpening.journalPath, *access, error);
        if (!fClaim && error != std::errc::file_exists) {
            fOpening.problem = "The file system has no locks, and the journal " +
                               fOpening.journalPath +
                               " cannot be created: " + (access ? error : file.error()).message();
        }
        return fClaim != nullptr;
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

    // Recovery needs an exclusive lock, so the shared one is released and everything is checked
    // again.
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
    std::optional<LockedFile::Use> fUse;  // empty to inspect
    std::string fPath;
    std::unique_ptr<File> fClaim;
    LockedFile::Opening fOpening;
};

LockedFile::Opening LockedFile::open(const std::string& name, Use use, const Patience& patience) {
    FileOpener opener(name, use, patience);
    return use == Use::kRead ? opener.toRead() : opener.toWrite();
}

LockedFile::Opening LockedFile::inspect(const std::string& name, const Patience& patience) {
    return FileOpener(name, std::nullopt, patience).toInspect();
}

LockedFile::~LockedFile() {
    if (fClaim && fClaim->size() == 0) {
        discardJournal(fSystem, Journal::pathFor(fPath), *fClaim);
    }
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
