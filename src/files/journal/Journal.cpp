// The journal of a rewrite: the old bytes and the new ones, kept beside the file until it is
// finished.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/Journal.h"

#include <algorithm>
#include <random>
#include <string_view>
#include <utility>

#include "files/BigEndian.h"
#include "files/Checksum.h"

namespace orbo::Files {

namespace {

// The header: title, version, its own size, a random number, both lengths, how long the name is and
// how many ranges there are; then the ranges, the name, a checksum of the old bytes of each range,
// and one of the header. Layout 1 has no checksums of old bytes.
constexpr std::string_view kTitle =
    "A change of the file beside this one was cut short. To mend it: quilmeta recover FILE\n";
constexpr std::uint64_t kFirstVersion = 1;
constexpr std::uint64_t kVersion = 2;
constexpr std::size_t kFixedSize = kTitle.size() + 4 + 4 + 8 + 8 + 8 + 4 + 4;
constexpr std::size_t kRangeSize = 3 * 8;
constexpr std::size_t kChecksumSize = 8;
// No file system has longer names, and no rewrite has more ranges.
constexpr std::uint64_t kMostName = 4096;
constexpr std::uint64_t kMostRanges = 64;
constexpr std::uint64_t kLargestHeader =
    kFixedSize + kMostRanges * (kRangeSize + kChecksumSize) + kMostName + kChecksumSize;
// No file is larger, and sums of a few such sizes do not overflow.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 62;

constexpr std::size_t kBlockSize = 64 * 1024;
// A journal is written without holes; a copy of it may have holes where it has zeros.
constexpr std::uint64_t kMostHoles = 1024 * 1024;
// This mark ends the journal of a rewrite that is being undone.
constexpr std::string_view kMark = "\n";
constexpr std::string_view kSuffix = ".metadata-journal";
constexpr std::size_t kLongestName = 255;  // in bytes, on the usual file systems

std::string checksumOf(std::string_view bytes) {
    Checksum checksum;
    checksum.add(bytes);
    return bigEndian(checksum.value(), kChecksumSize);
}

std::uint64_t randomNumber() {
    try {
        std::random_device random;
        return std::uint64_t{random()} << 32 | random();
    } catch (const std::exception&) {
        return 0;  // without randomness the checksum still tells journals apart
    }
}

std::string headerFor(const std::string& name, const std::vector<RewriteRange>& ranges) {
    const std::size_t size =
        kFixedSize + ranges.size() * (kRangeSize + kChecksumSize) + name.size() + kChecksumSize;
    std::string header(kTitle);
    header += bigEndian(kVersion, 4) + bigEndian(size, 4) + bigEndian(randomNumber(), 8);
    header += bigEndian(ranges.back().oldEnd(), 8) + bigEndian(ranges.back().newEnd(), 8);
    header += bigEndian(name.size(), 4) + bigEndian(ranges.size(), 4);
    for (const RewriteRange& range : ranges) {
        header += bigEndian(range.offset, 8) + bigEndian(range.oldBytes.size(), 8) +
                  bigEndian(range.newSize(), 8);
    }
    header += name;
    for (const RewriteRange& range : ranges) header += checksumOf(range.oldBytes);
    return header + checksumOf(header);
}

std::string besideFile(const std::string& filePath, const std::string& suffix) {
    const std::string name = Journal::nameOf(filePath);
    if (name.size() + suffix.size() <= kLongestName) return filePath + suffix;
    // Long names with the same beginning must not share a journal.
    Checksum checksum;
    checksum.add(name);
    std::string digits = "-";
    for (int shift = 60; shift >= 0; shift -= 4) {
        digits += "0123456789abcdef"[checksum.value() >> shift & 0xF];
    }
    const std::string folder = filePath.substr(0, filePath.size() - name.size());
    return folder + name.substr(0, kLongestName - suffix.size() - digits.size()) + digits + suffix;
}

/// Writes bytes in large pieces and sums them up.
class SummedOutput {
  public:
    explicit SummedOutput(File& file) : fFile(file) {}

    bool write(std::string_view bytes) {
        fChecksum.add(bytes);
        return append(bytes);
    }
    bool finish() { return append(bigEndian(fChecksum.value(), kChecksumSize)) && flush(); }

