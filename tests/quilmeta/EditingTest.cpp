// What selectors act on, new names, and structures that change.
// SPDX-License-Identifier: Apache-2.0
#include "editing/Parts.h"
#include "editing/Rename.h"
#include "editing/Structures.h"
#include "process/CommandError.h"

#include <data/AccessorFactory.h>
#include <data/Channel.h>
#include <data/Stream.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {
namespace {

/// A model of nodes, each with channels of streams, that is never in a file.
class ModelTest : public testing::Test {
  protected:
    ModelTest() {
        fStructure->addMember(Data::Member::kInt32, 1, "id");
        fStructure->addMember(Data::Member::kString, 2, "labels");
        for (const char* path :
             {"/history/log", "/debug/log", "old:arm/joints/pose", "old:arm/joints/rest",
              "old:arm/debug/pose", "old:leg/debug/pose", "rig/joints/pose"})
            add(path);
    }

    void add(const std::string& path) {
        const size_t first = path.find('/');
        const size_t second = path.find('/', first + 1);
        Data::Stream stream(*fStructure, path.substr(second + 1));
        stream.emplaceElement(3).set("id", 7);
        Data::Handle element = stream.element(3);
        element.set("labels", std::array<std::string, 2>{"a", "b"});
        fScene->associations()[path.substr(0, first)]
            .channel(path.substr(first + 1, second - first - 1))
            .setDataStream(stream);
    }

    static NamePatterns patterns(const std::vector<std::string>& texts) {
        NamePatterns result;
        for (const std::string& text : texts) result.add(text);
        return result;
    }

    static std::string pathOf(const StreamAddress& part) {
        std::string path = part.node;
        for (const std::string& name : {part.channel, part.stream})
            if (!name.empty()) path += '/' + name;
        return path;
    }

    std::string paths() const {
        std::string text;
        for (const StreamAddress& part : partsOf(*fScene, {}, Level::kStream))
            text += pathOf(part) + ' ';
        return text;
    }

