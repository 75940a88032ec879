// Lines from the last to the first, against splitting the text.
// SPDX-License-Identifier: Apache-2.0
#include "files/BackwardLineReader.h"

#include <gtest/gtest.h>

#include <random>

#include "files/ScriptedFileSystem.h"

namespace orbo::Files {
namespace {

using Result = BackwardLineReader::Result;
constexpr std::size_t kBlock = BackwardLineReader::kBlockSize;

std::string describe(std::uint64_t begin, std::uint64_t end, bool blank, bool closed,
                     std::string_view head) {
    return std::to_string(begin) + "-" + std::to_string(end) + (blank ? " blank" : "") +
           (closed ? " closed '" : " '") + std::string(head) + "' ";
}

class Lines : public testing::Test {
  protected:
    /// Of the text from `begin` on, the last line first. Each byte is read once, in blocks.
    std::string walked(const std::string& text, std::uint64_t begin = 0) {
        fSystem.files["scene"] = text;
        fSystem.bytesRead = 0;
        std::string lines;
        EXPECT_EQ(walk(begin, text.size(), lines), Result::kAtBegin);
        EXPECT_EQ(fSystem.bytesRead, text.size() - begin);
        EXPECT_LE(fSystem.largestRead, kBlock);
        return lines;
    }
    Result walk(std::uint64_t begin, std::uint64_t end, std::string& lines) {
        std::error_code error;
        const auto file = fSystem.open("scene", FileSystem::Mode::kRead, error);
        BackwardLineReader reader(*file, begin, end);
        LineDescriptor line;
        Result result = Result::kLine;
        while ((result = reader.previous(line)) == Result::kLine)
            lines += describe(line.begin, line.end, line.blank, line.closed, line.head());
        return result;
    }
    /// The obvious way: needs the whole text.
    static std::string split(const std::string& text) {
        std::string lines;
        for (std::size_t end = text.size(), begin = 0; end > 0; end = begin) {
            begin = end > 1 ? text.rfind('\n', end - 2) + 1 : 0;
            std::string body = text.substr(begin, end - begin);
            if (body.back() == '\n') body.pop_back();
            const std::size_t last = body.find_last_not_of(" \t\r");
            const bool blank = last == std::string::npos;
            lines += describe(begin, end, blank, !blank && body[last] == ';', body.substr(0, 16));
        }
        return lines;
    }

    ScriptedFileSystem fSystem;
};

TEST_F(Lines, AreDescribed) {
    EXPECT_EQ(walked("first;\n\n \t\r\nlong enough to be cut; \t\r\nx ; y\n;", 7),
              "44-45 closed ';' 38-44 'x ; y' 12-38 closed 'long enough to b' "
              "8-12 blank ' \t\r' 7-8 blank '' ");
    EXPECT_EQ(walked(""), "");
}

// Lines, blank ends and heads that lie across the border of two blocks, at every distance from it.
TEST_F(Lines, AreThoseOfTheTextWhereverBlocksEnd) {
    for (const std::string middle :
         {"\n", ";\n\n", "; \t \r\n", "dataStructure -fmt;\n", "\n;\n   \n"}) {
        for (std::size_t behind = kBlock - 20; behind <= kBlock + 20; ++behind) {
            const std::string text = std::string(100, 'x') + middle + std::string(behind, 'y');
            ASSERT_EQ(walked(text), split(text)) << behind;
        }
    }
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

TEST_F(Lines, SayWhichCallFailed) {
    fSystem.files["scene"] = std::string(100'000, '\n');
    std::string lines;
    fSystem.failAt(1, false, Call::kSeek);
    EXPECT_EQ(walk(0, 100'000, lines), Result::kSeekFailed);
    fSystem.failAt(1, false, Call::kRead);
    EXPECT_EQ(walk(0, 100'000, lines), Result::kReadFailed);
    EXPECT_EQ(walk(0, 100'001, lines), Result::kReadFailed) << "the file became shorter";
}

}  // namespace
}  // namespace orbo::Files
