// Replaces parts of a file so that whatever happens it is the old one or the new one.
// SPDX-License-Identifier: Apache-2.0
#include "files/FileRewrite.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>

#include "files/journal/JournalTrust.h"

namespace orbo::Files {

namespace {

bool holdsNewAlready(const RewriteRange& range) {
    std::string_view left = range.oldBytes;
    for (const std::string_view piece : range.pieces) {
        if (left.substr(0, piece.size()) != piece) return false;
        left.remove_prefix(piece.size());
    }
    return left.empty();
}

// Reads from the current position. Must not allocate: it also runs after memory has run out.
bool holds(File& file, std::string_view bytes) {
    std::array<char, 4096> block;
    while (!bytes.empty()) {
        const std::string_view expected = bytes.substr(0, block.size());
        if (!readExactly(file, block.data(), expected.size())) return false;
        if (expected != std::string_view(block.data(), expected.size())) return false;
        bytes.remove_prefix(expected.size());
    }
    return true;
}

}  // namespace

FileRewrite::Outcome FileRewrite::failed(Step step, const std::error_code& error) const {
    Outcome outcome;
    outcome.failed = step;
    outcome.error = error;
    return outcome;
}

FileRewrite::Outcome FileRewrite::run() {
    // The program that wrote it may have ended before its sync.
    if (std::all_of(fRanges.begin(), fRanges.end(), holdsNewAlready)) return finish();
    if (Outcome outcome = prepare(); outcome.failed != Step::kDone) return outcome;
    Outcome outcome = change();
    if (outcome.failed == Step::kDone) outcome = finish();
    return outcome.failed == Step::kDone ? commit() : undo(outcome);
}

FileRewrite::Outcome FileRewrite::rehearse() {
    Outcome outcome;
    const bool changes = !std::all_of(fRanges.begin(), fRanges.end(), holdsNewAlready);
    if (changes && fDurable) {
        outcome = openJournal();
        if (!fJournal || outcome.failed != Step::kDone) return outcome;
        outcome = findRoom();
        const bool removed = endJournal();
        if (outcome.failed != Step::kDone) return outcome;
        if (!removed) return failed(Step::kJournal, fJournal->error());
        if (!holdsOld()) return failed(Step::kChanged, {});
    }
    return fLocked.isInPlace() ? outcome : failed(Step::kInPlace, {});
}

// The space is reserved in the journal, also for what the file grows by: to reserve it in the file
// would change the file's times.
FileRewrite::Outcome FileRewrite::findRoom() {
    const std::uint64_t size = Journal::sizeFor(fLocked.path(), fRanges);
    if (!fJournal->reserve(0, size)) return failed(Step::kJournal, fJournal->error());
    const std::uint64_t oldEnd = fRanges.back().oldEnd();
    const std::uint64_t newEnd = fRanges.back().newEnd();
    if (newEnd <= oldEnd) return {};
    if (!fFile.reserve(newEnd, newEnd)) return failed(Step::kReserve, fFile.error());
    // The limit on file lengths holds for the file and for the journal.
    const bool done = fJournal->reserve(size, size + newEnd - oldEnd) ||
                      fJournal->error() == std::errc::file_too_large;
    return done ? Outcome() : failed(Step::kReserve, fJournal->error());
}

// Nothing here changes what the file holds.
FileRewrite::Outcome FileRewrite::prepare() {
    if (!fDurable) return {};
    Outcome outcome = openJournal();
    if (!fJournal || outcome.failed != Step::kDone) return outcome;
    try {
        outcome = writeJournal();
    } catch (...) {
        endJournal();
        throw;
    }
    // A journal that cannot be removed either is too short, or shows that the file holds the old
    // bytes.
    if (outcome.failed != Step::kDone) endJournal();
    return outcome;
}

// A program that opens the file by another name would not find the journal.
FileRewrite::Outcome FileRewrite::checkIsReachedOneWay() {
    const auto status = fFile.status();
    if (!status) return failed(Step::kPrepare, fFile.error());
    if (status->links > 1) {
        return failed(Step::kPrepare, std::make_error_code(std::errc::too_many_links));
    }
    if (fLocked.system().isMounted(fLocked.path(), *status)) {
        return failed(Step::kPrepare, std::make_error_code(std::errc::cross_device_link));
    }
    return {};
}

FileRewrite::Outcome FileRewrite::openJournal() {
    const Outcome outcome = checkIsReachedOneWay();
    return outcome.failed == Step::kDone ? createJournal() : outcome;
}

// Always creates a new file: a program that left an old one there may still have it open, and could
// read and write the journal.
FileRewrite::Outcome FileRewrite::createJournal() {
    fJournal = fLocked.claimedJournal();
    if (fJournal) return fJournal->seek(0) ? Outcome() : failed(Step::kJournal, fJournal->error());
    FileSystem& system = fLocked.system();
    const auto access = fFile.access();
    if (!access) return failed(Step::kPrepare, fFile.error());
    for (bool mayTryAgain = true;; mayTryAgain = false) {
        std::error_code error;
        fOwnJournal = system.create(fJournalPath, *access, error);
        fJournal = fOwnJournal.get();
        if (fJournal) return {};
        Outcome outcome = failed(Step::kJournal, error);
        if (error != std::errc::file_exists) return outcome;
        const auto found = system.status(fJournalPath, error);
        if (found) outcome.occupant = "a file of " + system.describeUser(found->owner);
        const bool isGone =
            found ? isLeftOver(*found) && system.remove(fJournalPath, error) : !error;
        if (!isGone || !mayTryAgain) return outcome;
    }
}

// Where names cannot be removed, an empty journal is left, which is harmless whoever may write it.
bool FileRewrite::isLeftOver(const FileStatus& found) {
    if (!found.isRegular || found.length > 0 || found.links > 1) return false;
    std::error_code ignored;
    const auto facts = journalFacts(fLocked.system(), fJournalPath, nullptr, fFile, ignored);
    return facts && isOfWriter(*facts);
}

FileRewrite::Outcome FileRewrite::writeJournal() {
    if (!Journal::write(*fJournal, fLocked.path(), fRanges) || !fJournal->sync()) {
        return failed(Step::kJournal, fJournal->error());
    }
    std::error_code error;
    if (!fLocked.system().syncFolderOf(fJournalPath, error)) return failed(Step::kJournal, error);
    const std::uint64_t oldEnd = fRanges.back().oldEnd();
    const std::uint64_t newEnd = fRanges.back().newEnd();
    if (newEnd > oldEnd && !fFile.reserve(oldEnd, newEnd)) {
        return failed(Step::kReserve, fFile.error());
    }
    // Some programs and file systems do not lock.
    if (!holdsOld()) return failed(Step::kChanged, {});
    // Another link to the file may have been made just now.
    return checkIsReachedOneWay();
}

FileRewrite::Outcome FileRewrite::change() {
    for (std::size_t i = 0; i < fRanges.size(); ++i) {
        Outcome outcome = write(i);
        if (outcome.failed != Step::kDone) return outcome;
    }
    const RewriteRange& tail = fRanges.back();
    if (tail.newEnd() < tail.oldEnd()) {
        fTouched = true;
        if (!fFile.truncate(tail.newEnd())) return failed(Step::kTruncate, fFile.error());
    }
    return {};
}

FileRewrite::Outcome FileRewrite::write(std::size_t range) {
    const std::vector<std::string_view>& pieces = fRanges[range].pieces;
    Outcome outcome;
    outcome.range = range;
    if (!fFile.seek(fRanges[range].offset)) outcome.failed = Step::kSeek;
    for (std::size_t i = 0; i < pieces.size() && outcome.failed == Step::kDone; ++i) {
        if (pieces[i].empty()) continue;
        fTouched = true;
        if (fFile.write(pieces[i].data(), pieces[i].size())) continue;
        outcome.failed = Step::kWrite;
        outcome.piece = i;
    }
    if (outcome.failed != Step::kDone) outcome.error = fFile.error();
    return outcome;
}

FileRewrite::Outcome FileRewrite::finish() {
    if (fDurable && !fFile.sync()) return failed(Step::kSync, fFile.error());
    if (fDurable && !holdsNew()) return failed(Step::kCompare, fFile.error());
    if (!fLocked.isInPlace()) return failed(Step::kInPlace, {});
    return {};
}

FileRewrite::Outcome FileRewrite::commit() {
    if (!fDurable) return {};
    std::error_code error;
    const bool removed = endJournal();
    try {
        if (removed && fLocked.system().syncFolderOf(fJournalPath, error)) return {};
    } catch (const std::bad_alloc&) {
        error = std::make_error_code(std::errc::not_enough_memory);
    }
    Outcome outcome = failed(Step::kCommit, error ? error : fJournal->error());
    outcome.restored = false;
    outcome.holdsNew = true;
    outcome.content = Content::kNew;
    return outcome;
}

FileRewrite::Outcome FileRewrite::undo(Outcome failure) {
    if (!fTouched) {
        failure.restored = true;
    } else if (fDurable) {
        // After a failed sync the disk may hold anything, so all is written again.
        failure.restored =
            Journal::appendMark(*fJournal) && writeOld() && fFile.sync() && holdsOld();
    } else {
        // If writing is impossible, nothing can have been overwritten either.
        failure.restored = writeOld() || holdsOld();
    }
    if (fJournal && failure.restored) endJournal();
    if (!failure.restored) failure.content = content();
    return failure;
}

FileRewrite::Content FileRewrite::content() {
    if (holdsOld()) return Content::kOld;
    if (holdsNew()) return Content::kNew;
    char byte = 0;
    const bool isReadable = fFile.size() && fFile.seek(0) && fFile.read(&byte, 1);
    return isReadable ? Content::kMixed : Content::kUnknown;
}

// A journal that serves as a lock stays while the file is open, but empty, which commits as well.
bool FileRewrite::endJournal() {
    if (fLocked.claimedJournal()) return fJournal->truncate(0) && fJournal->sync();
    return discardJournal(fLocked.system(), fJournalPath, *fJournal);
}

bool FileRewrite::writeOld() {
    for (const RewriteRange& range : fRanges) {
        if (!fFile.seek(range.offset)) return false;
        if (!fFile.write(range.oldBytes.data(), range.oldBytes.size())) return false;
    }
    return fFile.truncate(fRanges.back().oldEnd());
}

bool FileRewrite::holdsOld() {
    return fFile.size() == fRanges.back().oldEnd() &&
           std::all_of(fRanges.begin(), fRanges.end(), [this](const RewriteRange& range) {
               return fFile.seek(range.offset) && holds(fFile, range.oldBytes);
           });
}

bool FileRewrite::holdsNew() {
    return fFile.size() == fRanges.back().newEnd() &&
           std::all_of(fRanges.begin(), fRanges.end(), [this](const RewriteRange& range) {
               return fFile.seek(range.offset) &&
                      std::all_of(range.pieces.begin(), range.pieces.end(),
                                  [this](std::string_view piece) { return holds(fFile, piece); });
           });
}

}  // namespace orbo::Files
