// Reading the metadata of text scenes.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexText.h>
#include <data/StructureSerializer.h>
#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

using testing::HasSubstr;

const std::string kA = structureStatement("name=A:int32=x");
const std::string kOtherA = structureStatement("name=A:float=y");
const std::string kB = structureStatement("name=B:string=s");
const std::string kN1 = nodeStatement("n1", oneStream("A", "0\n7\n"));
const std::string kN2 = nodeStatement("n2", oneStream("B", "0\n\\\"seven\\\"\n"));
const std::string kSceneOwn = nodeStatement("-scn", oneStream("A", "0\n9\n"));

class TextSceneRead : public SceneTest {
  protected:
    int number(const std::string& node) { return *streamOf(fAccessor, node).element(0).asInt32(); }
};

TEST_F(TextSceneRead, HeaderTable) {
    struct Row {
        std::string line;
        const char* message;
    };
    const Row rows[] = {
        {"//Quil ASCII 2016 scene\n", ""},
        {"//Quil ASCII 2016 scene", ""},
        {"//Quil ASCII 2014 scene\r\n", ""},
        {"//Quil ASCII 2099 whatever you like scene\n", ""},
        {"", "Error reading header."},
        {"\n", "Header too small."},
        {"//Quil ASCII 201 scene\r\n", "Header too small."},
        {"// Quil ASCII 2016 scene\n", "Unexpected header start."},
        {"//Quil ASCII_2016 scene\n", "Unexpected header start."},
        {"//Quil ASCII 2016 scenes\n", "Unexpected header end."},
        {"//Quil ASCII 2016 scene \n", "Unexpected header end."},
        {"//Quil ASCII 2016 scene\r\r\n", "Unexpected header end."},
        {"//Quil ASCII 2013 scene\n", "Unsupported year."},
        {"//Quil ASCII abcd scene\n", "Unsupported year."},
        {"//Quil ASCII  2016 scene\n", "Unsupported year."},
        {"//Quil ASCII 2016" + std::string(5000, ' ') + " scene\n", "Unexpected header end."},
    };
    for (const Row& row : rows) {
        file() = row.line;
        const bool good = *row.message == '\0';
        EXPECT_EQ(read(), good) << row.line;
        EXPECT_EQ(fErrors, row.message) << row.line;
        EXPECT_EQ(fAccessor.isFileSupported("scene.kx"), good);
    }
    EXPECT_FALSE(fAccessor.isFileSupported(""));
    EXPECT_FALSE(fAccessor.isFileSupported("other.kx"));
}

TEST_F(TextSceneRead, SaysWhyThereIsNoFile) {
    EXPECT_FALSE(fAccessor.read("", fErrors));
    EXPECT_FALSE(fAccessor.read("other.kx", fErrors));
    EXPECT_EQ(fErrors, "Empty file name.\nCould not open other.kx");
}

TEST_F(TextSceneRead, FailingCallsAreReported) {
    makeScene(kA + kN1);
    std::set<std::string> messages;
    int calls = 0;
    for (const bool fromThenOn : {false, true}) {
        for (calls = 0;; ++calls) {
            fSystem.failAt(calls, fromThenOn);
            if (read()) break;
            EXPECT_EQ(model(), "|");
            EXPECT_FALSE(fErrors.empty());
            messages.insert(fErrors);
        }
    }
    EXPECT_GT(calls, 8);
    EXPECT_EQ(messages, Names({"Could not open scene.kx", "Error reading header.",
                               "Could not seek previous block.", "Could not read block."}));
}

TEST_F(TextSceneRead, BuildsTheModel) {
    makeScene(kN2 + kA + kSceneOwn + kB + kN1);
    ASSERT_TRUE(read());
    EXPECT_EQ(fErrors, "");
    EXPECT_EQ(model(), "A B | '' n1 n2") << "structures may come last";
    EXPECT_EQ(number("n1"), 7);
    EXPECT_EQ(number(""), 9);
    EXPECT_STREQ(*streamOf(fAccessor, "n2").element(0).asString(), "seven");
    EXPECT_TRUE(Structure::allStructures().empty());
}

TEST_F(TextSceneRead, NothingBehindTheTrailerIsMetadata) {
    for (const std::size_t distance : {1, 70000}) {
        file() = sceneFront() + kA + kN1 + kTrailer + kB + kOtherA + std::string(distance, '\n');
        ASSERT_TRUE(read());
        EXPECT_EQ(fErrors, "");
        EXPECT_EQ(model(), "A | n1") << distance;
    }
}

