// Lines from the last to the first, against splitting the text.
// SPDX-License-Identifier: Apache-2.0
#include "files/BackwardLineReader.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "files/ScriptedFileSystem.h"

namespace orbo::Files {
namespace {

using Result = BackwardLineReader::Result;
constexpr std::size_t kBlock = BackwardLineReader::kBlockSize;

std::string describe(std::uint64_t begin, std::uint64_t end, bool blank, bool closed,
                     std::string_view head) {
    return std::to_string(begin) + "-" + std::to_string(end) + (blank ? " blank" : "") +
           (closed ? " closed '" : " '") + std::string(head) + "'";
}

// Reads the file "scene" down to a line that begins there; `lines` come last first.
Result walk(ScriptedFileSystem& system, std::uint64_t begin, std::uint64_t end,
            std::vector<std::string>& lines) {
    const auto file = system.open("scene", FileSystem::Mode::kRead);
    BackwardLineReader reader(*file, begin, end);
    LineDescriptor line;
    Result result = Result::kLine;
    while ((result = reader.previous(line)) == Result::kLine)
        lines.push_back(describe(line.begin, line.end, line.blank, line.closed, line.head()));
    return result;
}

// Each byte is read once, in blocks.
std::vector<std::string> walked(const std::string& text, std::uint64_t begin = 0) {
    ScriptedFileSystem system;
    system.files["scene"] = text;
    std::vector<std::string> lines;
    EXPECT_EQ(walk(system, begin, text.size(), lines), Result::kAtBegin);
    EXPECT_EQ(system.bytesRead, text.size() - begin);
    EXPECT_LE(system.largestRead, kBlock);
    return lines;
}

// The obvious way: needs the whole text.
std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t feed = std::min(text.find('\n', begin), text.size());
        const std::size_t end = std::min(feed + 1, text.size());
        const std::string body = text.substr(begin, feed - begin);
        const std::size_t last = body.find_last_not_of(" \t\r");
        const bool blank = last == std::string::npos;
        lines.push_back(
            describe(begin, end, blank, !blank && body[last] == ';', body.substr(0, 16)));
        begin = end;
    }
    return {lines.rbegin(), lines.rend()};
}

TEST(BackwardLineReader, DescribesLines) {
    const std::string text = "first;\n\n \t\r\nlong enough to be cut; \t\r\nx ; y\n;";
    const std::vector<std::string> expected = {
        "44-45 closed ';'",   "38-44 'x ; y'", "12-38 closed 'long enough to b'",
        "8-12 blank ' \t\r'", "7-8 blank ''",  "0-7 closed 'first;'"};
    EXPECT_EQ(walked(text), expected);
    EXPECT_EQ(split(text), expected);
    EXPECT_EQ(walked(text, 38), std::vector<std::string>({expected[0], expected[1]}));
    EXPECT_TRUE(walked("").empty());
}

// Lines, blank ends and heads that lie across the border of two blocks, at every distance from it.
TEST(BackwardLineReader, DoesNotSeeBlocks) {
    for (const std::string middle :
         {"\n", ";\n\n", "; \t \r\n", "dataStructure -fmt;\n", "\n;\n   \n"}) {
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
            text.append(random() % (round % 2 == 0 ? 70000 : 30), "a; \t\r/"[random() % 6]);
            text += "\n;x "[random() % 4];
        }
        ASSERT_EQ(walked(text), split(text)) << "round " << round;
    }
}

TEST(BackwardLineReader, SaysWhichCallFailed) {
    ScriptedFileSystem system;
    system.files["scene"] = std::string(100'000, '\n');
    std::vector<std::string> lines;
    system.failAt(1, false, Call::kSeek);
    EXPECT_EQ(walk(system, 0, 100'000, lines), Result::kSeekFailed);
    system.failAt(1, false, Call::kRead);
    EXPECT_EQ(walk(system, 0, 100'000, lines), Result::kReadFailed);
    EXPECT_EQ(walk(system, 0, 100'001, lines), Result::kReadFailed) << "the file became shorter";
}

}  // namespace
}  // namespace orbo::Files
