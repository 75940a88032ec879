// What is refused before a scene is touched, by every policy and by the careful one.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>

#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

const std::string kA = structureStatement("name=A:int32=x");
const std::string kN1 = nodeStatement("n1", oneStream("A", "0\n7\n"));

RefPtr<Structure> makeStructure(const char* name, Member::eDataType type = Member::kInt32,
                                const char* member = "x") {
    RefPtr<Structure> structure(Structure::create());
    structure->setName(name);
    structure->addMember(type, 2, member);
    return structure;
}

class WritePolicyTest : public SceneTest {
  protected:
    void SetUp() override { start(WritePolicy()); }

    void start(const WritePolicy& policy) {
        makeScene(kA + kN1);
        ASSERT_TRUE(read());
        fAccessor.setWritePolicy(policy);
    }
    /// The file stays as it is; the message says so and so.
    void expectRefusal(const std::string& message) {
        const std::string before = file();
        EXPECT_FALSE(write()) << message;
        EXPECT_EQ(fErrors, message);
        EXPECT_EQ(file(), before);
    }
    /// Under node "m" and channel "c".
    Stream& addStream(const Structure& structure, const char* name = "s",
                      const char* channel = "c") {
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
        const Associations n1 = fAccessor.associations().at("n1");
        for (const std::string name : {"a b", "a\nb", "a;", "\"", "-scn", "//n"}) {
            fAccessor.associations()[name] = n1;
            expectRefusal("Node '" + name + "': name cannot be written");
            fAccessor.associations().erase(name);
        }
        const RefPtr<Structure> b = makeStructure("B");
        addStructure(*b);
        b->setName("A");
        expectRefusal("Structure 'A' is there twice");
        b->setName("x\" ;y");
        expectRefusal(
            "Could not write structure chunk to file.\n"
            "Structure 'x\" ;y': name cannot be written");
        b->setName("B");
        Stream first = addStream(*b, "s1");
        const Stream second = addStream(*b, "s2");
        Channel other("other");
        other.setDataStream(second)->setElement(0, Handle(*b));
        other.renameDataStream("s2", "s1");
        expectRefusal("Node 'm', channel 'c', stream 's1' is there twice");
    }
}

TEST_F(WritePolicyTest, ElementWithoutDataIsRefused) {
    const RefPtr<Structure> b = makeStructure("B");
    addStructure(*b);
    Handle empty(*b);
    empty.pointToData(nullptr, false);
    addStream(*b).setElement(3, empty);
    EXPECT_FALSE(write());
    EXPECT_THAT(fErrors,
                testing::StartsWith("Could not write node associations statement to "
                                    "file.\nMember at record 1 not recognized as a Int32"));
    fAccessor.associations()[""] = fAccessor.associations().at("m");
    fAccessor.associations().erase("m");
    EXPECT_FALSE(write());
    EXPECT_THAT(fErrors, testing::StartsWith("Could not write scene associations statement to "
                                             "file.\nMember at record 1"));
    fAccessor.setWritePolicy(WritePolicy::careful());
    expectRefusal("Scene, channel 'c', stream 's', index 3: element without data");
}

TEST_F(WritePolicyTest, WithoutAGoodReadThereIsNothingToWrite) {
    QuilAsciiFileAccessor never;
    EXPECT_FALSE(never.write(fErrors));
    EXPECT_EQ(fErrors, "Could not open  for writing.");
    file() = "//Quil ASCII 2013 scene\n" + kTrailer;
    ASSERT_FALSE(read());
    expectRefusal("Could not write scene.kx: the last read of it failed.");

    start(WritePolicy());
    file() = "no scene any more, but long enough\n";
    expectRefusal("Unexpected header start.");
    fSystem.files.clear();
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors, "Could not open scene.kx for writing.");
}

TEST_F(WritePolicyTest, ExactNumbersReadBackAsTheVerySame) {
    const double values[] = {0.1, 1.0 / 3, -0.0, 5e-324, 1.7976931348623157e308, 123456789.125};
    for (const double value : values) {
        for (const bool exact : {false, true}) {
            WritePolicy policy;
            policy.exactNumbers = exact;
            start(policy);
            const RefPtr<Structure> b = makeStructure("B", Member::kDouble);
            addStructure(*b);
            Handle handle(*b);
            handle.asDouble()[1] = value;
            addStream(*b).setElement(0, handle);
            ASSERT_TRUE(write());
            EXPECT_EQ(section().find("0 0.333333\\n") != std::string::npos,
                      !exact && value == 1.0 / 3);
            if (!exact) continue;
            ASSERT_TRUE(read()) << fErrors;
            const double back = streamOf(fAccessor, "m").element(0).asDouble()[1];
            EXPECT_EQ(back, value);
            EXPECT_EQ(std::signbit(back), std::signbit(value));
        }
    }
}

TEST_F(WritePolicyTest, VerifyRefusesDigitsThatGetLost) {
    WritePolicy policy = WritePolicy::careful();
    policy.exactNumbers = false;
    start(policy);
    const RefPtr<Structure> b = makeStructure("B", Member::kFloat, "weight");
    addStructure(*b);
    Handle handle(*b);
    Stream& stream = addStream(*b);
    stream.setElement(0, handle);
    handle.asFloat()[1] = 1.0F / 3;
    stream.setElement(5, handle);
    expectRefusal(
        "Node 'm', channel 'c', stream 's', index 5: member 'weight' would not read "
        "back as it is");
    fAccessor.setWritePolicy(WritePolicy::careful());
    EXPECT_TRUE(write()) << fErrors;
}

