// Reading the metadata of text scenes.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextSceneScanner.h"

#include <data/IndexText.h>
#include <gmock/gmock.h>

#include "accessors/SceneTest.h"
#include "files/MemoryFile.h"

namespace orbo::Data {
namespace {

using TextSceneRead = SceneTest;

TEST_F(TextSceneRead, HeaderTable) {
    const std::pair<std::string, std::string> rows[] = {
        {"//Quil ASCII 2016 scene\n", ""},
        {"//Quil ASCII 2014 scene\r\n", ""},
        {"//Quil ASCII 2099 whatever you like scene", ""},
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
        {"//Quil ASCII 2016" + std::string(5000, ' ') + " scene\n", "Unexpected header end."},
    };
    for (const auto& [line, message] : rows) {
        file() = line;
        EXPECT_EQ(read(), message.empty()) << line;
        EXPECT_EQ(fErrors, message) << line;
        EXPECT_EQ(fAccessor.isFileSupported("scene.kx"), message.empty()) << line;
    }
    fErrors.clear();
    for (const char* missing : {"", "other.kx"}) {
        EXPECT_FALSE(fAccessor.isFileSupported(missing));
        EXPECT_FALSE(fAccessor.read(missing, fErrors));
    }
    EXPECT_EQ(fErrors, "Empty file name.\nCould not open other.kx");
}

TEST_F(TextSceneRead, FailingCallsAreReported) {
    makeScene("A n1");
    Names messages;
    int calls = 0;
    for (const bool fromThenOn : {false, true}) {
        for (calls = 0;; ++calls) {
            fSystem.failAt(calls, fromThenOn);
            if (read()) break;
            EXPECT_EQ(model(), "|");
            messages.insert(fErrors);
        }
    }
    EXPECT_GT(calls, 8);
    EXPECT_EQ(messages, Names({"Could not open scene.kx", "Error reading header.",
                               "Could not seek previous block.", "Could not read block."}));
}

TEST_F(TextSceneRead, ModelsAndMessages) {
    const std::string structure = "dataStructure\n-fmt\n\"raw\"";
    const std::string associations = "applyMetadata\n-fmt\n\"raw\"";
    struct Row {
        std::string scene;
        std::string model;
        std::string errors = "";  // as much as there is here
        std::string filter = "*|*";
    };
    const Row rows[] = {
        {"n2 A own B n1", "A B|own n1 n2"},  // structures may come last
        {"A n1 end B A2", "A|n1"},           // nothing behind the trailer is metadata
        {"A n1 end B A2" + std::string(70000, ' '), "A|n1"},
        {"A end n1 end B", "A|n1"},
        // A command of the scene's ends the search, wherever nothing is open.
        {"B connectAttr; A n1", "A|n1"},
        {"B //x; blank setAttr\na; A n1", "A|n1"},
        {"A x\nselect; n1 \tsetAttr;\nrequires; B", "A B|n1"},
        {"open selection; A n1", "A|n1 selection"},

        {associations + "\n-v\n\"\" end n1;", "|",
         "Error tokenizing format/value for associations."},  // the trailer closes nothing
        {"A B n1 n2 own", "A|n2", "", "A|n2"},
        {"A B n1 n2 own", "|own n1", "", "|own n1"},
        {"A B n1 n2 own", "B|", "", "B none|none"},
        {"A B n1 n2 own", "|", "", "|"},
        {"A B n1 n2 own", "A B|n1", "", "*|n1"},
        {"A B n1 n2 own", "|own n1 n2", "", "n1|*"},

        {"A " + structure + "; n1", "A|n1", "Error tokenizing format/value for structure."},
        {associations + "; A n1", "A|n1", "Error tokenizing format/value for associations."},
        {"noTarget A n1", "A|n1", "Could not find Associations name."},
        {"dataStructure\n\"xml\"\"\";", "|", "Could not find serializer for format xml"},
        {"applyMetadata\n\"\"\"\"n;", "|", "Could not find serializer for format "},
        {structure + "\"name=C\";", "|", "Structures must have a name and at least one member"},
        {"n1", "|", "Structure 'A' not found\n"},
        {"A A A2", "A|", "Structure 'A' differs from an earlier one of that name"},
        {"n1! n1=9 n1=8 A", "A|n1", "Unrecognized keyword 'nonsense'"},
    };
    const RefPtr<Structure> callers = makeStructure("A");
    ASSERT_TRUE(Structure::registerStructure(*callers));
    const auto registered = Structure::allStructures();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.scene.substr(0, 80) + ", read " + row.filter);
        file() = sceneFront() + statements(row.scene);
        if (row.scene.find("end") == std::string::npos) file() += kLastLine;
        ASSERT_TRUE(read(row.filter));
        EXPECT_THAT(fErrors, testing::StartsWith(row.errors));
        EXPECT_EQ(fErrors.empty(), row.errors.empty());
        EXPECT_EQ(model(), row.model);
        EXPECT_EQ(Structure::allStructures(), registered);
    }
    Structure::deregisterStructure(*callers);
    EXPECT_EQ(*stream("n1").element(0).asInt32(), 9) << "the earliest that can be read";
    fAccessor.associations().clear();
    EXPECT_EQ((*fAccessor.structures().begin())->refCount(), 1);

