// What can be read of a node that as a whole cannot be: to be looked at, and never written.
// SPDX-License-Identifier: Apache-2.0
#include <data/AssociationsSerializerRaw.h>

#include <memory>
#include <sstream>

#include "scenes/BinaryScene.h"
#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

const std::string kWide = structureStatement("name=W:int8=a:float[2]=b:string=c:bool=d:flt4x4=m");
const std::string kMatrix = "1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1";

std::string streamOf(const std::string& name, const std::string& elements) {
    return "stream\nname " + name + "\nindexType numeric\nstructure W\n" + elements + "endStream\n";
}
std::string element(int index, const std::string& values, const std::string& matrix = kMatrix) {
    return std::to_string(index) + "\n" + values + " " + matrix + "\n";
}
std::string channels(const std::string& streamsOfC, const std::string& streamsOfD) {
    return "channel\nname c\n" + streamsOfC + "endChannel\nchannel\nname d\n" + streamsOfD +
           "endChannel\nendAssociations\n";
}
const std::string kGood = element(5, "1 2 3 \"x\" true");

std::string written(const Associations& associations) {
    std::ostringstream out;
    std::string errors;
    AssociationsSerializerRaw::theFormat().write(associations, out, errors);
    return errors + out.str();
}

class PartialNodes : public SceneTest {
  protected:
    PartialNodes() {
        ReadPolicy policy;
        policy.partialNodes = true;
        fAccessor.setReadPolicy(policy);
    }
    static std::string place(const Finding& finding) {
        return finding.node.value_or("-") + "|" + finding.channel.value_or("-") + "|" +
               finding.stream.value_or("-") + "|" + finding.index.value_or("-") + "|" +
               finding.member.value_or("-");
    }
    [[nodiscard]] const Finding* found(Finding::Code code) const {
        for (const Finding& finding : fAccessor.findings()) {
            if (finding.code == code) return &finding;
        }
        return nullptr;
    }
};

// The finding names the first bad value; the rest of the node is there, with defaults.
TEST_F(PartialNodes, HoldEveryElementThatCanBeRead) {
    const std::string zeros = replaced(kMatrix, "1", "0");
    const struct {
        std::string elements, place, message, read;
    } rows[] = {
        {element(0, "1 oops 3 \"x\" true") + kGood, "0|b", "'oops' cannot be read as float",
         element(0, "1 0 3 \"x\" true") + kGood},
        {kGood + element(6, "300 2 1e99 \"x\" true"), "6|a", "'300' cannot be read as int8",
         kGood + element(6, "0 2 0 \"x\" true")},
        {element(0, "1 2 3 x\" true") + kGood, "0|c", "'x\"' cannot be read as string",
         element(0, "1 2 3 \"\" true") + kGood},
        {element(0, "1 2 3 \"x\" yes") + kGood, "0|d", "'yes' cannot be read as bool",
         element(0, "1 2 3 \"x\" false") + kGood},
        {element(0, "1 2 3 \"x\" t", "- " + kMatrix.substr(2)) + kGood, "0|m",
         "'-' cannot be read as flt4x4",
         element(0, "1 2 3 \"x\" true", "0 " + kMatrix.substr(2)) + kGood},
        {element(0, "1 2 3 \"x\" t", replaced(kMatrix, "1", "x")) + kGood, "0|m",
         "'x' cannot be read as flt4x4", element(0, "1 2 3 \"x\" true", zeros) + kGood},
        {"bad\n1 2 3 \"x\" true " + kMatrix + "\n" + kGood, "-|-",
         "'bad' is no index of type numeric", kGood},
    };
    for (const auto& row : rows) {
        const std::string good = streamOf("t", kGood);
        const std::string text = channels(streamOf("s", row.elements) + good, good);
        file() =
            sceneFront() + kWide + nodeStatement("n1", replaced(text, "\"", "\\\"")) + kLastLine;
        ASSERT_TRUE(read());
        const Finding* const bad = found(Finding::Code::kValueUnreadable);
        ASSERT_NE(bad, nullptr) << row.elements;
        EXPECT_EQ(place(*bad), "n1|c|s|" + row.place);
        EXPECT_TRUE(bad->line);
        EXPECT_EQ(bad->message.substr(bad->message.find(": ") + 2), row.message);
        EXPECT_EQ(fErrors.find("cannot be read as"), std::string::npos);
        ASSERT_NE(found(Finding::Code::kNodePartial), nullptr);
        EXPECT_EQ(written(fAccessor.associations().at("n1")),
                  channels(streamOf("s", row.read) + good, good));
        writeKeeping({"applyMetadata"});
        // Without the policy there is nothing of it.
        fAccessor.setReadPolicy({});
        ASSERT_TRUE(read());
        EXPECT_EQ(model(), "W|");
        ReadPolicy policy;
        policy.partialNodes = true;
        fAccessor.setReadPolicy(policy);
    }
}

