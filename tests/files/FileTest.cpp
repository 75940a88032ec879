// The files of the operating system, and rewriting their ends.
// SPDX-License-Identifier: Apache-2.0
#include "files/File.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "files/FileRewrite.h"
#include "files/ScriptedFileSystem.h"

namespace orbo::Files {
namespace {

using Mode = FileSystem::Mode;

TEST(RealFile, ReadsAndWritesWhereItWasTold) {
    FileSystem& system = FileSystem::current();
    std::string folder = testing::TempDir() + "metadata-files-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/file";
    EXPECT_FALSE(system.open(path, Mode::kRead)) << "not there";
    std::ofstream(path) << "0123456789";

    const auto file = system.open(path, Mode::kReadWrite);
    ASSERT_TRUE(file);
    char bytes[11] = {};
    EXPECT_TRUE(file->seek(2) && file->write("ab", 2) && file->truncate(6) && file->sync());
    EXPECT_TRUE(file->seek(0));
    EXPECT_EQ(file->read(bytes, 10), 6U) << "fewer only at the end";
    EXPECT_STREQ(bytes, "01ab45");
    EXPECT_FALSE(readExactly(*file, bytes, 1));
    EXPECT_FALSE(file->seek(~std::uint64_t{0}) || file->truncate(~std::uint64_t{0}));
    const std::uint64_t far = std::uint64_t{5} << 32;
    EXPECT_TRUE(file->seek(far) && file->write("x", 1)) << "more than 32 bits can count";
    EXPECT_EQ(file->size(), far + 1);
    const auto fixed = system.open(path, Mode::kRead);
    EXPECT_FALSE(fixed->write("x", 1) || fixed->truncate(0));

    // Only regular files are opened; a pipe without a writer would wait.
    std::remove(path.c_str());
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    for (const std::string& other : {path, folder, std::string("/dev/null")})
        EXPECT_FALSE(system.open(other, Mode::kRead)) << other;
    std::remove(path.c_str());
    ::rmdir(folder.c_str());
}

// Whatever call fails, alone, the file is the old one again; when all later calls fail as well,
// the caller is told that it is not.
TEST(FileRewrite, SucceedsOrFailsWithoutTrace) {
    using Step = FileRewrite::Step;
    const std::string old = "scene|old tail";
    for (const std::vector<std::string_view>& pieces :
         std::initializer_list<std::vector<std::string_view>>{
             {"new, longer", "", " tail"}, {"new"}, {"OLD", " ", "TAIL"}, {}, {"old ", "tail"}}) {
        ScriptedFileSystem system;
        std::string& content = system.files["scene"];
        const auto rewrite = [&](int n, bool fromThenOn) {
            content = old;
            system.bytesWritten = 0;
            system.failAt(n, fromThenOn);
            const auto file = system.open("scene", Mode::kReadWrite);
            return FileRewrite(*file, {{6, "old tail", pieces}}).run();
        };
        std::string expected = "scene|";
        for (const std::string_view piece : pieces) expected += piece;
        bool done = false;
        for (int n = 1; n < 20 && !done; ++n) {
            const bool restored = rewrite(n, true).restored;
            const FileRewrite::Outcome outcome = rewrite(n, false);
            done = outcome.failed == Step::kDone;
            EXPECT_EQ(content, done ? expected : old) << n;
            EXPECT_TRUE(done || outcome.restored) << n;
            EXPECT_EQ(restored, done || outcome.failed == Step::kSeek) << n;
        }
        EXPECT_TRUE(done);
        EXPECT_EQ(system.bytesWritten, expected == old ? 0 : expected.size() - 6);
        EXPECT_GE(system.lowestWrite, 6U) << "the bytes in front are left alone";
    }
}

}  // namespace
}  // namespace orbo::Files
