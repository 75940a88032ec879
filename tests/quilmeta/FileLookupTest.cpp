// Paths of scenes: variables, tiles and frames.
// SPDX-License-Identifier: Apache-2.0
#include "process/CommandError.h"
#include "references/FileLookup.h"
#include "references/Gaps.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

namespace orbo::Quilmeta {
namespace {

namespace fs = std::filesystem;

/// A folder with files, and the words that tell what is found in it.
class FileLookupTest : public testing::Test {
  protected:
    FileLookupTest() {
        std::string name = testing::TempDir() + "lookup-XXXXXX";
        if (::mkdtemp(name.data())) fFolder = name;
    }
    ~FileLookupTest() override { fs::remove_all(fFolder); }

    void files(std::initializer_list<const char*> names) const {
        for (const std::string name : names) {
            fs::create_directories((fFolder / name).parent_path());
            std::ofstream(fFolder / name) << name;
        }
    }
    /// "file", "pattern" or "none", and what is missing.
    [[nodiscard]] std::string found(const std::string& path, const char* tiles = nullptr) const {
        LookupArguments arguments;
        if (tiles) arguments.tiles = tiles;
        FileLookup lookup;
        lookup.prepare(arguments);
        const Lookup result = lookup.find((fFolder / "scene.kx").string(), path);
        std::string words = !result.exists ? "none" : result.pattern ? "pattern" : "file";
        const std::string missing = result.whatIsMissing();
        EXPECT_EQ(result.isMissing(), !result.exists || !missing.empty()) << path;
        return words + (missing.empty() ? "" : ": " + missing);
    }

