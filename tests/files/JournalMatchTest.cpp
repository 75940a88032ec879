// Which mixtures of old and new bytes a rewrite can have left, and which somebody else has made.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/JournalMatch.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "files/MemoryFile.h"
#include "files/ScriptedFileSystem.h"

namespace orbo::Files {
namespace {

constexpr std::size_t kBegin = 700, kSize = 3000;  // begins and ends amid sectors
constexpr std::size_t kGrown = 900;

/// Bytes from `kBegin` on, each old or new, as the row says of its offset in the file.
struct Row {
    const char* name;
    std::function<bool(std::size_t)> isNew;
    bool isExplained;
    bool isExplainedOnceUndone;
};

std::string textOf(std::size_t size, char first) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) text += static_cast<char>(first + i % 13);
    return text;
}

class JournalMatchTest : public testing::Test {
  protected:
    /// The last range gets so many bytes.
    void write(std::size_t newSize) {
        fNew = textOf(newSize, 'A');
        std::error_code error;
        fSystem.files.clear();
        const auto file = fSystem.create("/journal", {}, error);
        EXPECT_TRUE(Journal::write(*file, "/scene", {{kBegin, fOld, {fNew}}}));
    }
    JournalMatch match(const std::string& content, bool isUndone) {
        MemoryFile journalFile(fSystem.files["/journal"]), file(content);
        Journal journal;
        EXPECT_EQ(journal.read(journalFile), Journal::Condition::kWhole);
        journal.isUndone = isUndone;
        return matchJournal(journal, journalFile, file).value();
    }
    void expect(const Row& row, const std::string& content) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(match(content, false).isExplained, row.isExplained);
        EXPECT_EQ(match(content, true).isExplained, row.isExplainedOnceUndone);
    }
    /// A byte that is neither old nor new where the row has no say.
    std::string mixed(const Row& row) const {
        std::string content(kBegin, 'f');
        for (std::size_t i = 0; i < kSize; ++i) {
            content += (row.isNew(kBegin + i) ? fNew : fOld)[i];
        }
        return content;
    }

    const std::string fOld = textOf(kSize, 'a');
    std::string fNew;
    ScriptedFileSystem fSystem;
};

TEST_F(JournalMatchTest, TornPagesAndShortWritesAreOursOtherMixturesAreNot) {
    using At = std::size_t;
    const Row rows[] = {
        {"all old", [](At) { return false; }, true, true},
        {"all new", [](At) { return true; }, true, true},
        {"every other sector", [](At at) { return at / 512 % 2 == 0; }, true, true},
        {"every third sector", [](At at) { return at / 512 % 3 == 1; }, true, true},
        {"a short write", [](At at) { return at < 1234; }, true, true},
        {"of one byte", [](At at) { return at == kBegin; }, true, true},
        {"short, of which not all reached the disk",
         [](At at) { return at < 1234 && at / 512 != 1; }, true, true},
        {"every other byte", [](At at) { return at % 2 == 0; }, false, false},
        {"sectors of another grid", [](At at) { return (at + 256) / 512 % 2 == 0; }, false, true},
        {"one byte", [](At at) { return at == 2000; }, false, true},
        {"from old to new", [](At at) { return at > 1234; }, false, true},
        {"new, old and new in one sector", [](At at) { return at < 1030 || at > 1500; }, false,
         false},
        {"undone in part", [](At at) { return at > 1234 && at < 1300; }, false, true},
    };
    for (const std::size_t newSize : {kSize, kSize + kGrown}) {
        write(newSize);
        for (const Row& row : rows) {
            expect(row, mixed(row));
            if (newSize > kSize) expect(row, mixed(row) + std::string(kGrown / 2, '#'));
        }
    }
}

TEST_F(JournalMatchTest, AfterAShorteningWhatWasCutOffMayBeZero) {
    const std::size_t newSize = 1500;
    write(newSize);
    const std::string front(kBegin, 'f'), rest = fOld.substr(newSize);
    const std::string zeros(rest.size(), '\0');
    const struct {
        std::string tail;
        bool isExplained, isExplainedOnceUndone;
    } rows[] = {{fNew, true, true},
                {fNew + rest, true, true},
                {fNew + zeros, true, true},
                {fNew + rest.substr(0, 10), true, true},
                {fNew + std::string(rest.size(), '#'), false, true},
                {fOld.substr(0, 10) + '#' + fOld.substr(11), false, false}};
    for (const auto& row : rows) {
        EXPECT_EQ(match(front + row.tail, false).isExplained, row.isExplained);
        EXPECT_EQ(match(front + row.tail, true).isExplained, row.isExplainedOnceUndone);
    }
    EXPECT_TRUE(match(front + fNew, false).isNew);
    EXPECT_FALSE(match(front + fNew + rest, false).isNew);
    EXPECT_TRUE(match(front + fOld, true).isOld);
}

}  // namespace
}  // namespace orbo::Files
