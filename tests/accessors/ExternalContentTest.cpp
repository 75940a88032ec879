// The table of external files: its rows, and finding it.
// SPDX-License-Identifier: Apache-2.0
#include <data/ExternalContent.h>

#include <random>
#include <stdexcept>
#include <utility>

#include "accessors/SceneTest.h"

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

/// A row with its texts, the raw one of its roles included.
class Row {
  public:
    explicit Row(Handle handle) : fHandle(std::move(handle)) {}
    explicit Row(Member::eDataType keyType = Member::kString) : fHandle(*rowStructure(keyType)) {}

    Handle& handle() { return fHandle; }
    void setRaw(const char* roles) {
        fHandle.setPositionByMemberName("roles");
        std::free(*fHandle.asString());
        *fHandle.asString() = ::strdup(roles);
    }
    std::string raw() {
        fHandle.setPositionByMemberName("roles");
        return fHandle.str(0);
    }
    Roles roles() {
        std::string ignored;
        Roles result{"left", "over"};
        EXPECT_TRUE(getEntry(fHandle, ignored, ignored, ignored, ignored, result));
        return result;
    }
    std::string entry() {
        std::string node, key, upath, rpath;
        Roles result;
        EXPECT_TRUE(getEntry(fHandle, node, key, upath, rpath, result));
        std::string text = node + "|" + key + "|" + upath + "|" + rpath;
        for (const std::string& role : result) text += "|" + role;
        return text;
    }

  private:
    Handle fHandle;
};

