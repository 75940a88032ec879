// Brings a file whose rewrite was cut short back to its old bytes, or to its new ones.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "files/File.h"
#include "files/journal/Journal.h"

namespace orbo::Files {

/// Whoever meets a journal decides by this one class what it means, and acts only once it holds a
/// lock on the file: the writer of the journal had one, too, so it is gone.
class JournalRecovery {
  public:
    enum class Verdict {
        kNothing,      ///< there is no journal
        kNotBegun,     ///< the journal was not finished, and the file plainly is as it was
        kRestoreOld,   ///< the file may hold some new bytes
        kKeepNew,      ///< the file holds all new bytes, though perhaps not on the disk yet
        kDamaged,      ///< the journal is none, or other bytes than were written, or too few
        kUnexplained,  ///< the journal is whole, but the file holds what is not in it
        kForeign,      ///< somebody left it there who may not change the file
        kUnreadable,   ///< the journal, or the file, cannot be looked at
    };

    /// The paths are free of links. File and file system outlive the recovery.
    JournalRecovery(FileSystem& system, const std::string& filePath, File& file);
    /// For a journal that lies where the file was before it was moved.
    JournalRecovery(FileSystem& system, std::string filePath, File& file, std::string journalPath);

    /// Reads only.
    Verdict look();
    /// Acts on what `look` found; the file is writable. False when the journal is still there, and
    /// with it the need to recover, or to be told what to do; `message` says why.
    bool run();
    /// Acts likewise on the file, and leaves the journal where it is. False also when the journal
    /// has nothing for this file.
    bool runAndKeepJournal();
    /// Shows the old bytes of the file in place of those that it holds, after the verdict that they
    /// are to be restored. Takes the file, which must be the one that was looked at.
    std::unique_ptr<File> oldBytesOver(std::unique_ptr<File> file);

    [[nodiscard]] const std::string& journalPath() const { return fJournalPath; }
    /// About what was found or done, for people; empty when nobody needs to know.
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

/// Removes a journal, or empties it where names cannot be removed: both end a rewrite. False when
/// neither can be done. When something else has its name, that is left alone. Allocates nothing.
bool discardJournal(FileSystem& system, const std::string& journalPath, File& journal);

}  // namespace orbo::Files
