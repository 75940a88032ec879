// A file that replaces another gives nobody more than that did.
// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "output/NewFile.h"

namespace orbo::Quilmeta {
namespace {

// No machine knows these numbers.
constexpr uid_t kOwner = 20001;
constexpr uid_t kWriter = 20002;
constexpr uid_t kStranger = 20003;
constexpr gid_t kGroup = 30001;

class NewFileAccess : public testing::Test {
  protected:
    void SetUp() override {
        if (std::system("setfacl --version >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "needs setfacl and getfacl (package acl)";
        fFolder = testing::TempDir() + "new-file-XXXXXX";
        ASSERT_NE(::mkdtemp(fFolder.data()), nullptr);
        fFile = fFolder + "/out.json";
        std::ofstream(fFile) << "old";
    }
    void TearDown() override {
        if (!fFolder.empty()) run("rm -rf " + fFolder);
    }

    static void run(const std::string& command) {
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
    }
    /// Owner, mode and list, in words.
    [[nodiscard]] std::string access() const {
        const std::string command = "stat -c '%u %g %a' " + fFile + "; getfacl -cnp " + fFile;
        std::string text;
        FILE* const pipe = ::popen(command.c_str(), "r");
        for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
        ::pclose(pipe);
        return text;
    }
    void replace() const {
        NewFile file(fFile, "", {FileKind::kDocument, true});
        file.output().write("new");
        file.commit();
    }
    /// True when `call` is, in a process of that user.
    template <typename Call>
    static bool asUser(uid_t user, gid_t group, const Call& call) {
        const pid_t child = ::fork();
        if (child == 0) {
            const bool isUser =
                ::setgroups(0, nullptr) == 0 && ::setgid(group) == 0 && ::setuid(user) == 0;
            ::_exit(isUser && call() ? 0 : 1);
        }
        int status = 1;
        ::waitpid(child, &status, 0);
        return status == 0;
    }
    [[nodiscard]] bool mayOpen(uid_t user, gid_t group, int how) const {
        return asUser(user, group, [&] { return ::open(fFile.c_str(), how) >= 0; });
    }

    std::string fFolder;
    std::string fFile;
};

TEST_F(NewFileAccess, IsThatOfTheFileItReplaces) {
    for (const char* const list : {"-b", "-m u:20002:r", "-m u:20002:rw,g:30001:r,m::r"}) {
        for (const mode_t mode : {0600u, 0640u, 0664u, 0604u}) {
            for (const char* const ofFolder : {"-b", "-d -m u:20004:rw"}) {
                SCOPED_TRACE(std::string(list) + ofFolder + std::to_string(mode));
                ASSERT_EQ(::chmod(fFile.c_str(), mode), 0);
                run(std::string("setfacl ") + list + " " + fFile);
                run(std::string("setfacl ") + ofFolder + " " + fFolder);
                const bool isGiven =
                    ::geteuid() != 0 || ::chown(fFile.c_str(), kOwner, kGroup) == 0;
                EXPECT_TRUE(isGiven);
                const bool hasNote = ::setxattr(fFile.c_str(), "user.note", "mine", 4, 0) == 0;
                const std::string before = access();
                replace();
                EXPECT_EQ(access(), before);
                char note[8] = {};
                EXPECT_EQ(::getxattr(fFile.c_str(), "user.note", note, sizeof note),
                          hasNote ? 4 : -1);
            }
        }
    }
}

// Whoever cannot give the file to its owner lets the owner in by a list, and nobody else.
TEST_F(NewFileAccess, IsNoMoreThanBeforeWhereTheFileCannotBeGivenAway) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root, to become other users";
    ASSERT_EQ(::chmod(fFolder.c_str(), 0777), 0);
    const struct {
        mode_t mode;
        gid_t groupOfWriter;
    } rows[] = {{0640, kGroup}, {0660, kGroup}, {0604, kWriter}, {0644, kWriter}};
    for (const auto& [mode, groupOfWriter] : rows) {
        SCOPED_TRACE(mode);
        std::ofstream(fFile) << "old";
        ASSERT_EQ(::chown(fFile.c_str(), kOwner, kGroup), 0);
        ASSERT_EQ(::chmod(fFile.c_str(), mode), 0);
        EXPECT_TRUE(asUser(kWriter, groupOfWriter, [this] { return replace(), true; }));
        struct stat status {};
        ASSERT_EQ(::stat(fFile.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, kWriter);
        EXPECT_TRUE(mayOpen(kOwner, kOwner, O_RDWR)) << access();
        EXPECT_EQ(mayOpen(kStranger, kStranger, O_RDONLY), (mode & 04u) != 0) << access();
        EXPECT_EQ(mayOpen(kStranger, kGroup, O_RDONLY), (mode & 040u) != 0) << access();
        EXPECT_EQ(mayOpen(kStranger, kGroup, O_WRONLY), (mode & 020u) != 0) << access();
        EXPECT_FALSE(mayOpen(kStranger, kWriter, O_WRONLY)) << access();
        ASSERT_EQ(::unlink(fFile.c_str()), 0);
    }
}

}  // namespace
}  // namespace orbo::Quilmeta