TEST_F(PartialNodes, LackTheStreamsWithoutAStructureAndGiveWayToAWholeRecord) {
    const std::string good = streamOf("t", kGood);
    const std::string lost = replaced(streamOf("s", kGood), "structure W", "structure V");
    const std::string text = replaced(channels(lost + good, good), "\"", "\\\"");
    file() = sceneFront() + kWide + nodeStatement("n1", text) + statements("n2! A n2") + kLastLine;
    ASSERT_TRUE(read());
    EXPECT_EQ(model(), "A W|n1 n2");
    EXPECT_EQ(written(fAccessor.associations().at("n1")), channels(good, good));
    edit("n2=9");
    EXPECT_TRUE(write()) << fErrors;
}

// Whatever the policy, what the caller did to it would be lost.
TEST_F(PartialNodes, AreKeptAsTheyAreAndCannotBeChanged) {
    const std::string bad = nodeStatement("n2", oneStream("A", "0\n7\n1\nbad\n2\n9\n"));
    for (const WritePolicy& policy : {WritePolicy(), WritePolicy::careful(), inPlace()}) {
        setPolicy(policy);
        for (const char* const word : {"n2=8", "-n2", "n2=n1"}) {
            file() = sceneFront() + statements("A n1") + bad + statement("n3") + kLastLine;
            ASSERT_TRUE(read());
            EXPECT_EQ(model(), "A|n1 n2 n3");
            edit("n3=4");
            writeKeeping({bad, node("n3", "4")});
            edit(word);
            expectRefusal("Node 'n2' was read in part: it cannot be changed or removed.");
            ASSERT_TRUE(read());
            edit("n1=5");
            writeKeeping({bad, node("n1", "5")});
        }
    }
}

TEST(BinaryPartialNodes, HaveTheOffsetOfTheirChunk) {
    Files::ScriptedFileSystem system;
    const Files::FileSystem::Replacement replaced(system);
    BinaryScene scene(structureChunk("name=A:int32=x") +
                      nodeChunk("n1", oneStream("A", "0\n7\n1\nbad\n")));
    system.files["scene.ky"] = scene.bytes();
    QuilBinaryFileAccessor accessor;
    ReadPolicy policy;
    policy.partialNodes = true;
    accessor.setReadPolicy(policy);
    std::string errors;
    ASSERT_TRUE(accessor.read("scene.ky", errors));
    const Finding& bad = accessor.findings().at(1);
    EXPECT_EQ(bad.code, Finding::Code::kValueUnreadable);
    EXPECT_TRUE(bad.offset && bad.tag == "MTDA" && bad.node == "n1" && bad.index == "1");
    const std::string before = system.files["scene.ky"];
    EXPECT_TRUE(accessor.write(errors)) << errors;
    EXPECT_EQ(system.files["scene.ky"], before);
    accessor.associations().clear();
    EXPECT_FALSE(accessor.write(errors));
    EXPECT_EQ(system.files["scene.ky"], before);
}

}  // namespace
}  // namespace orbo::Data
