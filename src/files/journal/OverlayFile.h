// Shows a file with the old bytes of a journal in place of its own.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "files/ReadOnlyFile.h"
#include "files/journal/Journal.h"

namespace orbo::Files {

/// A lock is a lock on the file itself.
class OverlayFile : public ReadOnlyFile {
  public:
    /// `journal` was read from `journalFile`.
    OverlayFile(std::unique_ptr<File> file, std::unique_ptr<File> journalFile, Journal journal);

    [[nodiscard]] std::optional<FileStatus> status() override;
    [[nodiscard]] bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override;
    [[nodiscard]] LockResult lock(Lock kind) override;
    void unlock() override;

  private:
    /// A range of bytes that lie together in one of the two files.
    struct Stretch {
        File* file;
        std::uint64_t at;
        std::uint64_t size;
    };
    [[nodiscard]] Stretch stretchAt(std::uint64_t position) const;

    std::unique_ptr<File> fFile;
    std::unique_ptr<File> fJournalFile;
    Journal fJournal;
    std::uint64_t fPosition = 0;
};

}  // namespace orbo::Files