TEST(ExternalContentRow, RolesAreReadAndWrittenAsOneText) {
    const struct {
        const char* raw;
        Roles roles;
        const char* rewritten;
    } rows[] = {
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
    for (const auto& row : rows) {
        Row table;
        table.setRaw(row.raw);
        EXPECT_EQ(table.roles(), row.roles) << row.raw;
        EXPECT_TRUE(setEntry(table.handle(), "n", "k", "u", "r", row.roles));
        EXPECT_EQ(table.raw(), row.rewritten);
    }
}

TEST(ExternalContentRow, AnyRolesSurvive) {
    std::mt19937 random(7);
    Row row;
    for (int i = 0; i < 5000; ++i) {
        Roles roles;
        for (auto count = random() % 4; count > 0; --count) {
            std::string role;
            for (auto length = random() % 6; length > 0; --length) role += "-;*a"[random() % 4];
            roles.insert(role);
        }
        if (roles == Roles{""}) roles.clear();  // the documented loss
        ASSERT_TRUE(setEntry(row.handle(), "n", "k", "u", "r", roles));
        ASSERT_EQ(row.roles(), roles) << row.raw();
    }
}

TEST(ExternalContentRow, EditsLeaveTheOtherMembersAlone) {
    Row row;
    *row.handle().asDouble() = 0.1;
    EXPECT_TRUE(setEntry(row.handle(), "file1", "name", "u", "r", {"b", "a"}));
    EXPECT_TRUE(setEntry(row.handle(), "file1", "name", "u", "r2", {"b", "a"}));
    EXPECT_EQ(row.entry(), "file1|name|u|r2|a|b");
    EXPECT_TRUE(updateEntry(row.handle(), "p"));
    EXPECT_EQ(row.entry(), "file1|name|p|p|a|b");
    EXPECT_TRUE(updateEntry(row.handle(), "p", "q"));
    EXPECT_EQ(row.entry(), "file1|name|p|q|a|b");
    EXPECT_FALSE(updateEntry(row.handle(), std::string("cut\0off", 7), "r")) << "NUL";
    EXPECT_EQ(row.entry(), "file1|name|p|r|a|b");
    row.handle().setPositionByMemberIndex(0);
    EXPECT_EQ(*row.handle().asDouble(), 0.1);
}

TEST(ExternalContentRow, MembersMayBeOfAnyType) {
    const struct {
        Member::eDataType type;
        bool fits;
        const char* key;
        const char* expected;
    } rows[] = {
        {Member::kInt32, true, "-12", "-12"}, {Member::kInt32, false, "first", "7"},
        {Member::kUInt8, false, "300", "7"},  {Member::kDouble, true, "0.5", "0.5"},
        {Member::kInt64, false, "", "7"},     {Member::kFloatMatrix4x4, false, "1 x", nullptr},
    };
    for (const auto& row : rows) {
        Row table(row.type);
        EXPECT_EQ(setEntry(table.handle(), "m", "7", "u", "r", {}), row.expected != nullptr);
        const std::string before = table.entry();
        EXPECT_EQ(setEntry(table.handle(), "n", row.key, "u", "r", {}), row.fits) << row.key;
        if (row.expected)
            EXPECT_EQ(table.entry(), std::string("n|") + row.expected + "|u|r");
        else
            EXPECT_EQ(table.entry(), "n" + before.substr(1)) << "the member as it was";
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

TEST_F(ExternalContentTest, IsReadAloneFromAScene) {
    const std::string broken = structureStatement("name=Broken");
    const struct {
        const char* what;
        std::string section;
        bool found;
    } rows[] = {
        {"the table alone", kStructure + nodeStatement("-scn", kTable + kEnd), true},
        {"other channels, of a structure behind",
         kStructure + nodeStatement("-scn", kOther + kTable + kEnd) +
             structureStatement("name=Other:int32=x"),
         true},
        {"other nodes and damage",
         broken + nodeStatement("n", "channel") + kStructure +
             nodeStatement("-scn", kTable + kEnd) + nodeStatement("m", "stream"),
         true},
        {"no metadata", "", false},
        {"another structure", structureStatement("name=Other:int32=x"), false},
        {"nothing of the scene", kStructure + nodeStatement("n", kTable + kEnd), false},
        {"without its structure", nodeStatement("-scn", kTable + kEnd), false},
    };
    for (const auto& row : rows) {
        makeScene(row.section);
        Associations table;
        table.channel("before");
        std::string errors;
        EXPECT_EQ(readTable("scene.kx", table, errors), row.found) << row.what << errors;
        EXPECT_EQ(table.findChannel("before") == nullptr, row.found) << row.what;
        Stream* const stream = getStream(table);
        ASSERT_EQ(stream != nullptr, row.found) << row.what;
        if (!stream) continue;
        EXPECT_EQ(Row(stream->element(0)).entry(), "file1|name|u|r|a;b");
    }
}

TEST_F(ExternalContentTest, SaysWhyItCouldNotBeRead) {
    Associations table;
    std::string errors = "earlier";
    EXPECT_FALSE(readTable("scene.unknown", table, errors));
    EXPECT_EQ(errors, "earlier\nNo accessor found for type of file \"scene.unknown\"");
    errors.clear();
    EXPECT_FALSE(readTable("absent.kx", table, errors));
    EXPECT_EQ(errors, "Could not open absent.kx");
    EXPECT_TRUE(table.empty());
}

TEST_F(ExternalContentTest, IsFoundInTheSceneItselfOnly) {
    makeScene(kStructure + nodeStatement("n", kTable + kEnd));
    ASSERT_TRUE(read()) << fErrors;
    const Accessor& accessor = fAccessor;
    EXPECT_NE(getStream(fAccessor.associations().at("n")), nullptr);
    EXPECT_EQ(getStream(fAccessor), nullptr);
    EXPECT_EQ(getStream(accessor), nullptr);
    EXPECT_EQ(fAccessor.associations().count(""), 0U) << "looking does not make one";
    fAccessor.associations()[""].channel(getChannelName());
    EXPECT_EQ(getStream(fAccessor), nullptr);
    EXPECT_EQ(getStream(accessor), nullptr);

    fAccessor.associations()[""] = fAccessor.associations().at("n");
    ASSERT_NE(getStream(fAccessor), nullptr);
    EXPECT_EQ(getStream(fAccessor), getStream(accessor));
    EXPECT_EQ(theChannel, "externalContentTable/v1.0");
}

}  // namespace
}  // namespace orbo::Data::AccessorQuil::ExternalContent
