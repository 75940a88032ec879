// Which prefix of a path is replaced, and by what; where the pairs come from.
// SPDX-License-Identifier: Apache-2.0
#include "PathMap.h"
#include "Trouble.h"

#include <gtest/gtest.h>

#include <vector>

namespace orbo::Quilmeta {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

std::string mapped(const Pairs& pairs, const std::string& path) {
    PathMap map;
    for (const auto& [from, to] : pairs) map.add(from, to);
    return map.apply(path).value_or("no match");
}

TEST(PathMap, PrefixesEndWhereComponentsEnd) {
    const struct {
        const char* from;
        const char* to;
        const char* path;
        const char* expected;
    } rows[] = {
        {"/a/b", "/n", "/a/b/c.exr", "/n/c.exr"},
        {"/a/b", "/n", "/a/bc", "no match"},
        {"/a/b", "/n", "/a", "no match"},
        {"/a/b", "/n", "x/a/b", "no match"},
        {"/a/b", "/n", "/A/b/c", "no match"},
        {"a", "b/c", "a/a/a", "b/c/a/a"},
        // Separators at the end make no difference, anywhere.
        {"/a/", "/n", "/a/b", "/n/b"},
        {"/a", "/n//", "/a/b", "/n/b"},
        {"/a/", "/n/", "/a", "/n"},
        {"/a", "/n", "/a/", "/n/"},
        // What follows stays as it is.
        {"/a", "C:\\n\\", "/a/b\\c//d/../e ", "C:\\n/b\\c//d/../e "},
        // Either separator.
        {"C:\\a", "/n", "C:/a/b", "/n/b"},
        {"C:/a/", "D:\\n", "C:\\a\\b", "D:\\n\\b"},
        {"/a", "/n", "/a\\b", "/n\\b"},
        // Roots.
        {"/", "/n", "/a/b", "/n/a/b"},
        {"/", "/n", "/", "/n/"},
        {"/", "/n", "a", "no match"},
        {"/", "/n", "//server/share", "no match"},
        {"\\\\", "/n", "\\\\server\\share", "/n\\server\\share"},
        {"\\\\", "/n", "\\a", "no match"},
        {"/a", "/", "/a/b", "/b"},
        {"/a", "/", "/a", "/"},
        {"/a", "\\\\", "/a/server", "\\/server"},
        {"C:\\", "/n", "C:\\a", "/n\\a"},
        {"C:", "/n", "C:/a", "/n/a"},
        {"C:\\", "/n", "C:a", "no match"},
        {"/a", "C:\\", "/a", "C:\\"},
        {"/a", "C:\\", "/a/b", "C:/b"},
        // The case of a drive letter, and of nothing else.
        {"c:\\a", "D:\\n", "C:\\a\\b", "D:\\n\\b"},
        {"C:/", "d:/", "c:/a", "d:/a"},
        {"c:\\a", "D:\\n", "C:\\A\\b", "no match"},
        {"\\\\?\\c:\\a", "D:", "\\\\?\\C:\\a\\b", "D:\\b"},
        {"\\\\server\\share", "/n", "\\\\server\\share\\c:\\a", "/n\\c:\\a"},
        {"\\\\server\\share", "/n", "\\\\Server\\share\\a", "no match"},
        {"\\\\server\\share\\", "//new/share", "\\\\server\\share\\a", "//new/share\\a"},
        {"\\\\server\\share", "/n", "\\server\\share\\a", "no match"},
        {"a:", "/n", "A:", "/n"},
        // Empty paths stay.
        {"/", "/n", "", "no match"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(mapped({{row.from, row.to}}, row.path), row.expected)
            << row.from << " " << row.to << " " << row.path;
}

TEST(PathMap, TheLongestPrefixCountsOnce) {
    for (const Pairs& pairs : {Pairs{{"/a", "/b"}, {"/a/b/", "/a"}, {"/b", "/c"}, {"/", "/r"}},
                               Pairs{{"/", "/r"}, {"/b/", "/c"}, {"/a/b", "/a"}, {"/a", "/b"}}}) {
        EXPECT_EQ(mapped(pairs, "/a/b/x"), "/a/x");
        EXPECT_EQ(mapped(pairs, "/a/x"), "/b/x");
        EXPECT_EQ(mapped(pairs, "/ab"), "/r/ab");
    }
}

std::string refusal(const std::string& csv) {
    PathMap map;
    try {
        map.addCsv(csv);
    } catch (const Trouble& trouble) {
        return trouble.what();
    }
    return "none";
}

TEST(PathMap, ReadsPairsFromATable) {
    PathMap map;
    map.addCsv("\xEF\xBB\xBF/a,/1\r\n\r\n\"/b,\r\n\"\"c\"\"\",\"/2\"\n\n /d , /3\r\n/e,/4\r");
    EXPECT_EQ(map.apply("/a/x"), "/1/x");
    EXPECT_EQ(map.apply("/b,\r\n\"c\"/x"), "/2/x");
    EXPECT_EQ(map.apply(" /d /x"), " /3/x");
    EXPECT_EQ(map.apply("/e"), "/4\r") << "a lone CR ends no line";
    EXPECT_EQ(refusal("/a,/b\n/a/,/b/\n"), "none") << "the same twice";

    const std::pair<std::string, const char*> rows[] = {
        {"", "none"},
        {"\n/a\n", "line 2: 1 column instead of 2"},
        {"/a,/b,\n", "line 1: 3 columns instead of 2"},
        {"\"/a\n\n\",/b\n,/c", "line 4: a prefix is empty"},
        {"/a,\"\"", "line 1: a prefix is empty"},
        {"/a,/b\n/a/,/c", "line 2: prefix \"/a/\" is to become both \"/b\" and \"/c\""},
        {"/a,/b\n/c,\"/d\n\n", "line 2: a quote that is never closed"},
        {"/a,\"/b\" \n", "line 1: text behind a closing quote"},
        {"/a,/b\"\n", "line 1: a quote inside a field without quotes"},
        {std::string("/a,/b\0c\n", 8), "line 1: a NUL character"},
    };
    for (const auto& [csv, expected] : rows) EXPECT_EQ(refusal(csv), expected) << csv;
}

}  // namespace
}  // namespace orbo::Quilmeta
