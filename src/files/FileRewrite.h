// Replaces parts of a file so that whatever happens it is the old one or the new one.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "files/LockedFile.h"
#include "files/RewriteRange.h"
#include "files/journal/Journal.h"

namespace orbo::Files {

/// A durable rewrite survives the end of the process and a power cut at any instruction: a journal
/// with the old bytes is on the disk before the first of them is overwritten. A rewrite that is not
/// durable restores the file only after failures that it can handle itself.
class FileRewrite {
  public:
    enum class Step {
        kDone,
        kPrepare,  ///< several hard links, or a mount of its own: others would not find the journal
        kReserve,  ///< no room on the disk
        kJournal,  ///< the folder takes no journal
        kSeek,
        kWrite,
        kTruncate,
        kSync,
        kCompare,  ///< the file does not hold what was written
        kChanged,  ///< another program has written the file since it was read
        kInPlace,  ///< another program has put a new file in its place, or removed it
        kCommit,   ///< the journal cannot be removed, or its removal may not survive a power cut
    };

    /// What the file holds for readers of this system, whatever has reached the disk.
    enum class Content { kOld, kNew, kMixed, kUnknown };

    struct Outcome {
        Step failed = Step::kDone;
        /// The range that could not be written, and which of its pieces.
        std::size_t range = 0;
        std::size_t piece = 0;
        std::error_code error;
        /// Describes, for messages, what is in the place of the journal; empty when nothing is.
        std::string occupant;
        /// After a failure: whether the file is as it was. If it is neither that nor `holdsNew`, it
        /// holds some old and some new bytes; after a durable rewrite the next program to open it
        /// restores it.
        bool restored = true;
        bool holdsNew = false;
        /// What the file holds now when it is not as it was.
        Content content = Content::kOld;
    };

    /// `ranges` is not empty.
    FileRewrite(LockedFile& file, std::vector<RewriteRange> ranges, bool durable)
        : fLocked(file),
          fFile(file.file()),
          fRanges(std::move(ranges)),
          fDurable(durable),
          fJournalPath(Journal::pathFor(file.path())) {}

    /// Shortens the file only once everything is written. A file that already holds the new bytes
    /// is only synced.
    Outcome run();
    /// Does all that can fail ahead of the first byte, and leaves the file as it is. It creates an
    /// empty journal for a moment, to see that the folder takes one and the disk has room.
    Outcome rehearse();
    [[nodiscard]] const std::string& journalPath() const { return fJournalPath; }

  private:
    Outcome prepare();
    Outcome findRoom();
    Outcome checkIsReachedOneWay();
    Outcome openJournal();
    Outcome createJournal();
    [[nodiscard]] bool isLeftOver(const FileStatus& found);
    Outcome writeJournal();
    Outcome change();
    Outcome write(std::size_t range);
    Outcome finish();
    Outcome commit();
    Outcome undo(Outcome failure);
    [[nodiscard]] Outcome failed(Step step, const std::error_code& error) const;
    [[nodiscard]] Content content();
    [[nodiscard]] bool writeOld();
    bool endJournal();
    [[nodiscard]] bool holdsOld();
    [[nodiscard]] bool holdsNew();

    LockedFile& fLocked;
    File& fFile;
    std::vector<RewriteRange> fRanges;
    bool fDurable;
    std::string fJournalPath;
    bool fTouched = false;
    std::unique_ptr<File> fOwnJournal;
    File* fJournal = nullptr;
};

}  // namespace orbo::Files
