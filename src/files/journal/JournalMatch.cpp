// Compares a file with the journal of a rewrite that was cut short.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/JournalMatch.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "files/Checksum.h"

namespace orbo::Files {

namespace {

constexpr std::uint64_t kSector = 512;
constexpr std::uint64_t kBlockSize = 128 * kSector;
// A journal of a few bytes may claim a large range; this bounds the work.
constexpr std::uint64_t kMostUnfounded = 16 * 1024 * 1024;

/// The index of the first byte from `at` on that differs; the size when there is none.
std::size_t firstDifference(std::string_view left, std::string_view right, std::size_t at) {
    const auto [found, other] = std::mismatch(left.begin() + at, left.end(), right.begin() + at);
    return static_cast<std::size_t>(found - left.begin());
}

/// All three have the same size.
bool isSectorExplained(std::string_view sector, std::string_view oldBytes,
                       std::string_view newBytes, bool isUndone) {
    if (sector == oldBytes) return true;
    const std::size_t undone = isUndone ? firstDifference(sector, oldBytes, 0) : 0;
    const std::size_t written = firstDifference(sector, newBytes, undone);
    return sector.substr(written) == oldBytes.substr(written);
}

/// The same range of the file, of the old bytes and of the new bytes.
struct Block {
    std::string file, oldBytes, newBytes;

    void compare(JournalMatch& match) const {
        match.isOld = match.isOld && startsWith(file, oldBytes);
        match.isNew = match.isNew && startsWith(file, newBytes);
    }

  private:
    static bool startsWith(std::string_view bytes, std::string_view beginning) {
        return bytes.substr(0, beginning.size()) == beginning.substr(0, bytes.size());
    }
};

class Matching {
  public:
    Matching(const Journal& journal, File& journalFile, File& file)
        : fJournal(journal), fJournalFile(journalFile), fFile(file) {}

    std::optional<JournalMatch> run() {
        const auto length = fFile.size();
        if (!length) return std::nullopt;
        fLength = *length;
        const auto [shortest, longest] = std::minmax(fJournal.oldLength, fJournal.newLength);
        fMatch.isExplained = fLength >= shortest && fLength <= longest;
        fMatch.isOld = fLength == fJournal.oldLength;
        fMatch.isNew = fLength == fJournal.newLength;
        for (const Journal::Range& range : fJournal.ranges) {
            if (!compare(range)) return std::nullopt;
        }
        fMatch.isOld = fMatch.isOld && fMatch.isExplained;
        fMatch.isNew = fMatch.isNew && fMatch.isExplained;
        return fMatch;
    }

  private:
    // Each block ends at the end of a sector.
    bool compare(const Journal::Range& range) {
        const std::uint64_t there = fLength < range.offset ? 0 : fLength - range.offset;
        const std::uint64_t end = std::min(there, std::max(range.oldSize, range.newSize));
        for (std::uint64_t at = 0, next = 0; at < end && fMatch.isExplained; at = next) {
            next = std::min(end, at + kBlockSize - (range.offset + at) % kBlockSize);
            if (!read(fFile, range.offset + at, next - at, fBlock.file) ||
                !readPart(range.oldAt, range.oldSize, at, next, fBlock.oldBytes) ||
                !readPart(range.newAt, range.newSize, at, next, fBlock.newBytes)) {
                return false;
            }
            fBlock.compare(fMatch);
            explain(range, at);
        }
        return true;
    }

    bool readPart(std::uint64_t begin, std::uint64_t size, std::uint64_t at, std::uint64_t next,
                  std::string& bytes) {
        const std::uint64_t end = std::min(size, next);
        return read(fJournalFile, begin + at, at < end ? end - at : 0, bytes);
    }
    static bool read(File& file, std::uint64_t at, std::uint64_t size, std::string& bytes) {
        bytes.resize(static_cast<std::size_t>(size));
        return bytes.empty() || readExactlyAt(file, at, bytes.data(), bytes.size());
    }

    void explain(const Journal::Range& range, std::uint64_t at) {
        std::string_view file(fBlock.file), oldBytes(fBlock.oldBytes);
        // Behind the new length a file that was shortened, and then made longer again, may hold
        // anything.
        const std::size_t lastSure = fJournal.isUndone ? fBlock.newBytes.size() : file.size();
        const std::size_t evidence = std::min({file.size(), oldBytes.size(), lastSure});
        // A file system may zero the rest of the last sector before it cuts the end off.
        fBlock.newBytes.resize(std::max(evidence, fBlock.newBytes.size()));
        const std::string_view newBytes(fBlock.newBytes);
        std::size_t next = 0;
        for (std::size_t i = 0; i < evidence && fMatch.isExplained; i = next) {
            const auto inSector = static_cast<std::size_t>((range.offset + at + i) % kSector);
            next = std::min(evidence, i + static_cast<std::size_t>(kSector) - inSector);
            fMatch.isExplained =
                isSectorExplained(file.substr(i, next - i), oldBytes.substr(i, next - i),
                                  newBytes.substr(i, next - i), fJournal.isUndone);
        }
    }

    const Journal& fJournal;
    File& fJournalFile;
    File& fFile;
    std::uint64_t fLength = 0;
    JournalMatch fMatch;
    Block fBlock;
};

/// Returns false on a read error. `found` is empty when the journal, or the part of it on the disk,
/// is too short to tell.
bool oldChecksum(const Journal& journal, const Journal::Range& range, File& journalFile,
                 std::optional<std::uint64_t>& found) {
    found = range.oldChecksum;
    if (journal.version > 1) return true;
    const auto size = journalFile.size();
    if (!size) return false;
    found.reset();
    if (*size < range.oldAt || *size - range.oldAt < range.oldSize) return true;
    Checksum checksum;
    if (!checksum.add(journalFile, range.oldAt, range.oldSize)) return false;
    found = checksum.value();
    return true;
}

}  // namespace

std::optional<JournalMatch> matchJournal(const Journal& journal, File& journalFile, File& file) {
    return Matching(journal, journalFile, file).run();
}

std::optional<bool> isPlainlyOld(const Journal& journal, File& journalFile, File& file) {
    const auto length = file.size();
    const auto onDisk = journalFile.sizeOnDisk();
    if (!length || !onDisk) return std::nullopt;
    if (!journal.hasHeader || *length != journal.oldLength) return false;
    std::uint64_t sum = 0;
    for (const Journal::Range& range : journal.ranges) sum += range.oldSize;
    if (sum > *onDisk && sum - *onDisk > kMostUnfounded) return false;
    for (const Journal::Range& range : journal.ranges) {
        std::optional<std::uint64_t> expected;
        Checksum found;
        if (!oldChecksum(journal, range, journalFile, expected)) return std::nullopt;
        if (!expected) return false;
        if (!found.add(file, range.offset, range.oldSize)) return std::nullopt;
        if (found.value() != *expected) return false;
    }
    return true;
}

}  // namespace orbo::Files
