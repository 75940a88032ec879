// The table of external files: its rows, and finding it.
// SPDX-License-Identifier: Apache-2.0
#include <data/ExternalContent.h>

#include <stdexcept>
#include <tuple>
#include <utility>

#include "scenes/SceneTest.h"

namespace orbo::Data::AccessorQuil::ExternalContent {
namespace {

using Roles = std::set<std::string>;

/// Statics may use the names, whatever is initialised first.
const std::string theChannel = getChannelName() + "/" + getStreamName();

RefPtr<Structure> rowStructure(Member::eDataType keyType = Member::kString) {
    RefPtr<Structure> structure(Structure::create());
    structure->setName(getStructureName().c_str());
    structure->addMember(Member::kDouble, 1, "weight");
    for (const char* name : {"rpath", "node", "upath", "roles"})
        structure->addMember(Member::kString, 1, name);
    structure->addMember(keyType, 1, "key");
    return structure;
}

/// A row and its texts.
struct Row {
    explicit Row(Handle row) : handle(std::move(row)) {}
    explicit Row(Member::eDataType keyType = Member::kString) : handle(*rowStructure(keyType)) {}

    /// The one text of all roles.
    char*& raw() {
        handle.setPositionByMemberName("roles");
        return *handle.asString();
    }
    bool set(const std::string& key, const Roles& given, const std::string& node = "n") {
        return setEntry(handle, node, key, "u", "r", given);
    }
    std::string entry() {
        std::string node, key, upath, rpath;
        roles = {"left", "over"};
        const Handle& fixed = handle;
        EXPECT_TRUE(getEntry(fixed, node, key, upath, rpath, roles));
        const std::string looked = node + key + upath + rpath;
        EXPECT_TRUE(getEntry(handle, node, key, upath, rpath, roles));
        EXPECT_EQ(node + key + upath + rpath, looked);
        return node + "|" + key + "|" + upath + "|" + rpath;
    }

