// What becomes of a file and of a journal that is found beside it.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/JournalRecovery.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>

#include "files/Checksum.h"
#include "files/JournalBytes.h"
#include "files/LockedFile.h"
#include "files/ScriptedFileSystem.h"

namespace orbo::Files {
namespace {

using Use = LockedFile::Use;
using Verdict = JournalRecovery::Verdict;

const std::string kPath = "/folder/scene";
const std::string kJournal = kPath + ".metadata-journal";
const std::string kSetAside = kJournal + ".set-aside-1";
constexpr std::string_view kOld = "scene 12 and its old tail";
constexpr std::string_view kNew = "scene 34 and its newer, longer tail";
const std::string kMixed = "scene 32" + std::string(kOld.substr(8));

class JournalRecoveryTest : public testing::Test {
  protected:
    JournalRecoveryTest() {
        fSystem.files[kPath] = kOld;
        std::error_code error;
        const auto file = fSystem.create(kJournal, {}, error);
        const std::vector<RewriteRange> ranges{{6, "12", {"34"}},
                                               {17, kOld.substr(17), {kNew.substr(17)}}};
        EXPECT_TRUE(Journal::write(*file, kPath, ranges));
        fWhole = fSystem.files[kJournal];
    }

    /// Opens the file, content and journal being as given.
    LockedFile::Opening open(std::string_view content, const std::string& journal, Use use) {
        fSystem.files = {{kPath, std::string(content)}, {kJournal, journal}};
        return LockedFile::open(kPath, use, {});
    }
    static LockedFile::Opening again(LockedFile::Opening closed) {
        closed.file.reset();
        return LockedFile::open(kPath, Use::kRecover, {});
    }
    static std::string contentOf(const LockedFile::Opening& opening) {
        if (!opening.file) return "";
        std::string bytes(100, '\0');
        EXPECT_TRUE(opening.file->file().seek(0));
        bytes.resize(opening.file->file().read(bytes.data(), bytes.size()).value_or(0));
        return bytes;
    }