    file() = teapot();
    ASSERT_TRUE(read());
    EXPECT_EQ(fErrors, "");
    EXPECT_EQ(model(), "Crease Face Tag Joint Vertex externalContentTable|own rig teapotShape");
    const Stream& joints =
        *fAccessor.associations().at("rig").findChannel("joints")->dataStream(0U);
    EXPECT_EQ(joints.name() + " " + joints.indexType(), "bind pose string");
    EXPECT_EQ(joints.elementCount(), 4U);
}

TEST_F(TextSceneRead, UnclosedStatementsEndInFrontOfTheTrailer) {
    const std::string text = "dataStructure S\nx\n";
    const std::string whole = text + kLastLine;
    Files::MemoryFile scene(whole);
    TextSceneScanner scanner(scene, 0, whole.size());
    SceneRecordRange range;
    EXPECT_EQ(scanner.findTrailer(), TextSceneScanner::Result::kTrailer);
    EXPECT_EQ(scanner.next(range), TextSceneScanner::Result::kStatement);
    EXPECT_FALSE(range.closed);
    EXPECT_EQ(range.end, text.size());
}

TEST_F(TextSceneRead, UnknownIndexTypesThrowUnlessTheyAreKept) {
    const RefPtr<Structure> callers = makeStructure("A");
    Structure::registerStructure(*callers);
    makeScene("A n1 odd");
    EXPECT_THROW(read(), Index::eCreationErrors);
    EXPECT_EQ(model(), "|");
    EXPECT_EQ(Structure::allStructures(), std::set<Structure*>({callers.get()}));
    Structure::deregisterStructure(*callers);
    EXPECT_FALSE(write());

    ReadPolicy policy;
    policy.unknownIndexTypesAsText = true;
    fAccessor.setReadPolicy(policy);
    ASSERT_TRUE(read());
    setNumber("n3", IndexText("odd", "ab"), 5);
    ASSERT_TRUE(write());
    EXPECT_EQ(section(),
              statements("A n1") + nodeStatement("n3", oneStream("A", "ab\n5\n", "odd")));

    fAccessor.setReadPolicy(ReadPolicy());
    fAccessor.setWritePolicy(WritePolicy::careful());
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors, "An index type of the new metadata is not registered.");
}

// The scene's last statement is read, by its length, to know that it is no metadata.
TEST_F(TextSceneRead, LongLastStatementCostsItsLengthAndNoMemory) {
    std::string last = "setAttr \".x\" -type \"doubleArray\"\n";
    for (int line = 0; line < 1'000'000; ++line) last += "\t0 1 2\n";
    file() = kHeader + std::string(1'000'000, '\n') + "createNode a;\n" + last + ";\n" + kLastLine;
    for (const bool writing : {false, true}) {
        fSystem.bytesRead = 0;
        ASSERT_TRUE(writing ? write() : read()) << fErrors;
        EXPECT_LE(fSystem.bytesRead, last.size() + 3 * Files::BackwardLineReader::kBlockSize);
        EXPECT_LE(fSystem.largestRead, Files::BackwardLineReader::kBlockSize);
    }
}

TEST_F(TextSceneRead, StopsAtTheSceneAndOnceEverythingIsFound) {
    const std::string filler = "//" + std::string(500'000, 'x');
    file() = kHeader + statements(filler + " createNode; select; A " + filler + " B") + kLastLine;
    ASSERT_TRUE(read());
    EXPECT_EQ(model(), "A B|");
    EXPECT_LT(fSystem.bytesRead, 700'000U) << "one filler";
    fSystem.bytesRead = 0;
    ASSERT_TRUE(read("B|"));
    EXPECT_EQ(model(), "B|");
    EXPECT_LT(fSystem.bytesRead, 200'000U) << "no filler";
}

}  // namespace
}  // namespace orbo::Data