    std::unique_ptr<Data::Accessor> fScene = Data::Accessor::accessorByExtension("model.kx");
    RefPtr<Data::Structure> fStructure{new Data::Structure("Tag")};
};

TEST_F(ModelTest, ActsOnTheDeepestSelectorThatIsGiven) {
    using Texts = std::vector<std::string>;
    const struct {
        Texts nodes, channels, streams;
        const char* parts;
    } rows[] = {
        {{"rig"}, {}, {}, "rig "},
        {{"*"}, {}, {}, "old:arm old:leg rig "},
        {{""}, {}, {}, " "},
        {{"", "r*"}, {}, {}, " rig "},
        {{"old:*"}, {"joints"}, {}, "old:arm/joints "},
        {{"old:*"}, {"*"}, {"pose"}, "old:arm/debug/pose old:arm/joints/pose old:leg/debug/pose "},
        {{}, {"debug"}, {}, "/debug old:arm/debug old:leg/debug "},
        {{}, {"debu?"}, {}, "old:arm/debug old:leg/debug "},
        {{}, {"debug"}, {"*"}, "old:arm/debug/pose old:leg/debug/pose "},
        {{}, {}, {"log"}, "/debug/log /history/log "},
        {{""}, {"*"}, {}, "/debug /history "},
        {{"none"}, {"*"}, {}, ""},
    };
    for (const auto& row : rows) {
        const Selection selection{patterns(row.nodes), patterns(row.channels),
                                  patterns(row.streams)};
        std::string parts;
        for (const StreamAddress& part : partsOf(*fScene, selection, deepestLevel(selection)))
            parts += pathOf(part) + ' ';
        EXPECT_EQ(parts, row.parts) << selection.text();
    }
}

TEST_F(ModelTest, TakesContainersThatAreLeftEmptyAway) {
    const Selection selection{patterns({"old:*"}), {}, patterns({"pose"})};
    removeParts(*fScene, partsOf(*fScene, selection, Level::kStream), Level::kStream);
    EXPECT_EQ(paths(), "/debug/log /history/log old:arm/joints/rest rig/joints/pose ");
    EXPECT_EQ(fScene->associations().count("old:leg"), 0U);
    EXPECT_EQ(fScene->associations().at("old:arm").channelCount(), 1U);
}

TEST_F(ModelTest, RenamesOnEveryLevel) {
    using Texts = std::vector<std::string>;
    const auto rename = [&](const Selection& selection, const Texts& to) {
        const NewName name(patternsOf(selection, deepestLevel(selection)).texts(), to,
                           NamePatterns::As::kGlob);
        return renameParts(*fScene, selection, name).changed;
    };
    EXPECT_EQ(rename({patterns({"old:*"}), {}, {}}, {"new:*"}), 2U);
    EXPECT_EQ(rename({patterns({"new:arm", "rig"}), {}, {}}, {"rig", "new:arm"}), 2U);
    EXPECT_EQ(rename({{}, patterns({"joints", "debug"}), {}}, {"debug", "joints"}), 5U);
    EXPECT_EQ(rename({patterns({"*"}), {}, patterns({"pose", "rest"})}, {"rest", "pose"}), 5U);
    EXPECT_EQ(paths(),
              "/history/log /joints/log new:arm/debug/rest new:leg/joints/rest rig/debug/pose "
              "rig/debug/rest rig/joints/rest ");
}

TEST(NewName, PutsWhatWildcardsStoodForInTheirPlaces) {
    const struct {
        const char *pattern, *to, *name, *newName;
    } rows[] = {
        {"old:*", "new:*", "old:rig:arm", "new:rig:arm"},
        {"old:*", "new:*", "older", "-"},
        {"*_?_*", "*-?-*", "a_b_c_d_e", "a-b-c_d_e"},
        {"a\\*", "b", "a*", "b"},
        {"a", "b\\*", "a", "b*"},
        {"*", "*", "", "-"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(
            NewName({row.pattern}, {row.to}, NamePatterns::As::kGlob).of(row.name).value_or("-"),
            row.newName)
            << row.name;
}

TEST(NewName, WantsTheSameWildcardsOnBothSides) {
    for (const char* to : {"b", "b?", "**", "b\\*"})
        EXPECT_THROW(NewName({"a*"}, {to}, NamePatterns::As::kGlob), UsageError) << to;
    EXPECT_THROW(NewName({"a", "b", "c"}, {"b", "c"}, NamePatterns::As::kGlob), UsageError);
}

TEST(Renames, ListEveryCollision) {
    const struct {
        std::set<std::string> names;
        const char *pattern, *to, *collisions;
    } rows[] = {
        {{"a", "b"}, "a", "c", ""},
        {{"aa", "aaa", "b"}, "a*", "*", ""},
        {{"a", "b"}, "a", "b", "x \"a\" would be \"b\", which is there\n"},
        {{"a1", "b1"}, "?1", "?", ""},
        {{"1b", "2b"}, "?b", "b?\\?", ""},
        {{"a", "aa"}, "a*", "*", "x \"a\" would be \"\"\n"},
    };
    for (const auto& row : rows) {
        const NewName newName({row.pattern}, {row.to}, NamePatterns::As::kGlob);
        std::string collisions;
        planRenames(row.names, row.names, newName, "x", collisions);
        EXPECT_EQ(collisions, row.collisions) << row.pattern << " to " << row.to;
    }
}

TEST(Renames, RefuseTwoSourcesOfOneName) {
    std::string collisions;
    const NewName newName({"a", "b"}, {"c"}, NamePatterns::As::kGlob);
    const Renames renames = planRenames({"a", "b"}, {"a", "b"}, newName, "x", collisions);
    EXPECT_EQ(renames.selected, 2U);
    EXPECT_EQ(collisions, "x \"a\", \"b\" would be \"c\"\n");
}

TEST_F(ModelTest, KeepsValuesWhenAStructureGrows) {
    fScene->setStructures({fStructure.get()});
    replaceStructures(*fScene, {{"Tag", withMembers(*fStructure, {"float[3]=at", "int32=id"})}});
    const Data::Structure& longer = findStructure(*fScene, "Tag");
    EXPECT_EQ(longer.memberCount(), 3U);
    for (const StreamAddress& address : partsOf(*fScene, {}, Level::kStream)) {
        const Data::Stream& stream = findStream(*fScene, address);
        EXPECT_EQ(&stream.structure(), &longer);
        EXPECT_EQ(stream.element(3).get<int>("id"), 7);
        EXPECT_EQ((stream.element(3).get<std::array<std::string, 2>>("labels")),
                  (std::array<std::string, 2>{"a", "b"}));
        EXPECT_EQ((stream.element(3).get<std::array<float, 3>>("at")), (std::array<float, 3>{}));
    }
}

TEST_F(ModelTest, RefusesToRemoveAStructureAndNamesItsUsers) {
    fScene->setStructures({fStructure.get()});
    try {
        removeStructures(*fScene, {}, true);
        FAIL() << "it is in use";
    } catch (const CommandError& error) {
        const std::string message = error.what();
        EXPECT_EQ(message.find("structure \"Tag\" is in use: node (scene), channel \"debug\""), 0U)
            << message;
        EXPECT_NE(message.find("node rig, channel \"joints\", stream \"pose\""), message.npos);
    }
    EXPECT_EQ(removeStructures(*fScene, {{}, true}, true), 0U);
    fScene->associations().clear();
    EXPECT_THROW(removeStructures(*fScene, {}, false), CommandError);
    EXPECT_EQ(removeStructures(*fScene, {}, true), 1U);
}

}  // namespace
}  // namespace orbo::Quilmeta