TEST_F(WritePolicyTest, CarefulRefusesNumbersThatAreNone) {
    struct Row {
        Member::eDataType type;
        std::function<void(Handle&)> set;
        bool fine;
    };
    const double inf = std::numeric_limits<double>::infinity();
    const Row rows[] = {
        {Member::kDouble, [&](Handle& h) { h.asDouble()[1] = -inf; }, false},
        {Member::kFloat, [](Handle& h) { h.asFloat()[0] = std::nanf(""); }, false},
        {Member::kDoubleMatrix4x4, [&](Handle& h) { h.asDoubleMatrix4x4()[31] = inf; }, false},
        {Member::kFloatMatrix4x4, [](Handle& h) { h.asFloatMatrix4x4()[16] = std::nanf(""); },
         false},
        {Member::kUInt64, [](Handle& h) { h.asUInt64()[1] = ~0ULL; }, true},
        {Member::kString, [](Handle& h) { *h.asString() = nullptr; }, true},
        {Member::kBoolean, [](Handle& h) { h.asBoolean()[1] = true; }, true},
    };
    for (const Row& row : rows) {
        start(WritePolicy::careful());
        const RefPtr<Structure> b = makeStructure("B", row.type, "m");
        Handle handle(*b);
        row.set(handle);
        Stream& stream = addStream(*b);
        stream.setIndexType("pair");
        stream.setElement(IndexPair(1, 2), handle);
        if (row.fine) {
            EXPECT_TRUE(write()) << fErrors;
        } else {
            expectRefusal(
                "Node 'm', channel 'c', stream 's', index 1 2: member 'm' is not a "
                "finite number");
        }
    }
}

TEST_F(WritePolicyTest, CarefulRefusesNamesAndIndicesThatTheFormatsCannotCarry) {
    using Build = std::function<void(const Structure&)>;
    const auto withIndex = [&](const Index& index) -> Build {
        return [this, index](const Structure& b) {
            Stream& stream = addStream(b);
            stream.setIndexType("string");
            stream.setElement(index, Handle(b));
        };
    };
    const auto withNames = [&](const char* stream, const char* channel) -> Build {
        return [=](const Structure& b) { addStream(b, stream, channel); };
    };
    struct Row {
        const char* structure;
        const char* member;
        Build build;
        const char* message;
    };
    const std::string at = "Node 'm', channel 'c', stream 's', index ";
    const Row rows[] = {
        {"B", "x", withIndex(IndexString("")), ": empty index"},
        {"B", "x", withIndex(IndexString("endStream")),
         "endStream: index reads as the end of the stream"},
        {"B", "x", withIndex(IndexString(" a")),
         " a: index with a line feed or blanks at its ends"},
        {"B", "x", withIndex(IndexString("a\nb")),
         "a\nb: index with a line feed or blanks at its ends"},
        {"B", "x", withIndex(7), "7: index of another type than the stream's"},
        {"B", "x", withNames("s ", "c"),
         "Node 'm', channel 'c', stream 's ': stream name cannot be written"},
        {"B", "x", withNames("s", "c\nd"),
         "Node 'm', channel 'c\nd': channel name cannot be written"},
        {"B:C", "x", withNames("s", "c"), "Structure 'B:C': name cannot be written"},
        {"B", "x=y", withNames("s", "c"), "Structure 'B': member name 'x=y' cannot be written"},
        {"B", " x", withNames("s", "c"), "Structure 'B': member name ' x' cannot be written"},
        {"A", "x", withNames("s", "c"),
         "Node 'm', channel 'c', stream 's': structure 'A' differs from the one of that name that "
         "is written"},
        {"B b", "\\\"x", withIndex(IndexString("a b; \"\\")), ""},
        {"B", "x", withNames("", ""), ""},
        {"B", "x", withNames("name x", "endChannel"), ""},
    };
    for (const Row& row : rows) {
        start(WritePolicy::careful());
        const RefPtr<Structure> b = makeStructure(row.structure, Member::kInt32, row.member);
        row.build(*b);
        const std::string message = row.message;
        if (message.empty()) {
            EXPECT_TRUE(write()) << fErrors;
            ASSERT_TRUE(read());
            EXPECT_EQ(fErrors, "");
        } else {
            const bool whole = message.rfind("Node", 0) == 0 || message.rfind("Struct", 0) == 0;
            expectRefusal(whole ? message : at + message);
        }
    }
    start(WritePolicy::careful());
    const RefPtr<Structure> none(Structure::create());
    addStructure(*none);
    expectRefusal("Structure 'structure' has no members");
}

TEST_F(WritePolicyTest, CarefulAddsTheStructuresThatStreamsUse) {
    const RefPtr<Structure> b = makeStructure("B");
    addStream(*b).setElement(1, Handle(*b));
    ASSERT_TRUE(write());
    EXPECT_EQ(section().find("name=B"), std::string::npos);
    ASSERT_TRUE(read());
    EXPECT_EQ(model(), "A | n1") << "nobody knows the structure";

    start(WritePolicy::careful());
    addStream(*b).setElement(1, Handle(*b));
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section().find(kA + structureStatement("name=B:int32[2]=x")), 0U);

    start({false, true, false, false});
    addStream(*b).setElement(1, Handle(*b));
    EXPECT_FALSE(write());
    EXPECT_THAT(fErrors, testing::StartsWith("Node 'm' would not read back\n"
                                             "Structure 'B' not found\n"));
}

}  // namespace
}  // namespace orbo::Data
