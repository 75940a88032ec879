// Brings a file whose rewrite was cut short back to its old bytes, or to its new ones.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/JournalRecovery.h"

#include <algorithm>
#include <utility>

#include "files/journal/JournalMatch.h"
#include "files/journal/JournalTrust.h"
#include "files/journal/OverlayFile.h"

namespace orbo::Files {

namespace {

constexpr std::uint64_t kBlockSize = 64 * 1024;
constexpr int kMostSetAside = 1000;

}  // namespace

JournalRecovery::JournalRecovery(FileSystem& system, const std::string& filePath, File& file)
    : JournalRecovery(system, filePath, file, Journal::pathFor(filePath)) {}

JournalRecovery::JournalRecovery(FileSystem& system, std::string filePath, File& file,
                                 std::string journalPath)
    : fSystem(system),
      fFilePath(std::move(filePath)),
      fJournalPath(std::move(journalPath)),
      fFile(file) {}

JournalRecovery::Verdict JournalRecovery::look() {
    fMessage.clear();
    fVerdict = openJournal();
    if (fJournalFile && fVerdict == Verdict::kNothing) fVerdict = judge();
    return fVerdict;
}

JournalRecovery::Verdict JournalRecovery::unreadable(const std::error_code& error) {
    fMessage = "The journal " + fJournalPath + " cannot be read: " + error.message();
    return Verdict::kUnreadable;
}

// Opens the journal if its owner, and all who may write it, can be trusted.
JournalRecovery::Verdict JournalRecovery::openJournal() {
    fJournalFile.reset();
    std::error_code error;
    const auto named = fSystem.status(fJournalPath, error);
    if (!named) return error ? unreadable(error) : Verdict::kNothing;
    if (!named->isRegular) {
        fMessage = fJournalPath +
                   " is in the place of a journal, but is no regular file; it is that of " +
                   fSystem.describeUser(named->owner);
        return Verdict::kUnreadable;
    }
    std::error_code openError;
    auto journal = fSystem.open(fJournalPath, FileSystem::Mode::kRead, openError);
    const auto facts = journalFacts(fSystem, fJournalPath, journal.get(), fFile, error);
    if (!facts) return unreadable(error);
    const JournalTrust trust = trustIn(*facts);
    if (trust == JournalTrust::kIgnored) return Verdict::kNothing;
    if (trust != JournalTrust::kActedOn) {
        fMessage = "The journal " + fJournalPath + " of " +
                   fSystem.describeUser(facts->journal.owner) + ' ' + reasonOf(trust);
        return Verdict::kForeign;
    }
    // A process that was killed just after creating the journal leaves an empty one that only its
    // user may open.
    if (!journal && facts->journal.length == 0) return Verdict::kNothing;
    if (!journal) return unreadable(openError);
    if (!facts->journal.isSameFile(*named)) {
        return unreadable(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    fJournalFile = std::move(journal);
    return Verdict::kNothing;
}

JournalRecovery::Verdict JournalRecovery::judge() {
    const Journal::Condition condition = fJournal.read(*fJournalFile);
    switch (condition) {
        case Journal::Condition::kEmpty:
            return Verdict::kNotBegun;
        case Journal::Condition::kShort:
            return judgeShort();
        case Journal::Condition::kDamaged:
        case Journal::Condition::kSparse:
            fMessage = "The journal " + fJournalPath +
                       (condition == Journal::Condition::kSparse
                            ? " has little of what it claims to have on the disk"
                            : " is damaged") +
                       "; it was not applied";
            return Verdict::kDamaged;
        case Journal::Condition::kOtherVersion:
            fMessage = "The journal " + fJournalPath + " has layout " +
                       std::to_string(fJournal.version) +
                       ", which a later version of the program has written; use that one, or a "
                       "later one, to recover the file";
            return Verdict::kUnreadable;
        case Journal::Condition::kUnreadable:
            return unreadable(fJournalFile->error());
        case Journal::Condition::kWhole:
            break;
    }
    return judgeWhole();
}

// A writer touches the file only once the whole journal is on the disk, but a journal can lose its
// tail later.
JournalRecovery::Verdict JournalRecovery::judgeShort() {
    const std::optional<bool> isOld = isPlainlyOld(fJournal, *fJournalFile, fFile);
    if (!isOld) return unreadable(fFile.error() ? fFile.error() : fJournalFile->error());
    if (*isOld) return Verdict::kNotBegun;
    fMessage = "The journal " + fJournalPath +
               " ends too early, and does not show that the file is as it was before the change; "
               "it was not applied";
    return Verdict::kDamaged;
}

JournalRecovery::Verdict JournalRecovery::judgeWhole() {
    const std::optional<JournalMatch> found = matchJournal(fJournal, *fJournalFile, fFile);
    if (!found) return unreadable(fFile.error() ? fFile.error() : fJournalFile->error());
    if (!found->isExplained) {
        const bool isOfThisName = fJournal.fileName == Journal::nameOf(fFilePath);
        fMessage = "The journal " + fJournalPath + " is about another state of the file" +
                   (isOfThisName ? "" : ", or about " + fJournal.fileName) + "; it was not applied";
        return Verdict::kUnexplained;
    }
    fIsOld = found->isOld;
    return found->isNew ? Verdict::kKeepNew : Verdict::kRestoreOld;
}

bool JournalRecovery::fail(const std::string& message) {
    fMessage = message;
    return false;
}

bool JournalRecovery::run() {
    switch (fVerdict) {
        case Verdict::kNothing:
            return true;
        case Verdict::kNotBegun:
            return removeJournal();
        case Verdict::kRestoreOld:
        case Verdict::kKeepNew:
            return rewrite() && removeJournal();  // this checks once more where the file is
        case Verdict::kDamaged:
        case Verdict::kUnexplained:
            return setAside();
        case Verdict::kForeign:
        case Verdict::kUnreadable:
            break;
    }
    return false;
}

bool JournalRecovery::runAndKeepJournal() {
    const bool isToWrite = fVerdict == Verdict::kRestoreOld || fVerdict == Verdict::kKeepNew;
    return isToWrite ? rewrite() : fVerdict == Verdict::kNotBegun;
}

// Also writes bytes that the file holds already: after a kill the disk may not have them.
bool JournalRecovery::rewrite() {
    const bool toOld = fVerdict == Verdict::kRestoreOld;
    std::error_code markError;
    if ((toOld && !markUndone(markError)) || !writeChosen()) {
        const std::error_code& error = markError       ? markError
                                       : fFile.error() ? fFile.error()
                                                       : fJournalFile->error();
        return fail("A change that was cut short could not be " +
                    std::string(toOld ? "undone" : "finished") + ": " + error.message());
    }
    const std::optional<JournalMatch> found = matchJournal(fJournal, *fJournalFile, fFile);
    if (!found || !(toOld ? found->isOld : found->isNew)) {
        return fail("The file does not hold what was written to it");
    }
    if (toOld) fMessage = "A change that was cut short has been undone";
    return true;
}

// No mark is needed where old bytes replace old bytes. A journal that may not be written stays
// without a mark.
bool JournalRecovery::markUndone(std::error_code& error) {
    if (fIsOld || fJournal.version < 2) return true;
    const auto journal = fSystem.open(fJournalPath, FileSystem::Mode::kReadWrite, error);
    if (!journal) {
        error.clear();
        return true;
    }
    const auto mine = fJournalFile->status(), found = journal->status();
    const bool isSame = mine && found && mine->isSameFile(*found);
    // The program that left the mark may have ended before its sync.
    const bool isMarked =
        isSame && (fJournal.isUndone ? journal->sync() : Journal::appendMark(*journal));
    if (!isMarked) {
        error = journal->error() ? journal->error() : std::make_error_code(std::errc::io_error);
    }
    fJournal.isUndone = fJournal.isUndone || isMarked;
    return isMarked;
}

bool JournalRecovery::writeChosen() {
    const bool toOld = fVerdict == Verdict::kRestoreOld;
    std::string block;
    for (const Journal::Range& range : fJournal.ranges) {
        const std::uint64_t from = toOld ? range.oldAt : range.newAt;
        const std::uint64_t size = toOld ? range.oldSize : range.newSize;
        if (!fFile.seek(range.offset)) return false;
        for (std::uint64_t at = 0; at < size; at += kBlockSize) {
            block.resize(static_cast<std::size_t>(std::min(size - at, kBlockSize)));
            if (!readExactlyAt(*fJournalFile, from + at, block.data(), block.size())) return false;
            if (!fFile.write(block.data(), block.size())) return false;
        }
    }
    const std::uint64_t length = toOld ? fJournal.oldLength : fJournal.newLength;
    return fFile.truncate(length) && fFile.sync();
}

// While this process waited for the lock, another program may have put a new file there, with a
// journal of its own.
bool JournalRecovery::isInPlace() {
    std::error_code ignored;
    return isNamed(fSystem, fFilePath, fFile, ignored);
}

bool JournalRecovery::removeJournal() {
    std::error_code error;
    const bool isOurs = isNamed(fSystem, fJournalPath, *fJournalFile, error);
    if (!isOurs || !isInPlace()) {
        return fail("Another program has put a new file in the place of this one");
    }
    // Only a writable file can be emptied.
    const auto writable = fSystem.open(fJournalPath, FileSystem::Mode::kReadWrite, error);
    File& journal = writable ? *writable : *fJournalFile;
    if (!discardJournal(fSystem, fJournalPath, journal)) {
        return fail("The journal " + fJournalPath + " could not be removed");
    }
    return fSystem.syncFolderOf(fJournalPath, error) ||
           fail("The journal " + fJournalPath +
                " was removed, but not for sure: " + error.message());
}

bool JournalRecovery::setAside() {
    for (int i = 1; i <= kMostSetAside; ++i) {
        const std::string path = Journal::pathSetAside(fFilePath, i);
        std::error_code error;
        const bool taken = fSystem.status(path, error).has_value();
        if (taken) continue;
        if (!isInPlace()) return fail("The file has been replaced by another program");
        if (error || !fSystem.rename(fJournalPath, path, error) ||
            !fSystem.syncFolderOf(path, error)) {
            return fail(fMessage + ", and could not be set aside: " + error.message());
        }
        fMessage += " and was set aside as " + path;
        return true;
    }
    return fail(fMessage + ", and there are too many of them set aside already");
}

std::unique_ptr<File> JournalRecovery::oldBytesOver(std::unique_ptr<File> file) {
    return std::make_unique<OverlayFile>(std::move(file), std::move(fJournalFile), fJournal);
}

bool discardJournal(FileSystem& system, const std::string& journalPath, File& journal) {
    std::error_code ignored;
    // Another program may have set the journal aside by mistake, and left a different one there.
    return (isNamed(system, journalPath, journal, ignored) &&
            system.remove(journalPath, ignored)) ||
           (journal.truncate(0) && journal.sync());
}

}  // namespace orbo::Files
