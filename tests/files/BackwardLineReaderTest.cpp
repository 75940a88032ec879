// Lines from the last to the first, against splitting the text.
// SPDX-License-Identifier: Apache-2.0
#include "files/BackwardLineReader.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <vector>

#include "files/MemoryFile.h"
#include "files/ScriptedFileSystem.h"

namespace orbo::Files {
namespace {

using Result = BackwardLineReader::Result;

std::string describe(std::uint64_t begin, std::uint64_t end, bool blank, bool closed,
                     std::string_view head) {
    std::ostringstream out;
    out << begin << '-' << end << (blank ? " blank" : "") << (closed ? " closed" : "") << " '"
        << head << "'";
    return out.str();
}

std::vector<std::string> walked(std::string_view text, std::uint64_t begin = 0) {
    MemoryFile file(text);
    BackwardLineReader reader(file, begin, text.size());
    std::vector<std::string> lines;
    LineDescriptor line;
    Result result = Result::kLine;
    while ((result = reader.previous(line)) == Result::kLine) {
        lines.insert(lines.begin(),
                     describe(line.begin, line.end, line.blank, line.closed, line.head()));
    }
    EXPECT_EQ(result, Result::kAtBegin);
    return lines;
}

// The obvious way: needs the whole text.
std::vector<std::string> split(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t feed = std::min(text.find('\n', begin), text.size());
        const std::size_t end = std::min(feed + 1, text.size());
        const std::string_view body = text.substr(begin, feed - begin);
        const std::size_t last = body.find_last_not_of(" \t\r");
        const bool blank = last == std::string_view::npos;
        lines.push_back(
            describe(begin, end, blank, !blank && body[last] == ';', body.substr(0, 16)));
        begin = end;
    }
    return lines;
}

TEST(BackwardLineReader, DescribesLines) {
    const std::string text = "first;\n\n \t\r\nlong enough to be cut; \t\r\nx ; y\n;";
    const std::vector<std::string> expected = {
        "0-7 closed 'first;'", "7-8 blank ''",
        "8-12 blank ' \t\r'",  "12-38 closed 'long enough to b'",
        "38-44 'x ; y'",       "44-45 closed ';'"};
    EXPECT_EQ(walked(text), expected);
    EXPECT_EQ(walked(text, 38), std::vector<std::string>({expected[4], expected[5]}));
    EXPECT_TRUE(walked("").empty());
}

// Lines, blank ends and heads that lie across the border of two blocks, at every distance from it.
TEST(BackwardLineReader, DoesNotSeeBlocks) {
    constexpr std::size_t kBlock = BackwardLineReader::kBlockSize;
    for (const std::string middle :
         {"\n", "a\n", ";\n\n", "; \t \r\n", "dataStructure -fmt;\n", "\n;\n   \n"}) {
        for (std::size_t behind = kBlock - 20; behind <= kBlock + 20; ++behind) {
            const std::string text = std::string(100, 'x') + middle + std::string(behind, 'y');
            ASSERT_EQ(walked(text), split(text)) << behind;
        }
    }
    const std::string blanks = "x\n;" + std::string(3 * kBlock, ' ') + "\n";
    EXPECT_EQ(walked(blanks), split(blanks));
}

TEST(BackwardLineReader, AgreesWithSplittingRandomText) {
    std::mt19937 random(20);
    for (int round = 0; round < 40; ++round) {
        std::string text;
        while (text.size() < 200000) {
            const std::size_t length = random() % (round % 2 == 0 ? 70000 : 30);
            text.append(length, "a; \t\r/"[random() % 6]);
            text += "\n;x "[random() % 4];
        }
        ASSERT_EQ(walked(text), split(text)) << "round " << round;
    }
}

TEST(BackwardLineReader, ReadsEveryByteOnceInBlocks) {
    ScriptedFileSystem system;
    std::string& bytes = system.files["scene"];
    bytes = "first\n" + std::string(10'000'000, 'x') + "\nlast\n";
    const auto file = system.open("scene", FileSystem::Mode::kRead);
    BackwardLineReader reader(*file, 0, bytes.size());
    LineDescriptor line;
    int lines = 0;
    while (reader.previous(line) == Result::kLine) ++lines;
    EXPECT_EQ(lines, 3);
    EXPECT_EQ(system.bytesRead, bytes.size());
    EXPECT_EQ(system.largestRead, BackwardLineReader::kBlockSize);
}

TEST(BackwardLineReader, SaysWhichCallFailed) {
    ScriptedFileSystem system;
    system.files["scene"] = std::string(100'000, '\n');
    const auto resultWith = [&](Call kind, std::uint64_t size) {
        system.failAt(1, false, kind);
        const auto file = system.open("scene", FileSystem::Mode::kRead);
        BackwardLineReader reader(*file, 0, size);
        LineDescriptor line;
        Result result = Result::kLine;
        while (result == Result::kLine) result = reader.previous(line);
        return result;
    };
    EXPECT_EQ(resultWith(Call::kSeek, 100'000), Result::kSeekFailed);
    EXPECT_EQ(resultWith(Call::kRead, 100'000), Result::kReadFailed);
    EXPECT_EQ(resultWith(Call::kSync, 100'001), Result::kReadFailed) << "the file became shorter";
}

}  // namespace
}  // namespace orbo::Files