TEST_F(TextSceneRead, FiltersByName) {
    makeScene(kA + kB + kN1 + kN2 + kSceneOwn);
    struct Row {
        Names structures;
        Names associations;
        const char* model;
    };
    const Row rows[] = {
        {{"A"}, {"n2"}, "A | n2"},
        {{}, {"", "n1"}, "| '' n1"},
        {{"B"}, {}, "B |"},
        {{"B", "none"}, {"none"}, "B |"},
        {{}, {}, "|"},
    };
    for (const Row& row : rows) {
        ASSERT_TRUE(read(&row.structures, &row.associations));
        EXPECT_EQ(fErrors, "");
        EXPECT_EQ(model(), row.model);
    }
    const Names onlyN1 = {"n1"};
    ASSERT_TRUE(read(nullptr, &onlyN1));
    EXPECT_EQ(model(), "A B | n1");
    ASSERT_TRUE(read(&onlyN1, nullptr));
    EXPECT_EQ(model(), "| '' n1 n2");
}

TEST_F(TextSceneRead, EarliestOfOneNameCounts) {
    const std::string again = nodeStatement("n1", oneStream("A", "0\n8\n"));
    const std::string unreadable = nodeStatement("n1", "nonsense");
    makeScene(unreadable + kN1 + again + kA + kA + kOtherA);
    ASSERT_TRUE(read());
    EXPECT_EQ(model(), "A | n1");
    EXPECT_EQ(number("n1"), 7);
    EXPECT_THAT(fErrors, HasSubstr("'nonsense'"));
    EXPECT_THAT(fErrors, HasSubstr("\nStructure 'A' differs from an earlier one of that name"));
}

TEST_F(TextSceneRead, StatementsThatCannotBeUsedGetAMessageEach) {
    struct Row {
        std::string statement;
        const char* message;
    };
    const Row rows[] = {
        {"dataStructure -fmt \"raw\";\n", "Error tokenizing format/value for structure."},
        {"dataStructure -fmt \"raw\" -as \"a\"\n", "Error tokenizing format/value for structure."},
        {"applyMetadata -fmt \"raw\";\n", "Error tokenizing format/value for associations."},
        {"applyMetadata -fmt \"raw\" -v \"\";\n", "Could not find Associations name."},
        {"dataStructure -fmt \"xml\" -as \"\";\n", "Could not find serializer for format xml"},
        {"applyMetadata -fmt \"\" -v \"\" n;\n", "Could not find serializer for format "},
        {structureStatement("name=C"), "Structures must have a name and at least one member"},
        {nodeStatement("n", oneStream("C", "")), "Structure 'C' not found\n"},
    };
    for (const Row& row : rows) {
        makeScene(kA + row.statement + kN1);
        ASSERT_TRUE(read()) << row.statement;
        EXPECT_THAT(fErrors, testing::StartsWith(row.message));
        EXPECT_EQ(model(), "A | n1");
    }
}

TEST_F(TextSceneRead, UnknownIndexTypesThrowUnlessTheyAreKept) {
    const RefPtr<Structure> callers(Structure::create());
    Structure::registerStructure(*callers);
    makeScene(kA + kN1 + nodeStatement("n3", oneStream("A", "ab\n1\n", "odd")));
    EXPECT_THROW(read(), Index::eCreationErrors);
    EXPECT_EQ(model(), "|");
    EXPECT_EQ(Structure::allStructures(), std::set<Structure*>({callers.get()}));
    Structure::deregisterStructure(*callers);
    EXPECT_FALSE(write());

    ReadPolicy policy;
    policy.unknownIndexTypesAsText = true;
    fAccessor.setReadPolicy(policy);
    ASSERT_TRUE(read());
    EXPECT_TRUE(streamOf(fAccessor, "n3").hasElement(IndexText("odd", "ab")));
    setNumber(fAccessor, "n3", IndexText("odd", "ab"), 5);
    ASSERT_TRUE(write());
    EXPECT_EQ(section(), kA + kN1 + nodeStatement("n3", oneStream("A", "ab\n5\n", "odd")));

    fAccessor.setReadPolicy(ReadPolicy());
    fAccessor.setWritePolicy(WritePolicy::careful());
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors, "An index type of the new metadata is not registered.");
}

TEST_F(TextSceneRead, ExampleScene) {
    std::ostringstream scene;
    scene << std::ifstream(METADATA_SCENES_DIR "/teapot.kx", std::ios::binary).rdbuf();
    file() = scene.str();
    ASSERT_TRUE(read());
    EXPECT_EQ(fErrors, "");
    EXPECT_EQ(model(), "Crease Face Tag Joint Vertex externalContentTable | '' rig teapotShape");
    Stream& joints = *fAccessor.associations().at("rig").findChannel("joints")->dataStream(0U);
    EXPECT_EQ(joints.name(), "bind pose");
    EXPECT_EQ(joints.indexType(), "string");
    EXPECT_EQ(joints.elementCount(), 4U);
}

}  // namespace
}  // namespace orbo::Data
