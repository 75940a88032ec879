// What structures and nodes are said to differ in.
// SPDX-License-Identifier: Apache-2.0
#include "Difference.h"

#include <data/AssociationsSerializerRaw.h>
#include <data/Stream.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace orbo::Quilmeta {
namespace {

RefPtr<Data::Structure> structureOf(const std::string& members) {
    std::istringstream in("name=S" + members);
    std::string errors;
    return RefPtr<Data::Structure>(Data::StructureSerializerRaw::theFormat().read(in, errors));
}

TEST(Difference, OfStructuresNamesEveryMember) {
    const struct {
        const char *ours, *theirs, *expected;
    } rows[] = {
        {":int8=a:float[3]=b", ":int8=a:float[3]=b", ""},
        {":int8=a", ":int8=a:float=b", "no member \"b\""},
        {":int8=a:float=b:bool=c", ":float=b", "extra member \"a\", extra member \"c\""},
        {":int8=a", ":uint8=a", "member \"a\" is int8 instead of uint8"},
        {":float[3]=a", ":float[4]=a", "member \"a\" is float[3] instead of float[4]"},
        {":float[3]=a", ":float=a", "member \"a\" is float[3] instead of float"},
        {":int8=a:int8=b", ":int8=b:int8=a", "members in the order a, b instead of b, a"},
        {":int8=a:bool=b", ":int8=b:int8=a",
         "member \"b\" is bool instead of int8, members in the order a, b instead of b, a"},
        {":int8=a", ":int8=b", "no member \"b\", extra member \"a\""},
        {":int8=x", ":int8=a:int8=b:int8=c:int8=d:int8=e:int8=f:int8=g:int8=h:int8=i:int8=x",
         "no member \"a\", no member \"b\", no member \"c\", no member \"d\", no member \"e\", "
         "no member \"f\", no member \"g\", no member \"h\", ..."},
    };
    for (const auto& row : rows) {
        const auto ours = structureOf(row.ours);
        const auto theirs = structureOf(row.theirs);
        ASSERT_TRUE(ours && theirs) << row.ours;
        EXPECT_EQ(differenceOf(*ours, *theirs), row.expected);
    }
}

/// From the text format; "S" has a string and two floats, "T" a bool.
class NodeDifferenceTest : public testing::Test {
  protected:
    NodeDifferenceTest() {
        Data::Structure::registerStructure(*fS);
        fT->setName("T");
        Data::Structure::registerStructure(*fT);
    }
    ~NodeDifferenceTest() override {
        Data::Structure::deregisterStructure(*fS);
        Data::Structure::deregisterStructure(*fT);
    }
    static std::string stream(const std::string& name, const std::string& elements,
                              const char* structure = "S", const char* indexType = "numeric") {
        return "stream\nname " + name + "\nindexType " + indexType + "\nstructure " + structure +
               "\n" + elements + "endStream\n";
    }
    static std::string channel(const std::string& name, const std::string& streams) {
        return "channel\nname " + name + "\n" + streams + "endChannel\n";
    }
    static Data::Associations node(const std::string& channels) {
        std::istringstream in(channels + "endAssociations\n");
        std::string errors;
        const std::unique_ptr<Data::Associations> read(
            Data::AssociationsSerializerRaw::theFormat().read(in, errors));
        EXPECT_TRUE(read) << errors;
        return read ? *read : Data::Associations();
    }
    /// Both are elements of one stream.
    static std::string ofElements(const std::string& ours, const std::string& theirs) {
        return differenceOf(node(channel("c", stream("s", ours))),
                            node(channel("c", stream("s", theirs))));
    }

    const RefPtr<Data::Structure> fS = structureOf(":string=text:float[2]=pair");
    const RefPtr<Data::Structure> fT = structureOf(":bool=b");
};

TEST_F(NodeDifferenceTest, IsTheFirstPlace) {
    const std::string s = stream("s", "");
    const struct {
        std::string ours, theirs, expected;
    } rows[] = {
        {channel("c", s), channel("c", s), ""},
        {channel("c", s) + channel("empty", ""), channel("c", s), ""},
        {channel("c", s), channel("c", s) + channel("empty", ""), ""},
        {channel("c", s), channel("c", s) + channel("d", s), "no channel \"d\""},
        {channel("b", s) + channel("c", s), channel("c", s), "extra channel \"b\""},
        {channel("c", s), channel("c", s + stream("t", "")), "channel \"c\": no stream \"t\""},
        {channel("c", s + stream("r", "")), channel("c", s), "channel \"c\": extra stream \"r\""},
        {channel("c", s), channel("c", stream("s", "", "T")),
         "channel \"c\": stream \"s\": structure \"S\" instead of \"T\""},
        {channel("c", s), channel("c", stream("s", "", "S", "pair")),
         "channel \"c\": stream \"s\": index type \"numeric\" instead of \"pair\""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(differenceOf(node(row.ours), node(row.theirs)), row.expected);
}

TEST_F(NodeDifferenceTest, IsInWhatASceneCanHold) {
    const std::string at = "channel \"c\": stream \"s\": ";
    const struct {
        std::string ours, theirs, expected;
    } rows[] = {
        {"3\n\"a\" 1 2\n5\n\"b\" 3 4\n", "5\n\"b\" 3 4\n3\n\"a\" 1 2\n", ""},
        {"3\n\"a\" 1 2\n", "3\n\"b\" 1 2\n", at + "other values at index 3"},
        {"3\n\"a\" 1 2\n", "3\n\"a\" 1 2.5\n", at + "other values at index 3"},
        {"3\n\"a\" 0 0\n", "3\n\"a\" 0 -0\n", at + "other values at index 3"},
        {"3\n\"a\" 1 2\n", "", at + "extra index 3"},
        {"", "3\n\"a\" 1 2\n", at + "no index 3"},
        {"3\n\"a\" 1 2\n", "2\n\"a\" 1 2\n3\n\"a\" 1 2\n", at + "no index 2"},
        {"2\n\"a\" 1 2\n3\n\"a\" 1 2\n", "3\n\"a\" 1 2\n", at + "extra index 2"},
    };
    for (const auto& row : rows) EXPECT_EQ(ofElements(row.ours, row.theirs), row.expected);

    // A string that is missing is written as an empty one.
    Data::Associations missing = node(channel("c", stream("s", "")));
    missing.findChannel("c")->findDataStream("s")->setElement(7, Data::Handle(*fS));
    const Data::Associations empty = node(channel("c", stream("s", "7\n\"\" 0 0\n")));
    EXPECT_EQ(differenceOf(missing, empty), "");
    EXPECT_EQ(differenceOf(empty, missing), "");
}

}  // namespace
}  // namespace orbo::Quilmeta