    ScriptedFileSystem fSystem;
    FileSystem::Replacement fReplaced{fSystem};
    std::string fWhole;
};

TEST(ChecksumTest, IsTheOneItSays) {
    for (std::size_t split = 0; split < 10; ++split) {
        Checksum checksum;
        checksum.add(std::string_view("123456789").substr(0, split));
        checksum.add(std::string_view("123456789").substr(split));
        EXPECT_EQ(checksum.value(), 0x995DC9BBDF1939FA);
    }
}

TEST_F(JournalRecoveryTest, OldBytesNewOnesAndAnythingWhereItGrewAreExplained) {
    const std::string grown(kNew.size() - kOld.size(), '\0');
    const std::string stale(kNew.size() - kOld.size(), '#');
    const std::string foreign = "scene 13" + std::string(kOld.substr(8));
    const struct {
        std::string content;
        Verdict verdict;
        std::string_view after = {};
    } rows[] = {
        {std::string(kOld), Verdict::kRestoreOld, kOld},
        {std::string(kNew), Verdict::kKeepNew, kNew},
        {kMixed, Verdict::kRestoreOld, kOld},
        {std::string(kOld) + grown, Verdict::kRestoreOld, kOld},
        {std::string(kOld) + stale, Verdict::kRestoreOld, kOld},
        {std::string(kNew.substr(0, kOld.size())) + stale, Verdict::kRestoreOld, kOld},
        {kMixed + grown.substr(1), Verdict::kRestoreOld, kOld},
        {std::string(kNew.substr(0, kNew.size() - 1)), Verdict::kRestoreOld, kOld},
        {foreign, Verdict::kUnexplained, foreign},
        {std::string(kNew) + "x", Verdict::kUnexplained},
        {std::string(kOld.substr(1)), Verdict::kUnexplained},
        {"", Verdict::kUnexplained},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.content);
        const std::string after(row.after.empty() ? row.content : row.after);
        for (const Use use : {Use::kRead, Use::kWrite, Use::kRecover}) {
            const auto opening = open(row.content, fWhole, use);
            EXPECT_EQ(opening.verdict, row.verdict);
            EXPECT_EQ(contentOf(opening), after);
            EXPECT_EQ(fSystem.files[kPath], after);
            EXPECT_EQ(fSystem.files.count(kJournal), 0U);
            EXPECT_EQ(fSystem.files.count(kSetAside), row.verdict == Verdict::kUnexplained);
        }
        // Who may not write sees the same.
        fSystem.readOnly = {kPath, kJournal};
        EXPECT_EQ(contentOf(open(row.content, fWhole, Use::kRead)), after);
        EXPECT_EQ(fSystem.files[kPath], row.content);
        EXPECT_EQ(fSystem.files[kJournal], fWhole);
        fSystem.readOnly.clear();
    }
}

TEST_F(JournalRecoveryTest, ADamagedJournalChangesNothing) {
    for (std::size_t i = 0; i < fWhole.size(); ++i) {
        SCOPED_TRACE(i);
        std::string damaged = fWhole;
        damaged[i] ^= 0x20;
        const auto opening = open(kMixed, damaged, i % 2 == 0 ? Use::kRead : Use::kWrite);
        EXPECT_EQ(opening.verdict, Verdict::kDamaged);
        EXPECT_EQ(contentOf(opening), kMixed);
        EXPECT_EQ(fSystem.files[kSetAside], damaged);
    }
    for (const std::string& journal : {fWhole + "x", fWhole + "\n\n", inLayout1(fWhole) + "\n"}) {
        EXPECT_EQ(open(kMixed, journal, Use::kWrite).verdict, Verdict::kDamaged);
    }
}

// The file is only touched once all of the journal is on the disk, but a disk may lose it again.
TEST_F(JournalRecoveryTest, AJournalWithoutItsTailGoesOnlyBesideTheOldFile) {
    const auto cutAt = [this](std::string_view content, const std::string& journal,
                              std::size_t size) {
        const auto opening = open(content, journal.substr(0, size), Use::kWrite);
        EXPECT_EQ(contentOf(opening), content);
        EXPECT_EQ(fSystem.files.count(kJournal), 0U);
        const bool isKept = fSystem.files.count(kSetAside) == 1;
        EXPECT_EQ(opening.verdict, isKept ? Verdict::kDamaged : Verdict::kNotBegun);
        EXPECT_EQ(opening.notes.empty(), !isKept);
        return isKept;
    };
    const std::string old1 = inLayout1(fWhole);
    // Where the old bytes of the last range end, of which the header says nothing.
    const std::size_t known1 = headerSize(old1) + 4 + (kOld.size() - 17);
    for (std::size_t i = 0; i < fWhole.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(cutAt(kOld, fWhole, i), i > 0 && i < headerSize(fWhole));
        for (const std::string& changed : {kMixed, std::string(kNew), std::string(kOld) + '\0'}) {
            EXPECT_EQ(cutAt(changed, fWhole, i), i > 0);
        }
        if (i >= old1.size()) continue;
        EXPECT_EQ(cutAt(kOld, old1, i), i > 0 && i < known1);
        EXPECT_EQ(cutAt(kMixed, old1, i), i > 0);
    }
}

// It may be gigabytes long and have one block on the disk.
TEST_F(JournalRecoveryTest, ASparseJournalCostsWhatItHasOnTheDisk) {
    fWhole.resize(std::size_t{8} << 20);
    fSystem.sizesOnDisk[kJournal] = 4096;
    for (const std::size_t end : {std::size_t{0}, std::size_t{8}}) {
        std::string journal = fWhole;
        // Of a last range whose new bytes are all zeros.
        const std::size_t header = headerSize(journal), last = 126 + 24;
        journal.replace(last + 16, 8, bigEndian(journal.size() - header - 4 - 8 - 8 - end, 8));
        journal.replace(110, 8, bigEndian(17 + fromBigEndian(journal.substr(last + 16, 8)), 8));
        mendChecksums(journal);
        fSystem.bytesRead = 0;
        EXPECT_EQ(open(kOld, journal, Use::kWrite).verdict, Verdict::kDamaged);
        EXPECT_LT(fSystem.bytesRead, 4096U);
        fSystem.sizesOnDisk[kJournal] = journal.size() / 2;
        const auto verdict = end == 0 ? Verdict::kRestoreOld : Verdict::kDamaged;
        EXPECT_EQ(open(kOld, journal, Use::kWrite).verdict, verdict) << "some holes are no harm";
        fSystem.sizesOnDisk[kJournal] = 4096;
    }
    // One that says what it cannot know, about a file of many bytes, and ends after its header.
    const std::string large(std::size_t{40} << 20, 'x');
    std::error_code error;
    fSystem.files.clear();
    const auto file = fSystem.create(kJournal, {}, error);
    ASSERT_TRUE(Journal::write(*file, kPath, {{0, large, {"y"}}}));
    std::string cut = fSystem.files[kJournal];
    cut.resize(headerSize(cut) + 100);
    fSystem.bytesRead = 0;
    EXPECT_EQ(open(large, cut, Use::kWrite).verdict, Verdict::kDamaged);
    EXPECT_LT(fSystem.bytesRead, 4096U);
}

TEST_F(JournalRecoveryTest, JournalsOfAnEarlierLayoutAreActedOn) {
    const std::string old1 = inLayout1(fWhole);
    EXPECT_EQ(contentOf(open(kMixed, old1, Use::kWrite)), kOld);
    EXPECT_EQ(contentOf(open(kNew, old1, Use::kRead)), kNew);
    EXPECT_EQ(open("foreign", old1, Use::kWrite).verdict, Verdict::kUnexplained);
}

TEST_F(JournalRecoveryTest, AJournalOfALaterVersionIsLeftToIt) {
    std::string later = fWhole;
    later[kVersionAt + 3] = 3;
    mendChecksums(later);
    const auto opening = open(kNew, later, Use::kRead);
    EXPECT_FALSE(opening.file);
    EXPECT_EQ(opening.verdict, Verdict::kUnreadable);
    EXPECT_NE(opening.problem.find("has layout 3, which a later version"), std::string::npos);
    EXPECT_EQ(fSystem.files[kJournal], later);
}

// Scene and journal renamed together, or copied.
TEST_F(JournalRecoveryTest, TheBytesDecideAndTheNameIsAHint) {
    const std::string copy = "/folder/copy", journal = copy + ".metadata-journal";
    fSystem.files = {{copy, kMixed}, {journal, fWhole}};
    EXPECT_EQ(LockedFile::open(copy, Use::kWrite, {}).verdict, Verdict::kRestoreOld);
    EXPECT_EQ(fSystem.files[copy], kOld);
    fSystem.files = {{copy, "foreign"}, {journal, fWhole}};
    const auto opening = LockedFile::open(copy, Use::kWrite, {});
    EXPECT_EQ(opening.verdict, Verdict::kUnexplained);
    EXPECT_NE(opening.notes.find("or about scene;"), std::string::npos) << opening.notes;
}

// An editor puts a new file there while the recovery waits, and somebody else starts to write that.
TEST_F(JournalRecoveryTest, AJournalForANewFileInThePlaceIsNotTouched) {
    fSystem.files[kPath] = kNew;
    fSystem.fails = [this](Call call) {
        if (call == Call::kSync) {
            fSystem.statuses[kPath].inode = 77;
            fSystem.statuses[kJournal].inode = 78;
        }
        return false;
    };
    fSystem.inodesAreKept = true;
    EXPECT_FALSE(LockedFile::open(kPath, Use::kWrite, {}).file);
    EXPECT_EQ(fSystem.files[kJournal], fWhole);
}

// Whoever wants to harm can make a checksum.
TEST_F(JournalRecoveryTest, WhatContradictsItselfIsDamagedThoughItsChecksumsAreRight) {
    const std::size_t title = fWhole.find('\n') + 1;
    const std::size_t header = headerSize(fWhole);
    const std::size_t name = fWhole.find("scene", title);
    const auto isName = [name](std::size_t i) { return i >= name && i < name + 5; };
    const auto isNonce = [title](std::size_t i) { return i >= title + 8 && i < title + 16; };
    for (std::size_t i = title; i < header - 8; ++i) {
        for (const int flip : {0x01, 0x10, 0x80}) {
            std::string journal = fWhole;
            journal[i] = static_cast<char>(journal[i] ^ flip);
            mendChecksums(journal);
            const auto opening = open(kOld, journal, Use::kWrite);
            EXPECT_EQ(opening.verdict == Verdict::kRestoreOld, isNonce(i) || isName(i)) << i;
            EXPECT_EQ(fSystem.files[kPath], kOld) << i;
        }
    }
}

TEST_F(JournalRecoveryTest, AFailingCallLeavesItToTheNext) {
    const struct {
        std::string content, journal, after;
    } rows[] = {{kMixed, fWhole, std::string(kOld)},
                {std::string(kNew.substr(0, kNew.size() - 1)), fWhole, std::string(kOld)},
                {std::string(kNew), fWhole, std::string(kNew)},
                {kMixed, fWhole.substr(1), kMixed},
                {kMixed, fWhole.substr(0, 99), kMixed},
                {kMixed, fWhole.substr(0, fWhole.size() - 1), kMixed},
                {std::string(kOld), fWhole.substr(0, fWhole.size() - 1), std::string(kOld)}};
    for (const auto& row : rows) {
        // A journal that cannot be marked only takes whole sectors.
        const int most = row.content.size() == kNew.size() - 1 ? 6 : 12;
        for (int n = 0, options = 0; options < most; ++n) {
            SCOPED_TRACE(row.content + std::to_string(n) + ' ' + std::to_string(options));
            const Use use = std::array{Use::kRead, Use::kWrite, Use::kRecover}[options % 3];
            fSystem.readOnly.clear();
            if (options >= 6) fSystem.readOnly = {kJournal};
            int calls = 0;
            fSystem.fails = [&](Call) { return calls++ == n || (options % 2 == 0 && calls > n); };
            auto opening = open(row.content, row.journal, use);
            fSystem.fails = [](Call) { return false; };
            const bool opened = opening.file != nullptr;
            EXPECT_EQ(contentOf(opening), opened ? row.after : "");
            EXPECT_TRUE(opened || opening.error || !opening.problem.empty());
            EXPECT_EQ(contentOf(again(std::move(opening))), row.after);
            if (calls <= n) ++options, n = -1;
        }
    }
}

TEST_F(JournalRecoveryTest, WhatCannotBeTrustedIsNeitherAppliedNorIgnored) {
    const std::function<void()> troubles[] = {
        [this] { fSystem.statuses[kJournal].owner = 7; },
        [this] { fSystem.statuses[kJournal].isRegular = false; },
        [this] { fSystem.failAt(1, true, Call::kNameStatus); },
        [this] {  // somebody puts another one there
            fSystem.fails = [this, opened = 0](Call call) mutable {
                if (call == Call::kOpen) fSystem.statuses[kJournal].inode = ++opened;
                return false;
            };
        },
        [this] { fSystem.hasLocks = false; },
    };
    for (const auto& trouble : troubles) {
        fSystem.statuses.clear();
        fSystem.failAt(-1, false);
        trouble();
        for (const Use use : {Use::kRead, Use::kWrite}) {
            const auto opening = open(kOld, fWhole, use);
            EXPECT_FALSE(opening.file);
            EXPECT_TRUE(!opening.problem.empty() || opening.error);
            EXPECT_EQ(fSystem.files[kJournal], fWhole);
        }
    }
    // Somebody knows that nobody is at work.
    EXPECT_EQ(open(kOld.substr(0, 17), fWhole, Use::kRecover).verdict, Verdict::kUnexplained);
    EXPECT_EQ(contentOf(open(kMixed, fWhole, Use::kRecover)), kOld);
}

TEST_F(JournalRecoveryTest, FailuresOfWhatIsInItsPlaceAreTold) {
    fSystem.readOnly = {kPath, kJournal};
    {
        const auto overlaid = open(kMixed, fWhole, Use::kRead);
        fSystem.failAt(0, true);
        char byte = 0;
        EXPECT_FALSE(overlaid.file->file().status() || overlaid.file->file().read(&byte, 1));
        EXPECT_EQ(overlaid.file->file().error(), std::errc::io_error);
    }
    const std::string large(100000, 'x');
    for (int n = 0; n <= 5; ++n) {
        fSystem.failAt(n, false, Call::kWrite);
        std::error_code error;
        fSystem.files.clear();
        const auto file = fSystem.create(kJournal, {}, error);
        EXPECT_EQ(Journal::write(*file, kPath, {{0, large, {"y", large}}}), n == 5) << n;
    }
    fSystem.failAt(-1, false);
    fSystem.readOnly.clear();
    fSystem.files = {{kPath, "foreign"}, {kJournal, fWhole}};
    for (int i = 1; i <= 1000; ++i) fSystem.files[Journal::pathSetAside(kPath, i)];
    const auto opening = LockedFile::open(kPath, Use::kWrite, {});
    EXPECT_NE(opening.problem.find("too many of them set aside already"), std::string::npos);
    EXPECT_EQ(fSystem.files[kJournal], fWhole);
}

TEST_F(JournalRecoveryTest, ALockKeepsOthersOut) {
    fSystem.files.erase(kJournal);
    const auto reader = LockedFile::open(kPath, Use::kRead, {});
    EXPECT_TRUE(LockedFile::open(kPath, Use::kRead, {}).file);
    const std::string inUse = "The file is in use by another program";
    EXPECT_EQ(LockedFile::open(kPath, Use::kWrite, std::chrono::milliseconds(5)).problem, inUse);
    fSystem.files[kJournal] = fWhole;
    EXPECT_EQ(LockedFile::open(kPath, Use::kRead, {}).problem, inUse);
}

TEST(JournalPath, FitsIntoTheFolder) {
    const std::string longName(255, 'n');
    const std::string path = Journal::pathFor("/f/" + longName);
    EXPECT_EQ(Journal::nameOf(path).size(), 255U);
    EXPECT_EQ(Journal::nameOf(Journal::pathSetAside("/f/" + longName, 12)).size(), 255U);
    EXPECT_NE(path, Journal::pathFor("/f/" + longName.substr(1) + "m"));
    EXPECT_EQ(Journal::pathFor("scene"), "scene.metadata-journal");
}

}  // namespace
}  // namespace orbo::Files