  private:
    bool append(std::string_view bytes) {
        if (fPending.size() + bytes.size() <= kBlockSize) {
            fPending += bytes;
            return true;
        }
        return flush() && fFile.write(bytes.data(), bytes.size());
    }
    bool flush() {
        const bool written = fPending.empty() || fFile.write(fPending.data(), fPending.size());
        fPending.clear();
        return written;
    }

    File& fFile;
    Checksum fChecksum;
    std::string fPending;
};

/// Takes numbers off the front of a header.
class Fields {
  public:
    explicit Fields(std::string_view bytes) : fLeft(bytes) {}

    std::uint64_t number(std::size_t size) { return fromBigEndian(text(size)); }
    std::string_view text(std::size_t size) {
        const std::string_view taken = fLeft.substr(0, size);
        fLeft.remove_prefix(taken.size());
        return taken;
    }

  private:
    std::string_view fLeft;
};

class Reader {
  public:
    using Condition = Journal::Condition;

    Reader(File& file, Journal& journal) : fFile(file), fJournal(journal) {}

    Condition read() {
        const auto length = fFile.size();
        if (!length) return Condition::kUnreadable;
        fLength = *length;
        if (fLength == 0) return Condition::kEmpty;
        const Condition header = readHeader();
        if (header != Condition::kWhole) return header;
        if (!fitsTogether()) return Condition::kDamaged;
        fJournal.hasHeader = true;
        return fLength < fExpected ? Condition::kShort : readRest();
    }

  private:
    Condition readHeader() {
        std::string header(static_cast<std::size_t>(std::min<std::uint64_t>(fLength, kFixedSize)),
                           '\0');
        if (!readExactlyAt(fFile, 0, header.data(), header.size())) return Condition::kUnreadable;
        const std::string_view title = std::string_view(header).substr(0, kTitle.size());
        if (title != kTitle.substr(0, title.size())) return Condition::kDamaged;
        if (header.size() < kFixedSize) return Condition::kShort;

        Fields fields(std::string_view(header).substr(kTitle.size()));
        fJournal.version = fields.number(4);
        fHeaderSize = fields.number(4);
        fields.number(8);
        fJournal.oldLength = fields.number(8);
        fJournal.newLength = fields.number(8);
        const std::uint64_t nameSize = fields.number(4);
        const std::uint64_t ranges = fields.number(4);
        const bool isOurs = fJournal.version == kVersion || fJournal.version == kFirstVersion;
        const std::uint64_t rangeSize = kRangeSize + (hasOldChecksums() ? kChecksumSize : 0);
        const bool isSensible =
            nameSize <= kMostName && ranges > 0 && ranges <= kMostRanges &&
            fHeaderSize == kFixedSize + ranges * rangeSize + nameSize + kChecksumSize;
        if (isOurs && !isSensible) return Condition::kDamaged;
        if (isOurs && fLength < fHeaderSize) return Condition::kShort;
        const Condition read = readLists(header);
        if (read != Condition::kWhole) return read;
        return isOurs ? takeLists(header, static_cast<std::size_t>(ranges),
                                  static_cast<std::size_t>(nameSize))
                      : Condition::kOtherVersion;
    }

    // All versions of the layout agree on the size of the header and on the checksum at its end.
    Condition readLists(std::string& header) {
        const bool isPossible = fHeaderSize >= kFixedSize + kChecksumSize &&
                                fHeaderSize <= kLargestHeader && fHeaderSize <= fLength;
        if (!isPossible) return Condition::kDamaged;
        header.resize(static_cast<std::size_t>(fHeaderSize));
        if (!readExactlyAt(fFile, 0, header.data(), header.size())) return Condition::kUnreadable;
        const std::string_view bytes =
            std::string_view(header).substr(0, header.size() - kChecksumSize);
        return std::string_view(header).substr(bytes.size()) == checksumOf(bytes)
                   ? Condition::kWhole
                   : Condition::kDamaged;
    }

    Condition takeLists(std::string_view header, std::size_t ranges, std::size_t nameSize) {
        Fields fields(header.substr(kFixedSize));
        fJournal.ranges.resize(ranges);
        for (Journal::Range& range : fJournal.ranges) {
            range.offset = fields.number(8);
            range.oldSize = fields.number(8);
            range.newSize = fields.number(8);
        }
        fJournal.fileName = fields.text(nameSize);
        if (hasOldChecksums()) {
            for (Journal::Range& range : fJournal.ranges) range.oldChecksum = fields.number(8);
        }
        return Condition::kWhole;
    }

