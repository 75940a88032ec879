// MEMBER=VALUE: what is stored, and how the rest is refused.
// SPDX-License-Identifier: Apache-2.0
#include "Assignment.h"
#include "Trouble.h"

#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

namespace orbo::Quilmeta {
namespace {

using Data::Member;

class AssignmentTest : public testing::Test {
  protected:
    AssignmentTest() {
        add(Member::kUInt8, 1, "layer");
        add(Member::kFloat, 3, "position");
        add(Member::kDoubleMatrix4x4, 2, "bind");
        add(Member::kString, 1, "label");
        add(Member::kString, 2, "tags");
        add(Member::kBoolean, 1, "hard");
        add(Member::kInt16, 1, "a=b");
        add(Member::kInt16, 1, "position[1]");
        fElement = Data::Handle(*fStructure);
    }
    void add(Member::eDataType type, unsigned int length, const char* name) {
        EXPECT_TRUE(fStructure->addMember(type, length, name));
    }
    void set(const std::string& assignment) { assign(*fStructure, fElement, assignment); }
    std::string get(const char* member, unsigned int slot = 0) {
        EXPECT_TRUE(fElement.setPositionByMemberName(member));
        return fElement.str(slot);
    }
    std::string refusal(const std::string& assignment) {
        try {
            set(assignment);
        } catch (const Trouble& trouble) {
            return trouble.what();
        }
        return "was taken";
    }

    RefPtr<Data::Structure> fStructure{Data::Structure::create()};
    Data::Handle fElement;
};

TEST_F(AssignmentTest, StoresWholeMembersAndSingleValues) {
    set("layer=255");
    EXPECT_EQ(get("layer"), "255");
    set("position= 0.5 -1\t2 ");
    EXPECT_EQ(get("position", 0) + get("position", 1) + get("position", 2), "0.5-12");
    set("position[2]=7");
    EXPECT_EQ(get("position", 0) + get("position", 1) + get("position", 2), "0.5-17");
    set("bind[1]=1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16");
    EXPECT_EQ(get("bind", 1), "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16");
    EXPECT_EQ(get("bind", 0), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0");
    set("hard=T");
    EXPECT_EQ(get("hard"), "true");
}

TEST_F(AssignmentTest, TakesStringsAsTheyAre) {
    set("label=first");
    set("label= a=b \"c\" ");
    EXPECT_EQ(get("label"), " a=b \"c\" ");
    set("label=");
    EXPECT_EQ(get("label"), "");
    set("tags[0]=x");
    set("tags[1]=\xFF");
    EXPECT_EQ(get("tags", 1), "\xFF");
}

TEST_F(AssignmentTest, FindsNamesThatLookLikeSyntax) {
    set("a=b=3");
    EXPECT_EQ(get("a=b"), "3");
    set("position[1]=4");
    EXPECT_EQ(get("position[1]"), "4");
    EXPECT_EQ(get("position", 1), "0");
}

TEST_F(AssignmentTest, NamesWhatItRefuses) {
    const struct {
        const char* assignment;
        const char* message;
    } rows[] = {
        {"layer", "\"layer\" is not MEMBER=VALUE"},
        {"colour=1",
         "structure \"structure\" has no member \"colour\" (members: layer, position, bind, label, "
         "tags, hard, a=b, position[1])"},
        {"Layer=1",
         "structure \"structure\" has no member \"Layer\" (members: layer, position, bind, label, "
         "tags, hard, a=b, position[1])"},
        {"layer=256", "\"layer\": \"256\" is out of range for uint8"},
        {"layer=-1", "\"layer\": \"-1\" is no value of type uint8"},
        {"layer=12abc", "\"layer\": \"12abc\" is no value of type uint8"},
        {"layer=", "\"layer\" takes 1 value, but 0 were given"},
        {"layer=1 2", "\"layer\" takes 1 value, but 2 were given"},
        {"layer[1]=1", "there is no \"layer[1]\": member \"layer\" has 1 value"},
        {"position=1 2", "\"position\" takes 3 values, but 2 were given"},
        {"position=1,2,3", "\"position\" takes 3 values, but 1 was given"},
        {"position[0]=1,5", "\"position[0]\": \"1,5\" is no value of type float"},
        {"position[3]=1", "there is no \"position[3]\": member \"position\" has 3 values"},
        {"bind=1", "\"bind\" takes 32 values, but 1 was given"},
        {"bind[1]=1", "\"bind[1]\" takes 16 values, but 1 was given"},
        {"tags=a b", "\"tags\" holds 2 strings: set one at a time, as in \"tags[0]=TEXT\""},
        {"hard=yes", "\"hard\": \"yes\" is no value of type bool"},
    };
    for (const auto& row : rows) EXPECT_EQ(refusal(row.assignment), row.message);
    for (const char* name : {"position[", "position[]", "position[x]", "position[-1]", "[0]", "",
                             "position[0]x", "position[4294967296]"})
        EXPECT_NE(refusal(std::string(name) + "=1").find("has no member"), std::string::npos)
            << name;
}

}  // namespace
}  // namespace orbo::Quilmeta
