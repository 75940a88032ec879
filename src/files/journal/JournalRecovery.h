// Brings a file whose rewrite was cut short back to its old bytes, or to its new ones.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "files/File.h"
#include "files/journal/Journal.h"

namespace orbo::Files {

/// Decides what a journal means, for every program that meets one, and acts only while it holds a
/// lock on the file. The writer of the journal held such a lock, too, so that writer has ended.
class JournalRecovery {
  public:
    enum class Verdict {
        kNothing,      ///< there is no journal
        kNotBegun,     ///< the journal was not finished, and the file certainly is as it was
        kRestoreOld,   ///< the file may hold some new bytes
        kKeepNew,      ///< the file holds all new bytes, though perhaps not on the disk yet
        kDamaged,      ///< the journal has other bytes than were written, or too few
        kUnexplained,  ///< the journal is whole, but the file holds what is not in it
        kForeign,      ///< a user who may not change the file left it there
        kUnreadable,   ///< the journal, or the file, cannot be read
    };

    /// The paths are free of links. File and file system outlive this.
    JournalRecovery(FileSystem& system, const std::string& filePath, File& file);
    /// Takes a journal from the place where the file was before it was moved.
    JournalRecovery(FileSystem& system, std::string filePath, File& file, std::string journalPath);

    /// Decides what to do; writes nothing.
    Verdict look();
    /// Does what `look` decided; the file is writable. Returns false when the journal is still
    /// there, so that somebody has to recover or decide later; `message` says why.
    bool run();
    /// Does the same to the file, but leaves the journal where it is. Also returns false when the
    /// journal is not about this file.
    bool runAndKeepJournal();
    /// Returns a file that shows the old bytes in place of those that `file` holds; for the verdict
    /// that they are to be restored. `file` must be the one that `look` read.
    std::unique_ptr<File> oldBytesOver(std::unique_ptr<File> file);

    /// Describes, for people, what was found or done; empty when there is nothing to tell.
    [[nodiscard]] const std::string& message() const { return fMessage; }

  private:
    Verdict openJournal();
    Verdict judge();
    Verdict judgeShort();
    Verdict judgeWhole();
    bool rewrite();
    [[nodiscard]] bool markUndone(std::error_code& error);
    [[nodiscard]] bool writeChosen();
    [[nodiscard]] bool isInPlace();
    bool removeJournal();
    bool setAside();
    Verdict unreadable(const std::error_code& error);
    bool fail(const std::string& message);

    FileSystem& fSystem;
    std::string fFilePath;
    std::string fJournalPath;
    File& fFile;
    std::unique_ptr<File> fJournalFile;
    Journal fJournal;
    bool fIsOld = false;
    Verdict fVerdict = Verdict::kNothing;
    std::string fMessage;
};

/// Removes a journal, or empties it where names cannot be removed: both end a rewrite. Returns
/// false when neither works. Another file that has its name is left alone. Allocates nothing.
bool discardJournal(FileSystem& system, const std::string& journalPath, File& journal);

}  // namespace orbo::Files
