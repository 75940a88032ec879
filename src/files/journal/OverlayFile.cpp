// Shows a file with the old bytes of a journal in place of its own.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/OverlayFile.h"

#include <algorithm>
#include <utility>

namespace orbo::Files {

OverlayFile::OverlayFile(std::unique_ptr<File> file, std::unique_ptr<File> journalFile,
                         Journal journal)
    : fFile(std::move(file)), fJournalFile(std::move(journalFile)), fJournal(std::move(journal)) {}

std::optional<FileStatus> OverlayFile::status() {
    std::optional<FileStatus> status = fFile->status();
    if (status) status->length = fJournal.oldLength;
    if (!status) fError = fFile->error();
    return status;
}

bool OverlayFile::seek(std::uint64_t offset) {
    fPosition = offset;
    return true;
}

OverlayFile::Stretch OverlayFile::stretchAt(std::uint64_t position) const {
    for (const Journal::Range& range : fJournal.ranges) {
        if (position < range.offset) return {fFile.get(), position, range.offset - position};
        const std::uint64_t inside = position - range.offset;
        if (inside < range.oldSize) {
            return {fJournalFile.get(), range.oldAt + inside, range.oldSize - inside};
        }
    }
    return {fFile.get(), position, 0};
}

std::optional<std::size_t> OverlayFile::read(char* to, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const Stretch stretch = stretchAt(fPosition);
        if (stretch.size == 0) break;
        const auto size =
            static_cast<std::size_t>(std::min<std::uint64_t>(stretch.size, count - done));
        if (!readExactlyAt(*stretch.file, stretch.at, to + done, size)) {
            fError = stretch.file->error();
            return std::nullopt;
        }
        fPosition += size;
        done += size;
    }
    return done;
}

File::LockResult OverlayFile::lock(Lock kind) { return fFile->lock(kind); }
void OverlayFile::unlock() { fFile->unlock(); }

}  // namespace orbo::Files
