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

/// A durable rewrite survives the end of the process and of the power at any instruction: a journal
/// with the old bytes is on the disk before the first of them is overwritten. One that is not
/// leaves the file as it was only after failures that it lives to see.
class FileRewrite {
  public:
    enum class Step {
        kDone,
        kPrepare,  ///< several hard links, or a mount of its own: nobody finds the journal there
        kReserve,  ///< no room on the disk
        kJournal,  ///< the folder takes no journal
        kSeek,
        kWrite,
        kTruncate,
        kSync,
        kCompare,  ///< the file does not hold what was written
        kChanged,  ///< another program has written the file since it was read
        kInPlace,  ///< another program has put a new file in its place, or removed it
        kCommit,   ///< the journal cannot be removed, or not for sure
    };

    /// What a file holds, whatever the disk does.
    enum class Content { kOld, kNew, kMixed, kUnknown };

    struct Outcome {
        Step failed = Step::kDone;
        /// The range that could not be sought or written, and which of its pieces.
        std::size_t range = 0;
        std::size_t piece = 0;
        std::error_code error;
        /// What is in the place of the journal, for people; empty when nothing is.
        std::string occupant;
        /// When it failed: whether the file is as it was. If not, and if it is not `holdsNew`, it
        /// holds some of both, and after a durable rewrite the next one to open it restores it.
        bool restored = true;
        bool holdsNew = false;
        /// When it is not as it was: what it holds now.
        Content content = Content::kOld;
    };

    /// There is at least one range.
    FileRewrite(LockedFile& file, std::vector<RewriteRange> ranges, bool durable)
        : fLocked(file),
          fFile(file.file()),
          fRanges(std::move(ranges)),
          fDurable(durable),
          fJournalPath(Journal::pathFor(file.path())) {}

    /// The file is only made shorter once everything is written. A file that holds the new bytes
    /// already is only synced.
    Outcome run();
    /// All that can fail ahead of the first byte. An empty journal is there for a moment, which
    /// shows that the folder takes one and the disk has room; the file stays as it is.
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
