// Locks: who waits for whom, what children keep, and what is in their place where there are none.
// SPDX-License-Identifier: Apache-2.0
#include "files/LockedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "files/FileRewrite.h"
#include "files/ScriptedFileSystem.h"
#include "files/posix/MountTable.h"

namespace orbo::Files {
namespace {

using Lock = File::Lock;
using LockResult = File::LockResult;
using Mode = FileSystem::Mode;
using Step = FileRewrite::Step;
using Use = LockedFile::Use;

class RealLockTest : public testing::Test {
  protected:
    RealLockTest() : fPath(testing::TempDir() + "metadata-lock-" + std::to_string(::getpid())) {
        std::ofstream(fPath) << "scene";
    }
    ~RealLockTest() override { std::remove(fPath.c_str()); }

    std::unique_ptr<File> open() {
        std::error_code error;
        return FileSystem::current().open(fPath, Mode::kReadWrite, error);
    }
    std::string fPath;
};

TEST_F(RealLockTest, NewReadersWaitForAWriterThatWaits) {
    auto reader = open();
    auto writer = open();
    auto secondWriter = open();
    auto late = open();
    EXPECT_EQ(reader->lock(Lock::kShared), LockResult::kLocked);
    EXPECT_EQ(late->lock(Lock::kShared), LockResult::kLocked) << "readers do not wait for readers";
    late->unlock();
    EXPECT_EQ(writer->lock(Lock::kExclusive), LockResult::kBusy);
    EXPECT_EQ(secondWriter->lock(Lock::kExclusive), LockResult::kBusy);
    EXPECT_EQ(late->lock(Lock::kShared), LockResult::kBusy);
    reader.reset();
    EXPECT_EQ(late->lock(Lock::kShared), LockResult::kBusy) << "it is the writer's turn";
    EXPECT_EQ(writer->lock(Lock::kExclusive), LockResult::kLocked);
    EXPECT_EQ(late->lock(Lock::kShared), LockResult::kBusy);
    EXPECT_EQ(writer->lock(Lock::kShared), LockResult::kLocked) << "it goes on as a reader";
    EXPECT_EQ(late->lock(Lock::kShared), LockResult::kLocked);
    writer.reset();
    late.reset();
    EXPECT_EQ(secondWriter->lock(Lock::kExclusive), LockResult::kLocked);
    secondWriter->unlock();
    EXPECT_EQ(open()->lock(Lock::kExclusive), LockResult::kLocked);
    // A writer that gives up lets the others in.
    reader = open();
    EXPECT_EQ(reader->lock(Lock::kShared), LockResult::kLocked);
    writer = open();
    EXPECT_EQ(writer->lock(Lock::kExclusive), LockResult::kBusy);
    writer.reset();
    EXPECT_EQ(open()->lock(Lock::kShared), LockResult::kLocked);
}

#ifdef F_OFD_SETLK
TEST_F(RealLockTest, ProgramsThatLockTheWholeFileAreKeptOutAndKeepOut) {
    const int other = ::open(fPath.c_str(), O_RDWR | O_CLOEXEC);
    const auto lockAll = [other](short type) {
        struct flock all = {};
        all.l_type = type;
        return ::fcntl(other, F_OFD_SETLK, &all) == 0;
    };
    for (const Lock ours : {Lock::kShared, Lock::kExclusive}) {
        const bool bothMay = ours == Lock::kShared;
        auto file = open();
        EXPECT_EQ(file->lock(ours), LockResult::kLocked);
        EXPECT_FALSE(lockAll(F_WRLCK));
        EXPECT_EQ(lockAll(F_RDLCK), bothMay);
        file.reset();
        EXPECT_TRUE(lockAll(F_RDLCK));
        EXPECT_EQ(open()->lock(ours), bothMay ? LockResult::kLocked : LockResult::kBusy);
        EXPECT_TRUE(lockAll(F_WRLCK));
        EXPECT_EQ(open()->lock(ours), LockResult::kBusy);
        EXPECT_TRUE(lockAll(F_UNLCK));
    }
    ::close(other);
}
#endif

TEST_F(RealLockTest, AChildKeepsNoLock) {
    std::array<int, 2> toChild{};
    std::array<int, 2> toParent{};
    ASSERT_TRUE(::pipe(toChild.data()) == 0 && ::pipe(toParent.data()) == 0);
    auto parents = LockedFile::open(fPath, Use::kWrite, {});
    ASSERT_TRUE(parents.file);
    const pid_t child = ::fork();
    if (child == 0) {
        // The number may be that of another file by now, which nobody must close.
        char byte = '?';
        const bool isClosed = !parents.file->file().status() && !parents.file->file().sync();
        const int another = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        parents.file.reset();
        byte = isClosed && ::fcntl(another, F_GETFD) != -1 ? 'y' : 'n';
        ::close(toChild[1]);
        const bool isTold = ::write(toParent[1], &byte, 1) == 1;
        // Lives until the parent has tried.
        ::_exit(isTold && ::read(toChild[0], &byte, 1) == 0 ? 0 : 1);
    }
    ::close(toChild[0]);
    char answer = '?';
    EXPECT_EQ(::read(toParent[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    EXPECT_TRUE(parents.file->file().status()) << "the parent keeps its file, and its lock";
    EXPECT_FALSE(LockedFile::open(fPath, Use::kRead, {}).file);
    parents.file.reset();
    EXPECT_TRUE(LockedFile::open(fPath, Use::kWrite, {}).file);
    ::close(toChild[1]);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    ::close(toParent[0]);
    ::close(toParent[1]);
}

class NoLockTest : public testing::Test {
  protected:
    NoLockTest() {
        fSystem.hasLocks = false;
        fSystem.files["/scene"] = "old";
    }
    static LockedFile::Opening open(Use use) { return LockedFile::open("/scene", use, {}); }
    static Step rewrite(LockedFile& file, std::string_view old, std::string_view fresh) {
        return FileRewrite(file, {{0, old, {fresh}}}, true).run().failed;
    }
    bool isClaimed() { return fSystem.files.count("/scene.metadata-journal") > 0; }

    ScriptedFileSystem fSystem;
    FileSystem::Replacement fReplaced{fSystem};
};

TEST_F(NoLockTest, OneWriterKeepsTheOthersOutFromItsFirstLookToItsLast) {
    for (const bool writes : {false, true}) {
        auto first = open(Use::kWrite);
        ASSERT_TRUE(first.file);
        EXPECT_NE(first.notes.find("no locks"), std::string::npos);
        for (int times = 0; times < (writes ? 2 : 1); ++times) {
            for (const Use use : {Use::kRead, Use::kWrite, Use::kWriteInPlace}) {
                const auto other = open(use);
                EXPECT_FALSE(other.file);
                EXPECT_NE(other.problem.find("The file is in use by another program, or was"),
                          std::string::npos);
            }
            const std::string now = fSystem.files["/scene"];
            if (writes) {
                EXPECT_EQ(rewrite(*first.file, now, times == 0 ? "newer" : "new"), Step::kDone);
            }
        }
        first.file.reset();
        EXPECT_FALSE(isClaimed());
        EXPECT_EQ(fSystem.files["/scene"], writes ? "new" : "old");
        EXPECT_TRUE(open(Use::kRead).file);
        EXPECT_TRUE(open(Use::kWriteInPlace).file);
    }
}

TEST_F(NoLockTest, WhatAKilledWriterLeftIsOnlyRecoveredOnDemand) {
    fSystem.files["/scene.metadata-journal"] = "";
    for (const Use use : {Use::kRead, Use::kWrite, Use::kWriteInPlace}) {
        EXPECT_FALSE(open(use).file);
    }
    EXPECT_TRUE(isClaimed());
    EXPECT_TRUE(open(Use::kRecover).file);
    EXPECT_FALSE(isClaimed());
}

TEST_F(NoLockTest, AJournalThatIsNeededStays) {
    auto opening = open(Use::kWrite);
    fSystem.failAt(1, true, Call::kWrite);
    EXPECT_EQ(rewrite(*opening.file, "old", "newer"), Step::kWrite);
    fSystem.failAt(-1, false);
    opening.file.reset();
    EXPECT_NE(fSystem.files["/scene"], "old");
    EXPECT_FALSE(open(Use::kWrite).file);
    EXPECT_TRUE(open(Use::kRecover).file);
    EXPECT_EQ(fSystem.files["/scene"], "old");
}

TEST_F(NoLockTest, AFolderThatTakesNoJournalTakesNoDurableWrite) {
    fSystem.failAt(0, true, Call::kCreate);
    EXPECT_NE(open(Use::kWrite).problem.find("cannot be created"), std::string::npos);
    EXPECT_TRUE(open(Use::kWriteInPlace).file);
}

TEST(MountTable, FindsFilesByTheirNames) {
    const std::string table =
        "21 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda rw\n"
        "50 21 254:0 /shows/a\\040b.kx /mnt/one\\134two rw - ext4 /dev/vda rw\n"
        "51 21 254:0 /other.kx /shows/here.kx rw - ext4 /dev/vda rw\n"
        "52 21 0:30 /shows /mnt/shows rw - tmpfs tmpfs rw\n"
        "broken\n";
    const auto found = [&](const std::string& path) {
        std::istringstream lines(table);
        return mountsOfFile(path, lines);
    };
    using Places = std::vector<std::string>;
    EXPECT_EQ(found("/shows/a b.kx"), Places{"/mnt/one\\two"});
    EXPECT_EQ(found("/shows/here.kx"), Places{"/shows/here.kx"});
    EXPECT_EQ(found("/shows/plain.kx"), Places());
}

}  // namespace
}  // namespace orbo::Files
