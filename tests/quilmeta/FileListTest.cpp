// The files that a command takes from folders.
// SPDX-License-Identifier: Apache-2.0
#include "selection/FileList.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace orbo::Quilmeta {
namespace {

namespace fs = std::filesystem;

/// Somebody else than root, until the end.
class AsStranger {
  public:
    AsStranger() { EXPECT_EQ(::seteuid(20004), 0); }
    ~AsStranger() { EXPECT_EQ(::seteuid(0), 0); }
    AsStranger(const AsStranger&) = delete;
    AsStranger& operator=(const AsStranger&) = delete;
};

class FileListTest : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "needs root, to become another user";
        fTop = testing::TempDir() + "file-list-XXXXXX";
        ASSERT_NE(::mkdtemp(fTop.data()), nullptr);
        fs::permissions(fTop, fs::perms(0755));
    }
    void TearDown() override {
        if (!fTop.empty()) fs::remove_all(fTop);
    }

    /// A folder of that mode, with a scene, a folder and another file in it.
    void makeFolder(const std::string& name, unsigned mode) const {
        fs::create_directories(fTop + '/' + name + "/inner");
        for (const char* const file : {"scene.kx", "notes.txt"})
            std::ofstream(fTop + '/' + name + '/' + file) << "text";
        fs::permissions(fTop + '/' + name, fs::perms(mode));
    }

    [[nodiscard]] std::vector<std::string> found() const {
        FileArguments arguments;
        arguments.words = {fTop};
        arguments.recursive = true;
        std::vector<std::string> files;
        const AsStranger stranger;
        for (const std::string& file : filesOf(arguments))
            files.push_back(file.substr(fTop.size() + 1));
        return files;
    }

    std::string fTop;
};

// What cannot be looked into must not look like an empty folder: the work on it says why.
TEST_F(FileListTest, KeepsWhatMayNotBeLookedInto) {
    makeFolder("listed only", 0744);
    makeFolder("open", 0755);
    makeFolder("passed only", 0711);
    const std::vector<std::string> expected = {"listed only/inner", "listed only/scene.kx",
                                               "open/scene.kx", "passed only"};
    EXPECT_EQ(found(), expected);
}

}  // namespace
}  // namespace orbo::Quilmeta
