// A file that is open and locked, with no interrupted rewrite left to deal with.
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
    template <typename Count, typename Period>
    // NOLINTNEXTLINE(google-explicit-constructor): mostly it is just a time
    Patience(std::chrono::duration<Count, Period> time, std::function<bool()> condition = {})
        : longest(time), isOver(std::move(condition)) {}

    std::chrono::milliseconds longest{0};
    /// Asked some times a second while waiting; true ends the wait. May be empty.
    std::function<bool()> isOver;
};

/// Locked for others that lock, until it is destroyed: exclusively to be written, shared to be
/// read. Where the system has no locks, one that is written durably keeps others out by its
/// journal.
class LockedFile {
  public:
    enum class Use {
        kRead,
        kWrite,
        /// To be written without a journal.
        kWriteInPlace,
        /// As to be written, by somebody who knows that nobody else is at work: also where the file
        /// system has no locks.
        kRecover,
    };

    struct Opening {
        std::unique_ptr<LockedFile> file;  // null when it failed
        /// Why the system did not open it; none when there is a problem instead.
        std::error_code error;
        /// Why it is not to be used, for people.
        std::string problem;
        /// What its user should know, a line each.
        std::string notes;
        /// Where a journal is, or would be; empty when there is no such file.
        std::string journalPath;
        bool hasLocks = true;
        /// About the journal, before anything was done about it.
        JournalRecovery::Verdict verdict = JournalRecovery::Verdict::kNothing;
    };

    /// Follows links. When others hold a lock, waits for up to `patience`. Recovers what a journal
    /// asks for; a reader that may not write sees the right bytes all the same.
    static Opening open(const std::string& name, Use use, const Patience& patience);
    /// Tells what a journal asks for, in the verdict and the notes, and does nothing about it: the
    /// file shows what it holds.
    static Opening inspect(const std::string& name, const Patience& patience);

    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;
    ~LockedFile();

    [[nodiscard]] File& file() { return *fFile; }
    [[nodiscard]] FileSystem& system() { return fSystem; }
    /// Absolute and free of links.
    [[nodiscard]] const std::string& path() const { return fPath; }
    /// Whether its path still leads to this file: other programs save by putting a new file in the
    /// place of the old one.
    [[nodiscard]] bool isInPlace();
    /// The journal, created empty before anything was read, that keeps other writers out where
    /// there are no locks; null elsewhere. It goes with this object, unless there is something in
    /// it.
    [[nodiscard]] File* claimedJournal() { return fClaim.get(); }
    /// Path of the first journal of this file that was set aside; empty without one.
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
