// Brings a file whose rewrite was cut short back to its old bytes, or to its new ones.
// SPDX-License-Identifier: Apache-2.0
#include "files/JournalRecovery.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "files/JournalTrust.h"
#include "files/OverlayFile.h"

namespace orbo::Files {

namespace {

constexpr std::uint64_t kBlockSize = 64 * 1024;
constexpr int kMostSetAside = 1000;

}  // namespace

/// The same stretch of the file, of the old bytes and of the new ones.
struct JournalRecovery::Block {
    std::string file, oldBytes, newBytes;

    /// Reads what there is from `at` to `size`, at most `most` bytes.
    static bool read(File& file, std::uint64_t begin, std::uint64_t at, std::uint64_t size,
                     std::uint64_t most, std::string& bytes) {
        bytes.resize(static_cast<std::size_t>(at < size ? std::min(size - at, most) : 0));
        return bytes.empty() || readExactlyAt(file, begin + at, bytes.data(), bytes.size());
    }

    void compare(Match& match) const {
        match.isOld = match.isOld && startsWith(file, oldBytes);
        match.isNew = match.isNew && startsWith(file, newBytes);
        const std::size_t both = std::min(oldBytes.size(), newBytes.size());
        for (std::size_t i = 0; i < file.size() && match.explained; ++i) {
            match.explained = (i < oldBytes.size() && file[i] == oldBytes[i]) ||
                              (i < newBytes.size() && file[i] == newBytes[i]) ||
                              (i >= both && file[i] == '\0');
        }
    }

  private:
    static bool startsWith(const std::string& bytes, const std::string& beginning) {
        return bytes.compare(0, beginning.size(), beginning) == 0;
    }
};

JournalRecovery::JournalRecovery(FileSystem& system, std::string filePath, File& file)
    : fSystem(system),
      fFilePath(std::move(filePath)),
      fJournalPath(Journal::pathFor(fFilePath)),
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

// Opens it when it can be trusted as far as its owner, and all who may write it, go.
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
    if (!journal) return unreadable(openError);
    if (!facts->journal.isSameFile(*named)) {
        return unreadable(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    fJournalFile = std::move(journal);
    return Verdict::kNothing;
}

JournalRecovery::Verdict JournalRecovery::judge() {
    switch (fJournal.read(*fJournalFile)) {
        case Journal::Condition::kShort:
            return Verdict::kNotBegun;
        case Journal::Condition::kDamaged:
            fMessage = "The journal " + fJournalPath + " is damaged; it was not applied";
            return Verdict::kDamaged;
        case Journal::Condition::kOtherVersion:
            fMessage = "The journal " + fJournalPath +
                       " is of another version of the program, which can recover the file";
            return Verdict::kUnreadable;
        case Journal::Condition::kUnreadable:
            return unreadable(fJournalFile->error());
        case Journal::Condition::kWhole:
            break;
    }
    Match found;
    if (fJournal.fileName != Journal::nameOf(fFilePath)) {
        found.explained = false;
    } else if (!match(found)) {
        return unreadable(fFile.error() ? fFile.error() : fJournalFile->error());
    }
    if (!found.explained) {
        fMessage = "The journal " + fJournalPath +
                   " is about another state of the file; it was not applied";
        return Verdict::kUnexplained;
    }
    return found.isNew ? Verdict::kKeepNew : Verdict::kRestoreOld;
}

bool JournalRecovery::match(Match& match) {
    const auto length = fFile.size();
    if (!length) return false;
    const auto [shortest, longest] = std::minmax(fJournal.oldLength, fJournal.newLength);
    match.explained = *length >= shortest && *length <= longest;
    match.isOld = *length == fJournal.oldLength;
    match.isNew = *length == fJournal.newLength;
    Block block;
    for (const Journal::Range& range : fJournal.ranges) {
        const std::uint64_t most = std::max(range.oldSize, range.newSize);
        const std::uint64_t there = *length < range.offset ? 0 : *length - range.offset;
        for (std::uint64_t at = 0; at < most && match.explained; at += kBlockSize) {
            const bool read = Block::read(fFile, range.offset, at, std::min(most, there),
                                          kBlockSize, block.file) &&
                              Block::read(*fJournalFile, range.oldAt, at, range.oldSize, kBlockSize,
                                          block.oldBytes) &&
                              Block::read(*fJournalFile, range.newAt, at, range.newSize, kBlockSize,
                                          block.newBytes);
            if (!read) return false;
            block.compare(match);
        }
    }
    return true;
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
            return rewrite() && removeJournal();  // which looks once more where the file is
        case Verdict::kDamaged:
        case Verdict::kUnexplained:
            return setAside();
        case Verdict::kForeign:
        case Verdict::kUnreadable:
            break;
    }
    return false;
}

// Even what the file holds already: the disk may not, after a kill.
bool JournalRecovery::rewrite() {
    const bool toOld = fVerdict == Verdict::kRestoreOld;
    if (!writeChosen()) {
        const std::error_code& error = fFile.error() ? fFile.error() : fJournalFile->error();
        return fail("A change that was cut short could not be " +
                    std::string(toOld ? "undone" : "finished") + ": " + error.message());
    }
    Match found;
    if (!match(found) || !(toOld ? found.isOld : found.isNew)) {
        return fail("The file does not hold what was written to it");
    }
    if (toOld) fMessage = "A change that was cut short has been undone";
    return true;
}

bool JournalRecovery::writeChosen() {
    const bool toOld = fVerdict == Verdict::kRestoreOld;
    std::string block;
    for (const Journal::Range& range : fJournal.ranges) {
        const std::uint64_t from = toOld ? range.oldAt : range.newAt;
        const std::uint64_t size = toOld ? range.oldSize : range.newSize;
        if (!fFile.seek(range.offset)) return false;
        for (std::uint64_t at = 0; at < size; at += kBlockSize) {
            if (!Block::read(*fJournalFile, from, at, size, kBlockSize, block)) return false;
            if (!fFile.write(block.data(), block.size())) return false;
        }
    }
    const std::uint64_t length = toOld ? fJournal.oldLength : fJournal.newLength;
    return fFile.truncate(length) && fFile.sync();
}

// While this waited for its turn, another program may have put a new file there, and somebody else
// a journal for it.
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
    // Only what is writable can be emptied.
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
    // Whoever took another file for ours may have set the journal aside, and left another there.
    return (isNamed(system, journalPath, journal, ignored) &&
            system.remove(journalPath, ignored)) ||
           (journal.truncate(0) && journal.sync());
}

}  // namespace orbo::Files
