// Reads through a window, against reads of the bytes themselves.
// SPDX-License-Identifier: Apache-2.0
#include "files/ReadAhead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "files/MemoryFile.h"
#include "files/ScannedBlocks.h"

namespace orbo::Files {
namespace {

std::string randomBytes(std::size_t count, std::mt19937& random) {
    std::string bytes(count, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

TEST(ReadAheadTest, GivesTheBytesThatTheFileHas) {
    std::mt19937 random(5);
    const std::string bytes = randomBytes(300'000, random);
    MemoryFile file(bytes);
    MemoryFile plain(bytes);
    ReadAhead ahead(file);
    std::uint64_t at = 0;
    for (int i = 0; i < 5000; ++i) {
        const std::size_t longest = random() % 20 == 0 ? 100'000 : 200;
        const std::size_t count = random() % longest;
        // Mostly on, or back to what lies in front.
        const auto step = static_cast<std::int64_t>(random() % 500) - (i % 1000 < 500 ? 0 : 600);
        if (random() % 50 == 0) at = random() % bytes.size();
        if (static_cast<std::int64_t>(at) + step >= 0) at += static_cast<std::uint64_t>(step);
        at = std::min<std::uint64_t>(at, bytes.size());
        std::string expected(count, ' ');
        std::string got(count, ' ');
        ASSERT_TRUE(plain.seek(at) && ahead.seek(at));
        ASSERT_EQ(ahead.read(got.data(), count), plain.read(expected.data(), count)) << at;
        ASSERT_EQ(got, expected) << at;
        at += count;
    }
    EXPECT_FALSE(ahead.seek(bytes.size() + 1) &&
                 ahead.read(std::string(1, ' ').data(), 1).value_or(0) > 0);
    EXPECT_FALSE(ahead.write("x", 1) || ahead.truncate(0) || ahead.sync());
}

/// One byte of it cannot be read.
class Damaged : public MemoryFile {
  public:
    Damaged(std::string_view bytes, std::uint64_t at) : MemoryFile(bytes), fAt(at) {}
    [[nodiscard]] std::optional<FileStatus> status() override {
        fError = std::make_error_code(std::errc::io_error);
        return std::nullopt;
    }
    [[nodiscard]] bool seek(std::uint64_t offset) override {
        fPosition = offset;
        return MemoryFile::seek(offset);
    }
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override {
        if (fPosition <= fAt && fAt - fPosition < count) return std::nullopt;
        fPosition += count;
        return MemoryFile::read(to, count);
    }

  private:
    std::uint64_t fAt;
    std::uint64_t fPosition = 0;
};

TEST(ReadAheadTest, OnlyWhatIsAskedForMustBeThere) {
    const std::string bytes(400'000, 'x');
    Damaged file(bytes, 335'000);
    ReadAhead ahead(file);
    EXPECT_FALSE(ahead.size());
    EXPECT_EQ(ahead.error(), std::errc::io_error);
    std::string got(4096, ' ');
    for (std::uint64_t at = bytes.size() - 4096; at > 300'000; at -= 4096) {
        const bool there = at > 335'000 || at + 4096 <= 335'000;
        EXPECT_EQ(readExactlyAt(ahead, at, got.data(), got.size()), there) << at;
    }
}

/// Counts the bytes that are read.
class Counted : public MemoryFile {
  public:
    using MemoryFile::MemoryFile;
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override {
        const auto got = MemoryFile::read(to, count);
        total += got.value_or(0);
        return got;
    }
    std::size_t total = 0;
};

// As a scan reads a scene: blocks from the end, and each record once its beginning was met.
TEST(ScannedBlocksTest, ReadsOnceWhatIsScannedAndReadAgain) {
    std::mt19937 random(6);
    constexpr std::size_t kBlock = ScannedBlocks::kBlockSize;
    for (int round = 0; round < 50; ++round) {
        const std::string bytes = randomBytes(1'000'000 + random() % 100'000, random);
        Counted file(bytes);
        ScannedBlocks blocks(file);
        std::string got(bytes.size(), ' ');
        const auto expect = [&](std::size_t at, std::size_t count) {
            ASSERT_TRUE(readExactlyAt(blocks, at, got.data(), count)) << at;
            ASSERT_EQ(std::string_view(got).substr(0, count),
                      std::string_view(bytes).substr(at, count));
        };
        std::size_t scanned = bytes.size();
        std::size_t end = bytes.size();  // of the next record
        while (scanned > 0) {
            const std::size_t size = std::min(scanned, kBlock);
            scanned -= size;
            expect(scanned, size);
            while (end > scanned && random() % 3 != 0) {
                const std::size_t begin = end - 1 - random() % (end - scanned);
                const std::size_t part = 1 + random() % 100;  // of a record that is not wanted
                const bool isWanted = random() % 2 == 0;
                expect(isWanted || end - begin <= part ? begin : end - part,
                       isWanted ? end - begin : std::min(end - begin, part));
                end = begin;
            }
        }
        EXPECT_EQ(file.total, bytes.size());
        expect(0, bytes.size());
        expect(random() % bytes.size(), 1);
    }
}

// The last statement of a scene, which is no metadata, may be as long as the file.
TEST(ScannedBlocksTest, RemembersOnlyThatMuch) {
    constexpr std::size_t kBlock = ScannedBlocks::kBlockSize;
    constexpr std::size_t kMost = ScannedBlocks::kMostBlocks * kBlock;
    const std::string bytes(kMost + 2 * kBlock, 'x');
    Counted file(bytes);
    ScannedBlocks blocks(file);
    std::string got(bytes.size(), ' ');
    for (std::size_t at = bytes.size(); at > 0; at -= kBlock) {
        ASSERT_TRUE(readExactlyAt(blocks, at - kBlock, got.data(), kBlock));
    }
    ASSERT_TRUE(readExactlyAt(blocks, kMost, got.data(), 1));
    EXPECT_EQ(file.total, bytes.size() + 1) << "from the file again";
    ASSERT_TRUE(readExactlyAt(blocks, 0, got.data(), kMost));
    EXPECT_EQ(file.total, bytes.size() + 1) << "from memory";
    EXPECT_EQ(got, bytes.substr(0, kMost) + std::string(2 * kBlock, ' '));
}

}  // namespace
}  // namespace orbo::Files
