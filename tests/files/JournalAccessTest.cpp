// Journals of real users: whom they show the old bytes, and by whom they are applied.
// SPDX-License-Identifier: Apache-2.0
//
// Only root can become somebody else; without root these tests are skipped.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "files/FileRewrite.h"
#include "files/LockedFile.h"
#include "files/posix/PosixFileSystem.h"

namespace orbo::Files {
namespace {

using Step = FileRewrite::Step;
using Use = LockedFile::Use;

struct User {
    uid_t number;
    gid_t group;
    std::vector<gid_t> others = {};
};

// No machine knows these; 20001 owns the scene, 30001 is its group.
const User kRoot{0, 0};
const User kOwner{20001, 40001};
const User kMember{20002, 30001};
const User kOtherMember{20003, 40003, {30001}};
const User kStranger{20004, 40004};
const User kOtherStranger{20005, 40005};

constexpr std::string_view kOld = "scene and its old tail";
constexpr std::string_view kNew = "scene and its new tail, longer";

/// Ends the process in the place of removing a journal, so that it stays.
class KillingFileSystem : public PosixFileSystem {
  public:
    bool remove(const std::string&, std::error_code&) override { ::_exit(0); }
};

class JournalAccessTest : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "needs root, to become other users";
        if (std::system("setfacl --version >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "needs setfacl and getfacl (package acl)";
        }
        fFolder = testing::TempDir() + "metadata-access-XXXXXX";
        ASSERT_NE(::mkdtemp(fFolder.data()), nullptr);
        fScene = fFolder + "/scene";
        fJournal = fScene + ".metadata-journal";
    }
    void TearDown() override {
        if (!fFolder.empty()) run("rm -rf " + fFolder);
    }