    Handle handle;
    Roles roles;  ///< of the last entry
};

TEST(ExternalContentRow, RolesAreReadAndWrittenAsOneText) {
    const std::tuple<const char*, Roles, const char*> rows[] = {
        {"", {}, ""},
        {"a-*b;c--d", {"a;b", "c-d"}, "a-*b;c--d"},
        {"--*", {"-*"}, "--*"},
        {"---*;----", {"--", "-;"}, "----;---*"},
        // What no writer makes: a lone "-" stays, roles in any order and twice.
        {"-", {"-"}, "--"},
        {"b;-a;b;a-", {"-a", "a-", "b"}, "--a;a--;b"},
        {";", {""}, ""},
        {"a;", {"", "a"}, ";a"},
    };
    for (const auto& [raw, roles, rewritten] : rows) {
        Row row;
        row.raw() = ::strdup(raw);
        row.entry();
        EXPECT_EQ(row.roles, roles) << raw;
        EXPECT_TRUE(row.set("k", roles));
        EXPECT_STREQ(row.raw(), rewritten);
    }
    // Any roles survive, but for the documented loss.
    Picks picks;
    Row row;
    for (int i = 0; i < 5000; ++i) {
        Roles any;
        for (auto count = picks.below(4); count > 0; --count) {
            std::string role;
            for (auto length = picks.below(6); length > 0; --length)
                role += picks.anyOf({'-', ';', '*', 'a'});
            any.insert(role);
        }
        if (any == Roles{""}) any.clear();
        ASSERT_TRUE(row.set("k", any));
        row.entry();
        ASSERT_EQ(row.roles, any) << row.raw();
    }
}

TEST(ExternalContentRow, EditsLeaveTheOtherMembersAlone) {
    Row row;
    *row.handle.asDouble() = 0.1;
    EXPECT_TRUE(row.set("name", {"b", "a"}) && row.set("name", {"b", "a"}));
    EXPECT_EQ(row.entry(), "n|name|u|r");
    EXPECT_TRUE(updateEntry(row.handle, "p"));
    EXPECT_EQ(row.entry(), "n|name|p|p");
    EXPECT_TRUE(updateEntry(row.handle, "p", "q"));
    EXPECT_EQ(row.entry(), "n|name|p|q");
    EXPECT_FALSE(updateEntry(row.handle, std::string("cut\0off", 7), "r")) << "NUL";
    EXPECT_EQ(row.entry(), "n|name|p|r");
    EXPECT_EQ(row.roles, Roles({"a", "b"}));
    row.handle.setPositionByMemberIndex(0);
    EXPECT_EQ(*row.handle.asDouble(), 0.1);
}

TEST(ExternalContentRow, EditsSayWhichMembersCannotHoldTheirTexts) {
    using Names = std::vector<std::string>;
    const std::string cut("cut\0off", 7);
    Row row(Member::kInt32);
    EXPECT_EQ(setEntry(row.handle, "n", "1", "u", "r", {"a"}).failedMembers(), Names());
    EXPECT_EQ(setEntry(row.handle, "n", "first", "u", "r", {"a"}).failedMembers(), Names({"key"}));
    EXPECT_EQ(setEntry(row.handle, cut, "x", cut, cut, {cut}).failedMembers(),
              Names({"node", "key", "roles", "upath", "rpath"}));
    EXPECT_EQ(updateEntry(row.handle, cut).failedMembers(), Names({"upath", "rpath"}));
    EXPECT_EQ(updateEntry(row.handle, "u", cut).failedMembers(), Names({"rpath"}));
    EXPECT_EQ(row.entry(), "n|1|u|r");
    Handle noData(*rowStructure(), nullptr);
    EXPECT_EQ(updateEntry(noData, "p").failedMembers(), Names({"upath", "rpath"}));
}

TEST(ExternalContentRow, MembersMayBeOfAnyType) {
    const std::tuple<Member::eDataType, bool, const char*, const char*> rows[] = {
        {Member::kInt32, true, "-12", "-12"}, {Member::kInt32, false, "first", "7"},
        {Member::kUInt8, false, "300", "7"},  {Member::kDouble, true, "0.5", "0.5"},
        {Member::kInt64, false, "", "7"},     {Member::kFloatMatrix4x4, false, "1 x", nullptr},
    };
    for (const auto& [type, fits, key, expected] : rows) {
        Row row(type);
        EXPECT_EQ(row.set("7", {}, "m"), expected != nullptr);
        const std::string before = row.entry();
        EXPECT_EQ(row.set(key, {}), fits) << key;
        const std::string after = std::string("n|") + (expected ? expected : "") + "|u|r";
        EXPECT_EQ(row.entry(), expected ? after : "n" + before.substr(1)) << "or as it was";
    }
}

TEST(ExternalContentRow, NothingChangesWhereAMemberIsMissing) {
    const RefPtr<Structure> structure(Structure::create());
    for (const char* name : {"node", "key", "upath", "rpath"})
        structure->addMember(Member::kString, 1, name);
    Handle row(*structure);
    std::string text = "before";
    Roles roles{"before"};
    EXPECT_THROW(setEntry(row, "n", "k", "u", "r", {}), std::out_of_range);
    EXPECT_THROW(updateEntry(row, "p"), std::out_of_range);
    EXPECT_THROW(getEntry(row, text, text, text, text, roles), std::out_of_range);
    EXPECT_TRUE(row.isDefault());
    EXPECT_EQ(text, "before");
    EXPECT_EQ(roles, Roles{"before"});

    Handle noData(*rowStructure(), nullptr);
    EXPECT_FALSE(getEntry(noData, text, text, text, text, roles));
    EXPECT_TRUE(text.empty() && roles.empty());
    EXPECT_FALSE(setEntry(noData, "", "", "", "", {}));
}

const std::string kStructure = structureStatement(
    "name=externalContentTable:string=node:string=key:string=upath:string=rpath:string=roles");
const std::string kTable =
    "channel\nname externalContentTable\nstream\nname v1.0\nstructure externalContentTable\n"
    "0\n\\\"file1\\\" \\\"name\\\" \\\"u\\\" \\\"r\\\" \\\"a-*b\\\"\nendStream\nendChannel\n";
const std::string kOther =
    "channel\nname a\nstream\nname s\nindexType nobody knows\n"
    "structure Other\n1 2\n5\nendStream\nendChannel\n";
const std::string kEnd = "endAssociations\n";

class ExternalContentTest : public SceneTest {};

TEST_F(ExternalContentTest, IsReadAloneFromASceneOrSaysWhyNot) {
    const std::string ofScene = nodeStatement("-scn", kTable + kEnd);
    const std::string other = structureStatement("name=Other:int32=x");
    const std::pair<std::string, bool> rows[] = {
        {kStructure + ofScene, true},
        // Other channels, of a structure behind; other nodes, and damage.
        {kStructure + nodeStatement("-scn", kOther + kTable + kEnd) + other, true},
        {structureStatement("name=Broken") + nodeStatement("n", "channel") + kStructure + ofScene +
             nodeStatement("m", "stream"),
         true},
        {"", false},
        {other, false},
        {kStructure + nodeStatement("n", kTable + kEnd), false},
        {ofScene, false},
    };
    Associations table;
    for (const auto& [section, found] : rows) {
        makeScene(section);
        table = Associations();
        table.channel("before");
        EXPECT_EQ(readTable(fName, table, fErrors), found) << section << fErrors;
        EXPECT_EQ(table.findChannel("before") == nullptr, found) << section;
        Stream* const stream = getStream(table);
        ASSERT_EQ(stream != nullptr, found) << section;
        if (!stream) continue;
        Row row(stream->element(0));
        EXPECT_EQ(row.entry(), "file1|name|u|r");
        EXPECT_EQ(row.roles, Roles{"a;b"});
    }
    for (const auto& [name, why] : std::map<std::string, std::string>{
             {"scene.unknown", "No accessor found for type of file \"scene.unknown\""},
             {"absent.kx", "Could not open absent.kx"}}) {
        std::string errors = "earlier";
        EXPECT_FALSE(readTable(name, table, errors));
        EXPECT_EQ(errors, "earlier\n" + why);
    }
}

TEST_F(ExternalContentTest, IsFoundInTheSceneItselfOnly) {
    makeScene(kStructure + nodeStatement("n", kTable + kEnd));
    ASSERT_TRUE(read()) << fErrors;
    const Accessor& accessor = fAccessor;
    auto& nodes = fAccessor.associations();
    EXPECT_TRUE(getStream(nodes.at("n")) && !getStream(fAccessor) && !getStream(accessor));
    EXPECT_EQ(nodes.count(""), 0U) << "looking does not make one";
    nodes[""].channel(getChannelName());
    EXPECT_TRUE(!getStream(fAccessor) && !getStream(accessor));
    nodes[""] = nodes.at("n");
    ASSERT_NE(getStream(fAccessor), nullptr);
    EXPECT_EQ(getStream(fAccessor), getStream(accessor));
    EXPECT_EQ(theChannel, "externalContentTable/v1.0");
}

}  // namespace
}  // namespace orbo::Data::AccessorQuil::ExternalContent