    [[nodiscard]] bool hasOldChecksums() const { return fJournal.version > kFirstVersion; }

    // A right checksum does not make the numbers trustworthy: anybody can compute one.
    bool fitsTogether() {
        std::uint64_t at = 0;
        fExpected = fHeaderSize;
        for (Journal::Range& range : fJournal.ranges) {
            if (std::max({range.offset, range.oldSize, range.newSize}) > kMostBytes) return false;
            const bool isLast = &range == &fJournal.ranges.back();
            if (range.offset < at || (!isLast && range.oldSize != range.newSize)) return false;
            at = range.offset + range.oldSize;
            range.oldAt = fExpected;
            range.newAt = range.oldAt + range.oldSize;
            fExpected = range.newAt + range.newSize;
            if (fExpected > kMostBytes) return false;
        }
        fExpected += kChecksumSize;
        const Journal::Range& last = fJournal.ranges.back();
        return fJournal.oldLength == at && fJournal.newLength == last.offset + last.newSize;
    }

    Condition readRest() {
        const auto onDisk = fFile.sizeOnDisk();
        if (!onDisk) return Condition::kUnreadable;
        if (fLength > *onDisk && fLength - *onDisk > *onDisk + kMostHoles) {
            return Condition::kSparse;
        }
        if (fLength != fExpected && !isMarked()) return Condition::kDamaged;
        const Condition sum = checkSum();
        return sum == Condition::kWhole && hasOldChecksums() ? checkOldBytes() : sum;
    }

    // A power cut may have left the mark's byte as zero.
    bool isMarked() {
        char mark = 0;
        fJournal.isUndone = hasOldChecksums() && fLength - fExpected == kMark.size() &&
                            readExactlyAt(fFile, fExpected, &mark, 1) &&
                            (mark == kMark.front() || mark == '\0');
        return fJournal.isUndone;
    }

    Condition checkSum() {
        Checksum checksum;
        std::string end(kChecksumSize, '\0');
        const bool isRead = checksum.add(fFile, 0, fExpected - kChecksumSize) &&
                            readExactly(fFile, end.data(), end.size());
        if (!isRead) return Condition::kUnreadable;
        return fromBigEndian(end) == checksum.value() ? Condition::kWhole : Condition::kDamaged;
    }

    Condition checkOldBytes() {
        for (const Journal::Range& range : fJournal.ranges) {
            Checksum checksum;
            if (!checksum.add(fFile, range.oldAt, range.oldSize)) return Condition::kUnreadable;
            if (checksum.value() != range.oldChecksum) return Condition::kDamaged;
        }
        return Condition::kWhole;
    }

    File& fFile;
    Journal& fJournal;
    std::uint64_t fLength = 0;
    std::uint64_t fHeaderSize = 0;
    std::uint64_t fExpected = 0;
};

}  // namespace

std::string Journal::nameOf(const std::string& filePath) {
    return filePath.substr(filePath.rfind('/') + 1);
}

std::string Journal::pathFor(const std::string& filePath) {
    return besideFile(filePath, std::string(kSuffix));
}

std::string Journal::pathSetAside(const std::string& filePath, int n) {
    return besideFile(filePath, std::string(kSuffix) + ".set-aside-" + std::to_string(n));
}

std::uint64_t Journal::sizeFor(const std::string& filePath,
                               const std::vector<RewriteRange>& ranges) {
    std::uint64_t size = headerFor(nameOf(filePath), ranges).size() + kChecksumSize;
    for (const RewriteRange& range : ranges) size += range.oldBytes.size() + range.newSize();
    return size;
}

bool Journal::write(File& journal, const std::string& filePath,
                    const std::vector<RewriteRange>& ranges) {
    SummedOutput out(journal);
    if (!out.write(headerFor(nameOf(filePath), ranges))) return false;
    for (const RewriteRange& range : ranges) {
        if (!out.write(range.oldBytes)) return false;
        for (const std::string_view piece : range.pieces) {
            if (!out.write(piece)) return false;
        }
    }
    return out.finish();
}

Journal::Condition Journal::read(File& journal) {
    *this = {};
    return Reader(journal, *this).read();
}

bool Journal::appendMark(File& journal) {
    const auto size = journal.size();
    return size && journal.seek(*size) && journal.write(kMark.data(), kMark.size()) &&
           journal.sync();
}

}  // namespace orbo::Files