    /// A scene in a folder of that mode, owner and group; entries of a list as for setfacl.
    void make(mode_t folderMode, mode_t mode, const std::string& list = "",
              const User& folderOwner = kRoot) {
        run("rm -f " + fFolder + "/*; setfacl -b " + fFolder);
        std::ofstream(fScene) << kOld;
        EXPECT_EQ(::chown(fScene.c_str(), kOwner.number, kMember.group), 0);
        EXPECT_EQ(::chmod(fScene.c_str(), mode), 0);
        EXPECT_EQ(::chown(fFolder.c_str(), folderOwner.number, folderOwner.group), 0);
        EXPECT_EQ(::chmod(fFolder.c_str(), folderMode), 0);
        if (!list.empty()) run("setfacl -m " + list + " " + fScene);
    }
    static void run(const std::string& command) {
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
    }
    /// What a process of that user answers, from 0 to 255.
    template <typename Work>
    static int as(const User& user, Work work) {
        const pid_t child = ::fork();
        if (child == 0) {
            const bool became = ::setgroups(user.others.size(), user.others.data()) == 0 &&
                                ::setgid(user.group) == 0 && ::setuid(user.number) == 0;
            ::_exit(became ? work() : 255);
        }
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 256;
    }
    /// Rewrites the scene; the step that failed.
    Step save(const User& user) {
        return static_cast<Step>(as(user, [this] {
            const auto opening = LockedFile::open(fScene, Use::kWrite, {});
            if (!opening.file) return 250;
            const std::string_view tail = kOld.substr(10);
            return static_cast<int>(
                FileRewrite(*opening.file, {{10, tail, {kNew.substr(10)}}}, true).run().failed);
        }));
    }
    /// Is killed at the commit; puts the old tail back in part, so that there is something to undo.
    void beKilled(const User& user) {
        KillingFileSystem killing;
        EXPECT_EQ(as(user,
                     [&] {
                         const FileSystem::Replacement replaced(killing);
                         const auto opening = LockedFile::open(fScene, Use::kWrite, {});
                         if (!opening.file) return 250;
                         FileRewrite(*opening.file, {{10, kOld.substr(10), {kNew.substr(10)}}},
                                     true)
                             .run();
                         return 251;
                     }),
                  0);
        EXPECT_EQ(content(fScene), kNew);
        run("printf old | dd status=none conv=notrunc bs=1 seek=14 of=" + fScene);
    }
    static bool mayOpen(const User& user, const std::string& path, const char* how) {
        return as(user, [&] { return ::access(path.c_str(), *how == 'r' ? R_OK : W_OK); }) == 0;
    }
    static std::string content(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool isThere() { return ::access(fJournal.c_str(), F_OK) == 0; }
    /// What opening it to write does about a journal: acted on, reported or ignored.
    std::string met(const User& user) {
        const int answer = as(user, [this] {
            const auto opening = LockedFile::open(fScene, Use::kWrite, {});
            if (opening.verdict == JournalRecovery::Verdict::kForeign) return opening.file ? 9 : 2;
            return opening.file ? opening.verdict == JournalRecovery::Verdict::kNothing ? 3 : 1 : 8;
        });
        const char* const words[] = {"?", "acted on", "reported", "ignored"};
        return answer < 4 ? words[answer] : std::to_string(answer);
    }

    std::string fFolder;
    std::string fScene;
    std::string fJournal;
};

TEST_F(JournalAccessTest, NobodyLearnsOrChangesThroughTheJournalWhatTheSceneDoesNotGive) {
    const User named{20006, 40006};
    const User inNamedGroup{20007, 40007, {30007}};
    const User everybody[] = {kOwner, kMember, kOtherMember, kStranger, named, inNamedGroup};
    const struct {
        mode_t mode;
        const char* list;
    } rows[] = {{0600, ""},
                {0640, ""},
                {0660, ""},
                {0666, ""},
                {0606, ""},
                {0660, "u:20006:rw,g::---"},
                {0660, "u:20006:rw,g::r--,o::rw"},
                {0660, "u:20006:---,g:30007:rw,o::rw"},
                {0660, "g:30007:rw,g::---"},
                {0660, "u:20006:rw,m::r--"}};
    for (const auto& row : rows) {
        for (const User& writer :
             {kRoot, kOwner, kMember, kOtherMember, kStranger, named, inNamedGroup}) {
            for (const bool hasDefaults : {false, true}) {
                SCOPED_TRACE(std::to_string(row.mode) + ' ' + row.list + ", written by " +
                             std::to_string(writer.number) + (hasDefaults ? ", default list" : ""));
                make(0777, row.mode, row.list);
                if (hasDefaults) run("setfacl -d -m u:20004:rw,g:40003:rw,o::rw " + fFolder);
                if (!mayOpen(writer, fScene, "r") || !mayOpen(writer, fScene, "w")) continue;
                beKilled(writer);
                for (const User& user : everybody) {
                    for (const char* how : {"r", "w"}) {
                        EXPECT_LE(mayOpen(user, fJournal, how), mayOpen(user, fScene, how))
                            << user.number << ' ' << how;
                    }
                }
                for (const User& user : {kOwner, writer}) {
                    EXPECT_TRUE(mayOpen(user, fJournal, "r") && mayOpen(user, fJournal, "w"));
                }
            }
        }
    }
}

TEST_F(JournalAccessTest, WhoeverMayWriteTheSceneMayRecoverIt) {
    const User named{20006, 40006};
    const struct {
        const char* name;
        mode_t folder, mode;
        const char* list;
        std::vector<User> users;
        User folderOwner = kRoot;
    } rows[] = {
        {"root and owner", 0777, 0600, "", {kRoot, kOwner}},
        {"a group in its folder", 0770, 0660, "", {kMember, kOtherMember}, kMember},
        {"in one that gives its group", 02770, 0660, "", {kMember, kOtherMember}, {1, 30001}},
        {"a group in a sticky folder", 01777, 0660, "", {kOwner, kMember, kOtherMember}},
        {"everybody", 0777, 0666, "", {kRoot, kOwner, kMember, kStranger, kOtherStranger}},
        {"a list", 0777, 0600, "u:20006:rw,g:40004:rw", {kOwner, named, kStranger}},
    };
    for (const auto& row : rows) {
        for (const User& writer : row.users) {
            for (const User& user : row.users) {
                SCOPED_TRACE(std::string(row.name) + ": " + std::to_string(writer.number) +
                             " killed, " + std::to_string(user.number) + " recovers");
                make(row.folder, row.mode, row.list, row.folderOwner);
                beKilled(writer);
                EXPECT_EQ(met(user), "acted on");
                EXPECT_EQ(content(fScene), kOld);
                EXPECT_EQ(content(fJournal), "");
                struct stat after = {};
                ::stat(fScene.c_str(), &after);
                EXPECT_EQ(after.st_uid, kOwner.number);
                EXPECT_EQ(after.st_mode & 0707, row.mode & 0707);
            }
        }
    }
}

TEST_F(JournalAccessTest, AStrangersJournalIsReportedAndItsEmptyOneIgnored) {
    const struct {
        const char* name;
        const char* change;  // of a journal that the owner left
        const char* met;
    } rows[] = {
        {"as it was left", "true", "acted on"},
        {"of a stranger", "chown 20004:40004", "reported"},
        {"of a stranger, for all", "chmod 666 $J; chown 20004:40004", "reported"},
        {"of a member of another group", "chown 20008:40002", "reported"},
        {"of a member", "setfacl -b $J; setfacl -m u:20001:rw,g::rw $J; chown 20008:30001",
         "acted on"},
        {"open to all", "chmod 666", "reported"},
        {"open to another group", "setfacl -m g:40004:rw", "reported"},
        {"open to somebody on a list", "setfacl -m u:20004:rw", "reported"},
        {"for all to read", "chmod 644", "acted on"},
        {"with two names", "ln $J $J.2; true", "reported"},
        {"empty", "truncate -s 0", "acted on"},
        {"a stranger's empty one", "truncate -s 0 $J; chown 20004:40004", "ignored"},
        {"an empty one for all", "truncate -s 0 $J; chmod 666", "ignored"},
    };
    for (const auto& row : rows) {
        for (const User& user : {kRoot, kOwner, kMember}) {
            SCOPED_TRACE(std::string(row.name) + ", met by " + std::to_string(user.number));
            make(0777, 0660);
            beKilled(kOwner);
            const std::string torn = content(fScene);
            run("J=" + fJournal + "; " + row.change + " $J");
            EXPECT_EQ(met(user), row.met);
            const bool isApplied = row.met == std::string("acted on") && row.name[0] != 'e';
            EXPECT_EQ(content(fScene), isApplied ? kOld : torn);
            EXPECT_EQ(isThere(), row.met != std::string("acted on"));
        }
    }
}

/// A stranger is faster than the creation of the journal, once or always, and keeps the file open.
class ContendedFileSystem : public PosixFileSystem {
  public:
    ContendedFileSystem(uid_t stranger, int times) : fStranger(stranger), fTimes(times) {}
    std::unique_ptr<File> create(const std::string& path, const FileAccess& file,
                                 std::error_code& error) override {
        if (fTimes-- > 0) {
            std::ofstream(path).close();
            if (::chown(path.c_str(), fStranger, fStranger) != 0) return nullptr;
            kept = PosixFileSystem::open(path, Mode::kRead, error);
        }
        return PosixFileSystem::create(path, file, error);
    }
    std::unique_ptr<File> kept;