    fs::path fFolder;
};

TEST(Variables, AreExpandedOnceAndFramesAreNone) {
    ::setenv("LOOKUP_SHOW", "/env", 1);
    ::setenv("LOOKUP_EMPTY", "", 1);
    ::setenv("F4", "/no", 1);
    ::setenv("HOME", "/home/me", 1);
    ::unsetenv("LOOKUP_NONE");
    Variables variables;
    for (const char* definition :
         {"SHOW=first", "SHOW=/shows/demo", "TWICE=$SHOW", "d_=x", "EQUALS=a=b"})
        variables.define(definition);
    const struct {
        const char *path, *text, *undefined;
    } rows[] = {
        {"$SHOW/a", "/shows/demo/a", ""},
        {"${SHOW}a%SHOW%", "/shows/demoa/shows/demo", ""},
        {"$SHOWa", "$SHOWa", "SHOWa"},
        {"$LOOKUP_SHOW/a", "/env/a", ""},
        {"a$LOOKUP_EMPTY/b", "a/b", ""},
        {"$LOOKUP_NONE/$LOOKUP_NONE/%NO%", "$LOOKUP_NONE/$LOOKUP_NONE/%NO%", "LOOKUP_NONE NO"},
        {"$TWICE", "$SHOW", ""},
        {"$EQUALS", "a=b", ""},
        {"$$SHOW $ $1 ${SHOW ${} ${a b} $", "$$SHOW $ $1 ${SHOW ${} ${a b} $", ""},
        {"100% %% %SHOW %4d %", "100% %% %SHOW %4d %", ""},
        {"a.$F.$F4.${F4}", "a.$F.$F4.${F4}", ""},
        {"a.$FX", "a.$FX", "FX"},
        {"a.%d.%04d.exr", "a.%d.%04d.exr", ""},
        {"%dir%/a", "%dir%/a", "dir"},
        {"%d_%04d", "x04d", ""},
        {"%d-%d", "%d-%d", ""},
        {"%dx%d", "%dx%d", ""},
        {"~/a", "/home/me/a", ""},
        {"~", "/home/me", ""},
        {"a/~/b~", "a/~/b~", ""},
        {"~root/a", "/root/a", ""},
        {"~no-such-user/a", "~no-such-user/a", ""},
        {"", "", ""},
    };
    for (const auto& row : rows) {
        const Variables::Expanded result = variables.expand(row.path);
        std::string undefined;
        for (const std::string& name : result.undefined)
            undefined += (undefined.empty() ? "" : " ") + name;
        EXPECT_EQ(result.text, row.text) << row.path;
        EXPECT_EQ(undefined, row.undefined) << row.path;
    }
    EXPECT_EQ(variables.expand("~no-such-user/a").unknownUser, "no-such-user");
    variables.define("F4=four");
    EXPECT_EQ(variables.expand("a.$F4.$F").text, "a.four.$F");
    for (const char* wrong : {"", "SHOW", "=x", "1A=x", "A B=x", "$A=x"})
        EXPECT_THROW(variables.define(wrong), UsageError) << wrong;
}

TEST(NamePattern, ReadsTilesAndFrames) {
    const struct {
        const char *pattern, *name, *place;
    } rows[] = {
        {"a.<UDIM>.exr", "a.1001.exr", "1001"},
        {"a.<UDIM>.exr", "a.1000.exr", "-"},
        {"a.<UDIM>.exr", "a.2000.exr", "-"},
        {"a.<UDIM>.exr", "a.10011.exr", "-"},
        {"a.<UDIM>.exr", "a.101.exr", "-"},
        {"a.<udim>.exr", "a.1001.exr", "-"},
        {"a.<udim>.exr", "a.<udim>.exr", ""},
        {"<UVTILE>", "u1_v1", "1001"},
        {"<UVTILE>", "u10_v2", "1020"},
        {"<UVTILE>", "u11_v1", "-"},
        {"<UVTILE>", "u0_v1", "-"},
        {"<UVTILE>", "u01_v1", "-"},
        {"<UVTILE>", "u9_v100", "1999"},
        {"<UVTILE>", "u10_v100", "-"},
        {"<UVTILE>0", "u1_v10", "1001"},
        {"<UVTILE><UDIM>", "u2_v11002", "1002"},
        {"<UVTILE><UDIM>", "u2_v11003", "-"},
        {"a.####", "a.0012", "12"},
        {"a.####", "a.12345", "12345"},
        {"a.####", "a.00012", "-"},
        {"a.####", "a.12", "-"},
        {"a.####", "a.-0012", "-"},
        {"a-####", "a-0012", "12"},
        {"a.#", "a.7", "7"},
        {"a.#", "a.07", "-"},
        {"a.#", "a.0", "0"},
        {"a.%d", "a.12", "12"},
        {"a.%0d", "a.12", "12"},
        {"a.%03d", "a.012", "12"},
        {"a.%3d", "a.012", "-"},
        {"a.%099999999999999999999d", "a.1", "-"},
        {"a.$F4.x", "a.0012.x", "12"},
        {"a.${F3}_x", "a.012_x", "12"},
        {"a.$F", "a.999999999999999999", "999999999999999999"},
        {"a.$F", "a.1000000000000000000", "-"},
        {"#1.exr", "121.exr", "12"},
        {"##<UDIM>", "121001", "1001/12"},
        {"####_%d", "0012_12", "12"},
        {"####_%d", "0012_13", "-"},
        {"a*[b]?.#", "a*[b]?.1", "1"},
        {"a*[b]?.#", "axb?.1", "-"},
        {"$$F", "$$F", ""},
    };
    for (const auto& row : rows) {
        const auto place = NamePattern(row.pattern).match(row.name, {});
        std::string text = place ? "" : "-";
        if (place && place->tile) text = std::to_string(*place->tile);
        if (place && place->frame)
            text += (text.empty() ? "" : "/") + std::to_string(*place->frame);
        EXPECT_EQ(text, row.place) << row.pattern << " on " << row.name;
    }
}

TEST_F(FileLookupTest, FindsFilesTilesAndFrames) {
    files({"plain.exr",         "c#/x.1001.exr", "c1/x.1002.exr",     "scan #3.exr",
           "t.1001.exr",        "t.1003.exr",    "u.u1_v1.exr",       "u.u3_v1.exr",
           "f.0001.exr",        "f.0002.exr",    "f.0007.exr",        "f.10000.exr",
           "f.1.exr",           "one.0005.exr",  "r/0001/b.0001.exr", "r/0002/b.0001.exr",
           "r/0003/b.0003.exr", "lit.####.exr",  "both.1001.1.exr",   "both.1001.4.exr",
           "both.1002.1.exr",   "f.0004.exr.bak"});
    fs::create_symlink("nowhere", fFolder / "t.1002.exr");
    fs::create_symlink("plain.exr", fFolder / "t.1011.exr");
    const struct {
        const char *path, *tiles, *found;
    } rows[] = {
        {"plain.exr", nullptr, "file"},
        {"absent.exr", nullptr, "none"},
        {"", nullptr, "none: not resolved"},
        {"./c1/../plain.exr", nullptr, "file"},
        {"c#/x.<UDIM>.exr", nullptr, "pattern"},
        {"c#/x.<UDIM>.exr", "1002", "pattern: tile 1002"},
        {"scan #3.exr", nullptr, "file"},
        {"scan #.exr", nullptr, "none: no file fits"},
        {"t.<UDIM>.exr", nullptr, "pattern"},
        {"t.<UDIM>.exr", "1001-1003,1011", "pattern: tile 1002"},
        {"t.<UDIM>.exr", "1002,1004-1005", "pattern: tiles 1002, 1004, 1005"},
        {"t.<UDIM>.tif", nullptr, "none: no file fits"},
        {"t.<UDIM>.tif", "1001", "none: tile 1001"},
        {"u.<UVTILE>.exr", "1001-1003", "pattern: tile u2_v1"},
        {"f.####.exr", nullptr, "pattern: frames 3-6, 8-9999"},
        {"f.%d.exr", nullptr, "pattern: frames 2-9999"},
        {"f.$F4.exr", "1001", "pattern: frames 3-6, 8-9999"},
        {"one.%04d.exr", nullptr, "pattern"},
        {"none.%04d.exr", nullptr, "none: no file fits"},
        {"r/%04d/b.%04d.exr", nullptr, "pattern: frame 2"},
        {"absent/%04d/b.exr", nullptr, "none: no file fits"},
        {"plain.exr/<UDIM>", nullptr, "none: no file fits"},
        {"lit.####.exr", nullptr, "none: no file fits"},
        {"both.<UDIM>.%d.exr", nullptr, "pattern: frames 1001: 2-3, 1002: 2-4"},
        {"$LOOKUP_NONE/plain.exr", nullptr, "none: LOOKUP_NONE is not set"},
        {"$LOOKUP_NONE", nullptr, "none: LOOKUP_NONE is not set"},
        {"~no-such-user/a", nullptr, "none: there is no user \"no-such-user\""},
    };
    for (const auto& row : rows) EXPECT_EQ(found(row.path, row.tiles), row.found) << row.path;
    EXPECT_EQ(found((fFolder / "t.<UDIM>.exr").string(), "1011"), "pattern");
    EXPECT_EQ(found(std::string(1'000'000, '#')), "none");
}

// A folder is read once, so what comes later is not seen, and threads that ask at once agree.
TEST_F(FileLookupTest, ReadsEachFolderOnce) {
    for (int i = 0; i < 200; ++i)
        files({("a" + std::to_string(i) + "." + std::to_string(1001 + i % 7) + ".exr").c_str()});
    FileLookup lookup;
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (std::string& result : results)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                const std::string path = "a" + std::to_string(i) + ".<UDIM>.exr";
                const Lookup found = lookup.find((fFolder / "s.kx").string(), path);
                result += found.pattern && found.pattern->files.size() == 1
                              ? fs::path(found.pattern->files[0].path).filename().string() + " "
                              : "?";
            }
        });
    for (std::thread& thread : threads) thread.join();
    for (const std::string& result : results) EXPECT_EQ(result, results[0]);
    EXPECT_EQ(results[0].find('?'), std::string::npos);
    files({"late.1001.exr"});
    EXPECT_FALSE(lookup.find((fFolder / "s.kx").string(), "late.<UDIM>.exr").exists);
}

TEST(Tiles, AreNumbersAndRanges) {
    EXPECT_EQ(parseTiles("1003,1001-1002,1002"), (std::vector<unsigned>{1001, 1002, 1003}));
    for (const char* wrong :
         {"", "1000", "2000", "1001-", "-1001", "1002-1001", "1001,", "x", "1001 "})
        EXPECT_THROW(parseTiles(wrong), UsageError) << wrong;
}

}  // namespace
}  // namespace orbo::Quilmeta
