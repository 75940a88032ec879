// What is refused before a scene is touched, by every policy and by the careful one.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexString.h>
#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

#include "accessors/ModelCompare.h"
#include "accessors/ModelText.h"
#include "accessors/RecordReader.h"
#include "accessors/SceneTest.h"
#include "core/StructureRegistry.h"

namespace orbo::Data {
namespace {

class WritePolicyTest : public SceneTest {
  protected:
    void start(const WritePolicy& policy) {
        makeScene("A n1");
        ASSERT_TRUE(read());
        fAccessor.setWritePolicy(policy);
    }
    /// The file stays as it is; the message begins so.
    void expectRefusal(const std::string& message) {
        const std::string before = file();
        EXPECT_FALSE(write());
        EXPECT_THAT(fErrors, testing::StartsWith(message));
        EXPECT_EQ(file(), before);
    }
    /// Under node "m".
    Stream& addStream(const Structure& structure, const std::string& name,
                      const std::string& channel = "c") {
        return *fAccessor.associations()["m"].channel(channel).setDataStream(
            Stream(structure, name));
    }
    void addStructure(const Structure& structure) {
        Accessor::StructureSet structures = fAccessor.structures();
        structures.insert(&structure);
        fAccessor.setStructures(structures);
    }
};

TEST_F(WritePolicyTest, EveryPolicyRefusesWhatCouldNotBeFoundAgain) {
    for (const WritePolicy& policy : {WritePolicy(), WritePolicy::careful()}) {
        start(policy);
        edit("//n=n1");
        expectRefusal("Node '//n': name cannot be written");
        edit("-//n");
        const RefPtr<Structure> b = makeStructure("B");
        addStructure(*b);
        b->setName("A");
        expectRefusal("Structure 'A' is there twice");
        b->setName("x\" ;y");
        expectRefusal(
            "Could not write structure chunk to file.\n"
            "Structure 'x\" ;y': name cannot be written");
        b->setName("B");
        addStream(*b, "s1");
        Channel other("other");
        other.setDataStream(addStream(*b, "s2"))->setElement(0, Handle(*b, nullptr));
        other.renameDataStream("s2", "s1");
        expectRefusal("Node 'm', channel 'c', stream 's1' is there twice");
    }
    const RefPtr<Structure> none(Structure::create());
    start(WritePolicy::careful());
    addStructure(*none);
    expectRefusal("Structure 'structure' has no members");
}

TEST_F(WritePolicyTest, TheCarefulOneRefusesStructuresThatChangedInTheFile) {
    start(WritePolicy::careful());
    edit("n1=8");
    file() = replaced(file(), "int32=x", "int32=y");
    expectRefusal("Structure 'A' in the file is another one than was read");
}

// Whatever it was that came back otherwise.
TEST_F(WritePolicyTest, WhatDoesNotReadBackIsNamed) {
    const StructureRegistry::SetAside ownRegistry;
    const auto record = [](const std::string& text) {
        return SceneRecord{SceneRecord::Kind::kAssociations, "raw", "m", text, {}};
    };
    Findings none;
    for (const char* text : {"name=T:bool[2]=flags:string[2]=words:int8=x", "name=U:int8=x"}) {
        const RefPtr<Structure> read = readStructure(record(text), none);
        Structure::registerStructure(*read);
    }
    const std::string text = oneStream("T", "0\ntrue false \"a\" \"\" 5\n1\n0 0 \"\" \"\" 6\n");
    auto& ours = fAccessor.associations()["m"];
    ours = *readAssociations(record(text), none);
    Handle second = ours.findChannel("c")->findDataStream("s")->element(1);
    EXPECT_TRUE(second.setPositionByMemberName("words"));
    std::free(std::exchange(second.asString()[0], nullptr));
    const std::string channel = "Node 'm', channel 'c'";
    const std::string stream = channel + ", stream 's'";
    const std::string more = "stream\nname t\nstructure U\nendStream\n";
    const struct {
        std::string from, to, place;
    } rows[] = {
        {"\"\"", "\"\"", ""},
        {"true", "false", stream + ", index 0: member 'flags' "},
        {"\"a\"", "\"b\"", stream + ", index 0: member 'words' "},
        {" 6", " 7", stream + ", index 1: member 'x' "},
        {"\n1\n", "\n2\n", stream + ", index 1: "},
        {"1\n0 0 \"\" \"\" 6\n", "", stream + ": "},
        {"indexType numeric", "indexType string", stream + ": "},
        {"name s", "name t", stream + ": "},
        {"endChannel", more + "endChannel", channel + ": "},
        {"name c", "name d", channel + ": "},
        {"endA", "channel\nname d\n" + more + "endChannel\nendA", "Node 'm': "},
        // Empty channels do not count.
        {"endA", "channel\nname d\nendChannel\nendA", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.to);
        const auto theirs = readAssociations(record(replaced(text, row.from, row.to)), none);
        ASSERT_TRUE(theirs);
        fErrors.clear();
        EXPECT_EQ(readBackIsSame(WrittenModel(fAccessor), {{"m", *theirs}}, fErrors),
                  row.place.empty());
        EXPECT_EQ(fErrors, row.place.empty() ? "" : row.place + "would not read back as it is");
        EXPECT_EQ(isSame(ours, *theirs), row.place.empty());
    }
    fErrors.clear();
    EXPECT_FALSE(readBackIsSame(WrittenModel(fAccessor), {}, fErrors));
    EXPECT_EQ(fErrors, "Node 'm' would not read back");
}

TEST_F(WritePolicyTest, WithoutAGoodReadThereIsNothingToWrite) {
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors, "Could not open  for writing.");
    file() = "//Quil ASCII 2013 scene\n" + kLastLine;
    ASSERT_FALSE(read());
    expectRefusal("Could not write scene.kx: the last read of it failed.");