  private:
    uid_t fStranger;
    int fTimes;
};

TEST_F(JournalAccessTest, IsCreatedExclusively) {
    const struct {
        uid_t owner;
        int times;
        Step failed;
    } rows[] = {{kStranger.number, 1, Step::kJournal},
                {kOwner.number, 1, Step::kDone},
                {0, 1, Step::kDone},
                {kOwner.number, 2, Step::kJournal}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.owner) + ", " + std::to_string(row.times) + " times");
        make(0777, 0600);
        ContendedFileSystem contended(row.owner, row.times);
        const FileSystem::Replacement replaced(contended);
        const auto opening = LockedFile::open(fScene, Use::kWrite, {});
        ASSERT_TRUE(opening.file);
        const auto outcome =
            FileRewrite(*opening.file, {{10, kOld.substr(10), {kNew.substr(10)}}}, true).run();
        EXPECT_EQ(outcome.failed, row.failed);
        EXPECT_EQ(content(fScene), row.failed == Step::kDone ? kNew : kOld);
        EXPECT_EQ(contended.kept->size(), 0U) << "nothing was put into it";
        const std::string whose = "a file of user " + std::to_string(row.owner);
        EXPECT_EQ(outcome.occupant.substr(0, whose.size()), row.failed == Step::kDone ? "" : whose);
    }
}

TEST_F(JournalAccessTest, AnEmptyFileIsReplacedIfItIsOurs) {
    const struct {
        const char* change;
        Step failed;
    } rows[] = {{"chmod 600", Step::kDone},
                {"chmod 666", Step::kDone},
                {"chown 20001", Step::kDone},
                {"chown 20004", Step::kJournal},
                {"ln $J $J.2; true", Step::kJournal},
                {"rm $J; mkfifo", Step::kJournal},
                {"rm $J; ln -s /dev/null", Step::kJournal}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.change);
        make(0777, 0644);
        const auto opening = LockedFile::open(fScene, Use::kWrite, {});
        ASSERT_TRUE(opening.file);
        run("J=" + fJournal + "; touch $J; " + row.change + " $J");
        const auto outcome =
            FileRewrite(*opening.file, {{10, kOld.substr(10), {kNew.substr(10)}}}, true).run();
        EXPECT_EQ(outcome.failed, row.failed);
        EXPECT_EQ(outcome.occupant.empty(), row.failed == Step::kDone);
        EXPECT_EQ(content(fScene), row.failed == Step::kDone ? kNew : kOld);
    }
}

