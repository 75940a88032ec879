// The files of the operating system, and rewriting their ends.
// SPDX-License-Identifier: Apache-2.0
#include "files/File.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "files/ScriptedFileSystem.h"
#include "files/TailRewrite.h"

namespace orbo::Files {
namespace {

class RealFile : public testing::Test {
  protected:
    RealFile() { EXPECT_NE(::mkdtemp(fFolder.data()), nullptr); }
    ~RealFile() override {
        std::remove(path("file").c_str());
        ::rmdir(fFolder.c_str());
    }

    [[nodiscard]] std::string path(const std::string& name) const { return fFolder + "/" + name; }
    [[nodiscard]] std::string make(const std::string& content) const {
        std::ofstream(path("file"), std::ios::binary) << content;
        return path("file");
    }
    [[nodiscard]] std::string content() const {
        std::ostringstream out;
        out << std::ifstream(path("file"), std::ios::binary).rdbuf();
        return out.str();
    }

  private:
    std::string fFolder = testing::TempDir() + "metadata-files-XXXXXX";
};

TEST_F(RealFile, ReadsAndWritesWhereItWasTold) {
    const auto file = FileSystem::current().open(make("0123456789"), FileSystem::Mode::kReadWrite);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->size(), 10U);
    char bytes[8] = {};
    ASSERT_TRUE(file->seek(7));
    EXPECT_EQ(file->read(bytes, 8), 3U) << "fewer only at the end";
    EXPECT_EQ(std::string(bytes), "789");
    EXPECT_FALSE(readExactly(*file, bytes, 1));
    EXPECT_TRUE(file->seek(2) && file->write("ab", 2) && file->truncate(6) && file->sync());
    EXPECT_EQ(content(), "01ab45");
    EXPECT_FALSE(file->seek(~std::uint64_t{0}));
    EXPECT_FALSE(file->truncate(~std::uint64_t{0}));
}

TEST_F(RealFile, HoldsMoreThan32BitsCanCount) {
    const std::uint64_t far = std::uint64_t{5} << 32;
    const auto file = FileSystem::current().open(make(""), FileSystem::Mode::kReadWrite);
    ASSERT_TRUE(file && file->seek(far) && file->write("x", 1));
    EXPECT_EQ(file->size(), far + 1);
}

TEST_F(RealFile, OnlyRegularFilesAreOpened) {
    FileSystem& system = FileSystem::current();
    EXPECT_FALSE(system.open(path("file"), FileSystem::Mode::kRead)) << "not there";
    EXPECT_FALSE(system.open(path(""), FileSystem::Mode::kRead)) << "folder";
    EXPECT_FALSE(system.open("/dev/null", FileSystem::Mode::kReadWrite)) << "device";
    ASSERT_EQ(::mkfifo(path("file").c_str(), 0600), 0);
    EXPECT_FALSE(system.open(path("file"), FileSystem::Mode::kRead)) << "pipe without a writer";
}

TEST_F(RealFile, OpenedForReadingCannotBeWritten) {
    const auto file = FileSystem::current().open(make("abc"), FileSystem::Mode::kRead);
    EXPECT_FALSE(file->write("x", 1));
    EXPECT_FALSE(file->truncate(0));
    EXPECT_EQ(content(), "abc");
}

using Step = TailRewrite::Step;

struct RewriteCase {
    const char* name;
    std::vector<std::string_view> pieces;
    const char* expected;
};

class Rewrite : public testing::TestWithParam<RewriteCase> {
  protected:
    TailRewrite::Outcome rewrite() {
        fSystem.files["scene"] = "scene|old tail";
        const auto file = fSystem.open("scene", FileSystem::Mode::kReadWrite);
        return TailRewrite(*file, 6, "old tail").replaceBy(GetParam().pieces);
    }
    [[nodiscard]] const std::string& content() { return fSystem.files["scene"]; }

    ScriptedFileSystem fSystem;
};

TEST_P(Rewrite, LeavesTheBytesInFrontAlone) {
    EXPECT_EQ(rewrite().failed, Step::kDone);
    EXPECT_EQ(content(), GetParam().expected);
    EXPECT_GE(fSystem.lowestWrite, 6U);
    const bool same = content() == "scene|old tail";
    EXPECT_EQ(fSystem.bytesWritten == 0, same || content() == "scene|");
}

// Whatever call fails, alone, the file is the old one again; when all later calls fail as well,
// the caller is told that it is not.
TEST_P(Rewrite, FailsWithoutTrace) {
    for (int n = 1;; ++n) {
        fSystem.failAt(n, false);
        const TailRewrite::Outcome outcome = rewrite();
        if (outcome.failed == Step::kDone) {
            EXPECT_EQ(content(), GetParam().expected);
            break;
        }
        EXPECT_TRUE(outcome.restored) << n;
        EXPECT_EQ(content(), "scene|old tail") << n;
        fSystem.failAt(n, true);
        EXPECT_EQ(rewrite().restored, outcome.failed == Step::kSeek) << n;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Tail, Rewrite,
    testing::Values(RewriteCase{"Grows", {"new, longer", "", " tail"}, "scene|new, longer tail"},
                    RewriteCase{"Shrinks", {"new"}, "scene|new"},
                    RewriteCase{"KeepsItsLength", {"OLD", " ", "TAIL"}, "scene|OLD TAIL"},
                    RewriteCase{"Goes", {}, "scene|"},
                    RewriteCase{"StaysAsItIs", {"old ", "tail"}, "scene|old tail"}),
    [](const auto& row) { return row.param.name; });

TEST_F(RealFile, NamesThePieceThatCouldNotBeWritten) {
    ScriptedFileSystem system;
    system.files["scene"] = "old";
    const auto file = system.open("scene", FileSystem::Mode::kReadWrite);
    system.failAt(1, false, Call::kWrite);
    const auto outcome = TailRewrite(*file, 0, "old").replaceBy({"a", "", "b"});
    EXPECT_EQ(outcome.failed, Step::kWrite);
    EXPECT_EQ(outcome.piece, 2U);
}

TEST(FileSystem, IsReplacedInThisThreadAlone) {
    FileSystem& real = FileSystem::current();
    ScriptedFileSystem outer;
    const FileSystem::Replacement replaced(outer);
    {
        ScriptedFileSystem inner;
        const FileSystem::Replacement again(inner);
        EXPECT_EQ(&FileSystem::current(), &inner);
    }
    EXPECT_EQ(&FileSystem::current(), &outer);
    EXPECT_NE(&real, &outer);
}

}  // namespace
}  // namespace orbo::Files
