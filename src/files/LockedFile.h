// Opens and locks a file, after dealing with a rewrite that was interrupted.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "files/File.h"
#include "files/journal/JournalRecovery.h"

namespace orbo::Files {

/// How long to wait for others.
struct Patience {
    Patience() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): mostly it is just a time
    Patience(std::chrono::milliseconds time, std::function<bool()> condition = {})
        : longest(time), isOver(std::move(condition)) {}

    std::chrono::milliseconds longest{0};
    /// Called several times a second while waiting; returning true ends the wait. May be empty.
    std::function<bool()> isOver;
};

/// A file with an advisory lock until it is destroyed: exclusive to write, shared to read. Where
/// the system has no locks, a file that is written durably keeps others out by its journal.
class LockedFile {
  public:
    enum class Use {
        kRead,
        kWrite,
        /// Write without a journal.
        kWriteInPlace,
        /// Like `kWrite`, also where the file system has no locks: the caller knows that nobody
        /// else is at work.
        kRecover,
    };

    struct Opening {
        std::unique_ptr<LockedFile> file;  // null when it failed
        /// The system's error; none when there is a problem instead.
        std::error_code error;
        /// Says, for people, why the file must not be used.
        std::string problem;
        /// Notes for the user, a line each.
        std::string notes;
        /// The path of the journal, whether there is one or not; empty when the file does not
        /// exist.
        std::string journalPath;
        bool hasLocks = true;
        /// What the journal asked for, before anything was done about it.
        JournalRecovery::Verdict verdict = JournalRecovery::Verdict::kNothing;
    };

    /// Follows links. Waits for up to `patience` while others hold a lock. Recovers what a journal
    /// asks for; a reader that may not write is shown the right bytes nevertheless.
    static Opening open(const std::string& name, Use use, const Patience& patience);
    /// Reports what a journal asks for, in the verdict and the notes, without acting on it: the
    /// file shows what it holds.
    static Opening inspect(const std::string& name, const Patience& patience);

    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;
    ~LockedFile();

    [[nodiscard]] File& file() { return *fFile; }
    [[nodiscard]] FileSystem& system() { return fSystem; }
    /// The absolute path, free of links.
    [[nodiscard]] const std::string& path() const { return fPath; }
    /// Whether the path still leads to this file: other programs save by replacing the file.
    [[nodiscard]] bool isInPlace();
    /// The journal that keeps other writers out where there are no locks, created empty before
    /// anything was read; null elsewhere. The destructor removes it unless something was written to
    /// it.
    [[nodiscard]] File* claimedJournal() { return fClaim.get(); }
    /// The path of the first journal of this file that was set aside; empty without one.
    [[nodiscard]] std::string journalSetAside();

  private:
    friend class FileOpener;

    LockedFile(FileSystem& system, std::string path, std::unique_ptr<File> file,
               std::unique_ptr<File> claim)
        : fSystem(system),
          fPath(std::move(path)),
          fFile(std::move(file)),
          fClaim(std::move(claim)) {}

    FileSystem& fSystem;
    std::string fPath;
    std::unique_ptr<File> fFile;
    std::unique_ptr<File> fClaim;
};

}  // namespace orbo::Files