TEST_F(JournalAccessTest, ARewriteKeepsListAndAttributes) {
    make(0777, 0660, "u:20006:rw,g::---");
    const bool hasAttributes = ::setxattr(fScene.c_str(), "user.note", "kept", 4, 0) == 0;
    const std::string look =
        "(getfacl -cpE " + fScene + "; stat -c %u:%g " + fScene + ") >" + fFolder + "/look.";
    run(look + "1");
    EXPECT_EQ(save({20006, 40006}), Step::kDone);
    EXPECT_EQ(content(fScene), kNew);
    run(look + "2");
    EXPECT_EQ(content(fFolder + "/look.1"), content(fFolder + "/look.2"));
    EXPECT_NE(content(fFolder + "/look.1").find("20006"), std::string::npos);
    char note[5] = {};
    EXPECT_EQ(::getxattr(fScene.c_str(), "user.note", note, 4), hasAttributes ? 4 : -1);
    EXPECT_STREQ(note, hasAttributes ? "kept" : "");
}

TEST_F(JournalAccessTest, AFileThatIsReachedTwoWaysIsRefused) {
    std::string other = fFolder + "/other";
    const std::string unmount = "umount " + other;
    for (const bool isLinked : {true, false}) {
        SCOPED_TRACE(isLinked ? "hard link" : "mount");
        make(0777, 0600);
        std::ofstream(other).close();
        if (isLinked) run("ln -f " + fScene + " " + other);
        const std::string mount = "mount --bind " + fScene + " " + other + " 2>/dev/null";
        if (!isLinked && std::system(mount.c_str()) != 0) GTEST_SKIP() << "needs to mount a file";
        EXPECT_EQ(save(kOwner), Step::kPrepare);
        std::swap(fScene, other);
        EXPECT_EQ(save(kOwner), Step::kPrepare);
        std::swap(fScene, other);
        EXPECT_EQ(content(fScene), kOld);
        EXPECT_FALSE(isThere());
        if (!isLinked) run(unmount);
    }
}

/// Somebody links the file when it has been looked at.
class LinkingFileSystem : public PosixFileSystem {
  public:
    std::unique_ptr<File> create(const std::string& path, const FileAccess& file,
                                 std::error_code& error) override {
        const std::string scene = path.substr(0, path.rfind(".metadata-journal"));
        EXPECT_EQ(::link(scene.c_str(), (scene + ".2").c_str()), 0);
        return PosixFileSystem::create(path, file, error);
    }
};

TEST_F(JournalAccessTest, ALinkThatIsMadeMeanwhileIsNoticed) {
    make(0777, 0600);
    LinkingFileSystem linking;
    const FileSystem::Replacement replaced(linking);
    EXPECT_EQ(save(kRoot), Step::kPrepare);
    EXPECT_EQ(content(fScene), kOld);
    EXPECT_FALSE(isThere());
}

// A folder that is mounted twice has one journal.
TEST_F(JournalAccessTest, AJournalIsFoundThroughAnotherMountOfTheFolder) {
    make(0777, 0600);
    const std::string other = fFolder + ".2";
    run("mkdir " + other);
    if (std::system(("mount --bind " + fFolder + " " + other + " 2>/dev/null").c_str()) != 0) {
        run("rmdir " + other);
        GTEST_SKIP() << "needs to mount a folder";
    }
    beKilled(kOwner);
    fScene = other + "/scene";
    EXPECT_EQ(met(kOwner), "acted on");
    EXPECT_EQ(content(fScene), kOld);
    run("umount " + other + "; rmdir " + other);
}

// Such a file system has owners and modes, but no lists.
TEST_F(JournalAccessTest, WithoutListsAJournalThatSuitsIsMadeOrNone) {
    if (std::system(("mount -t ramfs ramfs " + fFolder + " 2>/dev/null").c_str()) != 0) {
        GTEST_SKIP() << "needs to mount a file system without lists";
    }
    const struct {
        User writer;
        mode_t mode;
        Step failed;
        mode_t journal;
    } rows[] = {
        {kRoot, 0640, Step::kDone, 0640},
        // The owner is not known to be in the group, to which alone the journal could be open.
        {kMember, 0660, Step::kJournal, 0},
        {kStranger, 0666, Step::kDone, 0666},
        // Who is not in the group cannot give the journal to it.
        {kOwner, 0640, Step::kDone, 0600},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.writer.number));
        make(0777, row.mode);
        if (row.failed == Step::kDone) {
            beKilled(row.writer);
            struct stat found = {};
            ASSERT_EQ(::stat(fJournal.c_str(), &found), 0);
            EXPECT_EQ(found.st_mode & 07777U, row.journal);
        } else {
            EXPECT_EQ(save(row.writer), row.failed);
            EXPECT_EQ(content(fScene), kOld);
            EXPECT_FALSE(isThere());
        }
    }
    run("umount " + fFolder);
}

}  // namespace
}  // namespace orbo::Files
