// What is refused before a scene is touched, by every policy and by the careful one.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexString.h>
#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

#include "core/StructureRegistry.h"
#include "scenes/SceneTest.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/RecordReader.h"
#include "scenes/writing/ModelCompare.h"
#include "support/Cases.h"

namespace orbo::Data {
namespace {

void thirds(Handle& h) { h.asDouble()[0] = -0.0, h.asDouble()[1] = 1.0 / 3; }
void ends(Handle& h) { h.asDouble()[0] = 5e-324, h.asDouble()[1] = 1.79769e308; }
void asItIs(Handle&) {}
void noData(Handle& h) { h.pointToData(nullptr, false); }

class WritePolicyTest : public SceneTest {
  protected:
    void start(const WritePolicy& policy) {
        makeScene("A n1");
        ASSERT_TRUE(read());
        setPolicy(policy);
    }
    /// Under node "m".
    Stream& addStream(const Structure& structure, const std::string& name,
                      const std::string& channel = "c") {
        return *fAccessor.associations()["m"].channel(channel).setDataStream(
            Stream(structure, name));
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
        const RefPtr<Structure> read = readStructure(record(text), {}, none);
        Structure::registerStructure(*read);
    }
    const std::string text = oneStream("T", "0\ntrue false \"a\" \"\" 5\n1\n0 0 \"\" \"\" 6\n");
    auto& ours = fAccessor.associations()["m"];
    ours = *readAssociations(record(text), {}, none);
    Handle second = ours.findChannel("c")->findDataStream("s")->element(1);
    EXPECT_TRUE(second.setPositionByMemberName("words"));
    std::free(std::exchange(second.asString()[0], nullptr));
    const ReadSnapshot nothing;
    const WrittenModel model(fAccessor, nothing, false);
    for (const auto& row : rowsOf("scenes/data/differences.txt")) {
        SCOPED_TRACE(row.at(1));
        const auto theirs = readAssociations(record(replaced(text, row[0], row[1])), {}, none);
        ASSERT_TRUE(theirs);
        const bool same = row.at(2).empty();
        const auto difference = differenceOf(model, {{"m", *theirs}});
        EXPECT_EQ(difference ? difference->message : "",
                  same ? "" : row[2] + " would not read back as it is");
        EXPECT_EQ(isSame(ours, *theirs), same);
    }
    EXPECT_EQ(differenceOf(model, {})->message, "Node 'm' would not read back");
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

struct Carried {
    std::string names;  // structure|member|channel|stream
    Index index;
    std::string message;  // "@" is the place of the element; empty when it reads back
    Member::eDataType type = Member::kInt32;
    std::function<void(Handle&)> set = [](Handle&) {};
    WritePolicy policy = WritePolicy::careful();
};

class CarriedTest : public WritePolicyTest {
  protected:
    void check(const Carried& row) {
        SCOPED_TRACE(row.names + (" " + row.message));
        start(row.policy);
        const std::vector<std::string> names = split(row.names + "|", '|');
        const RefPtr<Structure> structure = makeStructure(names[0], row.type, names[1]);
        Handle handle(*structure);
        row.set(handle);
        Stream& stream = addStream(*structure, names[3], names[2]);
        stream.setIndexType("string");
        stream.setElement(row.index, handle);
        if (!row.message.empty())
            return expectRefusal(
                replaced(row.message, "@", "Node 'm', channel 'c', stream 's', index "));
        EXPECT_TRUE(write()) << fErrors;
        ASSERT_TRUE(read());
        const bool found = row.policy.addMissingStructures;
        EXPECT_EQ(model(), found ? "A " + names[0] + "|m n1" : "A|n1");
        EXPECT_EQ(fErrors.empty(), found);
        if (row.type != Member::kDouble) return;
        Handle back = this->stream("m").element(row.index);
        EXPECT_EQ(std::memcmp(back.asDouble(), handle.asDouble(), 2 * sizeof(double)), 0);
    }
};

TEST_F(CarriedTest, NamesAndIndicesAreOrAreRefused) {
    for (const auto& row : rowsOf("scenes/data/names.txt"))
        check({row.at(0), IndexString(row.at(1)), row.at(2)});
    check({"B|x|c|s", 7, "@7: index of another type than the stream's"});
}

TEST_F(CarriedTest, ValuesAreOrAreRefused) {
    using M = Member;
    const WritePolicy exact{true, false, false, true};
    const WritePolicy sixDigits{false, true, false, true};
    const WritePolicy nothingAdded{false, true, false, false};
    const auto check = [this](const std::string& message, M::eDataType type,
                              std::function<void(Handle&)> set,
                              const WritePolicy& policy = WritePolicy::careful()) {
        CarriedTest::check({"B|x|c|s", IndexString("i"), message, type, std::move(set), policy});
    };
    const std::string infinite = "@i: member 'x' is not a finite number";
    check(infinite, M::kDouble, [](Handle& h) { h.asDouble()[1] = -HUGE_VAL; });
    check(infinite, M::kFloat, [](Handle& h) { *h.asFloat() = NAN; });
    check(infinite, M::kDoubleMatrix4x4, [](Handle& h) { h.asDoubleMatrix4x4()[31] = HUGE_VAL; });
    check(infinite, M::kFloatMatrix4x4, [](Handle& h) { h.asFloatMatrix4x4()[16] = NAN; });
    check("", M::kUInt64, [](Handle& h) { h.asUInt64()[1] = ~0ULL; });
    check("", M::kString, [](Handle& h) { *h.asString() = nullptr; });
    check("", M::kBoolean, [](Handle& h) { h.asBoolean()[1] = true; });
    // The very same numbers, or none.
    check("", M::kDouble, ends);
    check("", M::kDouble, thirds);
    check("", M::kDouble, thirds, exact);
    check("@i: member 'x' would not read back as it is", M::kDouble, thirds, sixDigits);
    check("@i: element without data", M::kInt32, noData);
    check(
        "Could not write node associations statement to file.\nNode 'm': Member at record 1 not "
        "recognized",
        M::kInt32, noData, WritePolicy());
    check("Node 'm' would not read back\nStructure 'B' not found\n", M::kInt32, asItIs,
          nothingAdded);
    // By default they are the caller's to add, and the metadata cannot be read without.
    check("", M::kInt32, asItIs, WritePolicy());
}

}  // namespace
}  // namespace orbo::Data