    start(WritePolicy());
    file() = "no scene any more, but long enough\n";
    expectRefusal("Unexpected header start.");
    fSystem.files.clear();
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors, "Could not open scene.kx for writing.");
}

TEST_F(WritePolicyTest, WhatTheFormatsCannotCarryIsRefused) {
    struct Row {
        const char* names;  // structure|member|channel|stream
        Index index;
        std::string message;  // "@" is the place of the element; empty when it reads back
        Member::eDataType type = Member::kInt32;
        std::function<void(Handle&)> set = [](Handle&) {};
        WritePolicy policy = WritePolicy::careful();
    };
    const IndexString i("i");
    const std::string cannot = " cannot be written";
    const std::string infinite = "@i: member 'x' is not a finite number";
    const std::string blanks = ": index with a line feed or blanks at its ends";
    const auto thirds = [](Handle& h) { h.asDouble()[0] = -0.0, h.asDouble()[1] = 1.0 / 3; };
    const auto ends = [](Handle& h) { h.asDouble()[0] = 5e-324, h.asDouble()[1] = 1.79769e308; };
    const auto asItIs = [](Handle&) {};
    const auto noData = [](Handle& h) { h.pointToData(nullptr, false); };
    const Row rows[] = {
        {"B|x|c|s", IndexString(""), "@: empty index"},
        {"B|x|c|s", IndexString("endStream"), "@endStream: index reads as the end of the stream"},
        {"B|x|c|s", IndexString(" a"), "@ a" + blanks},
        {"B|x|c|s", IndexString("a\nb"), "@a\nb" + blanks},
        {"B|x|c|s", 7, "@7: index of another type than the stream's"},
        {"B|x|c|s ", i, "Node 'm', channel 'c', stream 's ': stream name" + cannot},
        {"B|x|c\nd|s", i, "Node 'm', channel 'c\nd': channel name" + cannot},
        {"B:C|x|c|s", i, "Structure 'B:C': name" + cannot},
        {"B|x=y|c|s", i, "Structure 'B': member name 'x=y'" + cannot},
        {"B| x|c|s", i, "Structure 'B': member name ' x'" + cannot},
        {"A|x|c|s", i,
         "Node 'm', channel 'c', stream 's': structure 'A' differs from the one of that name that "
         "is written"},
        {"B b|\\\"x|name|endChannel", IndexString("a b; \"\\"), ""},
        {"B|x||", i, ""},

        {"B|x|c|s", i, infinite, Member::kDouble, [](Handle& h) { h.asDouble()[1] = -HUGE_VAL; }},
        {"B|x|c|s", i, infinite, Member::kFloat, [](Handle& h) { *h.asFloat() = NAN; }},
        {"B|x|c|s", i, infinite, Member::kDoubleMatrix4x4,
         [](Handle& h) { h.asDoubleMatrix4x4()[31] = HUGE_VAL; }},
        {"B|x|c|s", i, infinite, Member::kFloatMatrix4x4,
         [](Handle& h) { h.asFloatMatrix4x4()[16] = NAN; }},
        {"B|x|c|s", i, "", Member::kUInt64, [](Handle& h) { h.asUInt64()[1] = ~0ULL; }},
        {"B|x|c|s", i, "", Member::kString, [](Handle& h) { *h.asString() = nullptr; }},
        {"B|x|c|s", i, "", Member::kBoolean, [](Handle& h) { h.asBoolean()[1] = true; }},
        // The very same numbers, or none.
        {"B|x|c|s", i, "", Member::kDouble, ends},
        {"B|x|c|s", i, "", Member::kDouble, thirds},
        {"B|x|c|s", i, "", Member::kDouble, thirds, {true, false, false, true}},
        {"B|x|c|s",
         i,
         "@i: member 'x' would not read back as it is",
         Member::kDouble,
         thirds,
         {false, true, false, true}},

        {"B|x|c|s", i, "@i: element without data", Member::kInt32, noData},
        {"B|x|c|s", i,
         "Could not write node associations statement to file.\n"
         "Member at record 1 not recognized as a Int32",
         Member::kInt32, noData, WritePolicy()},
        {"B|x|c|s",
         i,
         "Node 'm' would not read back\nStructure 'B' not found\n",
         Member::kInt32,
         asItIs,
         {false, true, false, false}},
        // By default they are the caller's to add, and the metadata cannot be read without.
        {"B|x|c|s", i, "", Member::kInt32, asItIs, WritePolicy()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.names + (" " + row.message));
        start(row.policy);
        const std::vector<std::string> names = split(row.names + std::string("|"), '|');
        const RefPtr<Structure> b = makeStructure(names[0], row.type, names[1]);
        Handle handle(*b);
        row.set(handle);
        Stream& stream = addStream(*b, names[3], names[2]);
        stream.setIndexType("string");
        stream.setElement(row.index, handle);
        if (!row.message.empty()) {
            const std::string place = "Node 'm', channel 'c', stream 's', index ";
            expectRefusal(replaced(row.message, "@", place));
            continue;
        }
        EXPECT_TRUE(write()) << fErrors;
        ASSERT_TRUE(read());
        const bool found = row.policy.addMissingStructures;
        EXPECT_EQ(model(), found ? "A " + names[0] + "|m n1" : "A|n1");
        EXPECT_EQ(fErrors.empty(), found);
        if (row.type != Member::kDouble) continue;
        Handle back = this->stream("m").element(row.index);
        EXPECT_EQ(std::memcmp(back.asDouble(), handle.asDouble(), 2 * sizeof(double)), 0);
    }
}

}  // namespace
}  // namespace orbo::Data
