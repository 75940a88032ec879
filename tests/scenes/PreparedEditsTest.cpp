// Reads that only look, and what makes up for it when the program comes to write after all.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/BinaryScene.h"
#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

template <typename SceneAccessor>
class PreparedEdits : public SceneTestOf<SceneAccessor> {
  protected:
    using Test = SceneTestOf<SceneAccessor>;

    void SetUp() override {
        const std::string structure = "name=A:int32=x", odd = "0\n7\n";
        this->file() =
            Test::kIsText
                ? sceneFront() + statements("A n1 n2=3 n1=4 n3! own") + kLastLine
                : BinaryScene(structureChunk(structure) + nodeChunk("n1", oneStream("A", odd)) +
                              nodeChunk("n2", oneStream("A", "0\n3\n")) +
                              nodeChunk("n1", oneStream("A", "0\n4\n")) +
                              nodeChunk("n3", "nonsense") + nodeChunk("", oneStream("A", odd)))
                      .bytes();
        fScene = this->file();
    }
    void setPolicies(bool prepares, bool onDemand, bool detects) {
        ReadPolicy reading;
        reading.preparesEdits = prepares;
        reading.nodesOnDemand = onDemand;
        this->fAccessor.setReadPolicy(reading);
        WritePolicy writing = WritePolicy::careful();
        writing.detectConflicts = detects;
        this->setPolicy(writing);
    }
    void readAnew() {
        this->file() = fScene;
        ASSERT_TRUE(this->read()) << this->fErrors;
        for (const char* node : {"n1", "n2"}) this->fAccessor.load(node, this->fErrors);
    }
    /// What a write makes of the scene when another program has written it since the read.
    std::string afterWrite(const std::string& edits) {
        this->edit(edits);
        this->file() = replaced(this->file(), Test::kIsText ? "\\n3\\n" : "\n3\n",
                                Test::kIsText ? "\\n5\\n" : "\n5\n");
        const bool isDone = this->write();
        return std::to_string(isDone) + this->fErrors + this->file();
    }

    std::string fScene;
};

using Kinds = testing::Types<QuilAsciiFileAccessor, QuilBinaryFileAccessor>;
TYPED_TEST_SUITE(PreparedEdits, Kinds, );

TYPED_TEST(PreparedEdits, MakeTheSameWriteLater) {
    for (const bool onDemand : {false, true}) {
        for (const bool detects : {false, true}) {
            for (const char* edits : {"", "n1=9", "n2=8", "-n2", "n1=9 -n2"}) {
                this->setPolicies(true, onDemand, detects);
                this->readAnew();
                const std::string expected = this->afterWrite(edits);
                this->setPolicies(false, onDemand, detects);
                this->readAnew();
                EXPECT_TRUE(this->fAccessor.isEdited());
                this->fAccessor.prepareEdits();
                EXPECT_FALSE(this->fAccessor.isEdited());
                EXPECT_TRUE(this->fAccessor.readPolicy().preparesEdits);
                EXPECT_EQ(this->afterWrite(edits), expected) << edits << onDemand << detects;
            }
        }
    }
}

TYPED_TEST(PreparedEdits, AreDemandedByWrites) {
    this->setPolicies(false, false, true);
    this->readAnew();
    const std::string refusal = "Could not write " + this->fName + ": it was read to be looked at";
    this->expectRefusal(refusal);
    this->setNumber("n2", 0, 6);
    this->expectRefusal(refusal);
    EXPECT_FALSE(this->fAccessor.rehearse(this->fErrors));
    // What was changed too early counts as read.
    this->fAccessor.prepareEdits();
    EXPECT_TRUE(this->write()) << this->fErrors;
    EXPECT_EQ(this->file(), this->fScene);
    this->setNumber("n2", 0, 5);
    EXPECT_TRUE(this->write()) << this->fErrors;
    EXPECT_NE(this->file(), this->fScene);
}

}  // namespace
}  // namespace orbo::Data
