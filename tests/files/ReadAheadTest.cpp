// Reads through a window, against reads of the bytes themselves.
// SPDX-License-Identifier: Apache-2.0
#include "files/ReadAhead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "files/MemoryFile.h"

namespace orbo::Files {
namespace {

TEST(ReadAheadTest, GivesTheBytesThatTheFileHas) {
    std::mt19937 random(5);
    std::string bytes(300'000, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
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
    EXPECT_FALSE(ahead.seek(bytes.size() + 1) && ahead.read(bytes.data(), 1).value_or(0) > 0);
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

}  // namespace
}  // namespace orbo::Files
