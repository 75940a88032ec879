// The files of the operating system.
// SPDX-License-Identifier: Apache-2.0
#include "files/File.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <system_error>

namespace orbo::Files {
namespace {

using Mode = FileSystem::Mode;

TEST(FileStatusTest, TellsFilesAndTheirBytesApart) {
    FileStatus one;
    one.device = one.inode = one.length = 7;
    one.modified = 7;
    EXPECT_TRUE(one.isSameFile(one) && one.hasSameBytes(one));
    for (auto number : {&FileStatus::device, &FileStatus::inode, &FileStatus::length}) {
        FileStatus other = one;
        other.*number = 8;
        EXPECT_EQ(one.isSameFile(other), number == &FileStatus::length);
        EXPECT_FALSE(one.hasSameBytes(other));
    }
    FileStatus later = one;
    later.modified = 8;
    EXPECT_TRUE(one.isSameFile(later) && !one.hasSameBytes(later));
}

TEST(RealFile, ReadsAndWritesWhereItWasTold) {
    FileSystem& system = FileSystem::current();
    std::string folder = testing::TempDir() + "metadata-files-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/file";
    std::error_code error;
    EXPECT_FALSE(system.open(path, Mode::kRead, error)) << "not there";
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    std::ofstream(path) << "0123456789";

    const auto file = system.open(path, Mode::kReadWrite, error);
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
    EXPECT_LT(file->sizeOnDisk(), std::uint64_t{1} << 20) << "without the hole";
    const auto fixed = system.open(path, Mode::kRead, error);
    EXPECT_FALSE(fixed->write("x", 1) || fixed->truncate(0));
    EXPECT_FALSE(file->reserve(0, ~std::uint64_t{0}));
    EXPECT_EQ(file->error(), std::errc::file_too_large);
    EXPECT_EQ(fixed->lock(File::Lock::kExclusive), File::LockResult::kFailed);
    EXPECT_EQ(fixed->error(), std::errc::bad_file_descriptor);

    EXPECT_TRUE(system.syncFolderOf(path, error));
    EXPECT_FALSE(system.syncFolderOf(path + "/file", error));
    EXPECT_EQ(error, std::errc::not_a_directory);
    EXPECT_TRUE(system.syncFolderOf("/proc/file", error)) << "which has no disk";

    // Only regular files are opened; a pipe without a writer would wait.
    std::remove(path.c_str());
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    for (const std::string& other : {path, folder, std::string("/dev/null")})
        EXPECT_FALSE(system.open(other, Mode::kRead, error)) << other;
    std::remove(path.c_str());
    ::rmdir(folder.c_str());
}

}  // namespace
}  // namespace orbo::Files
