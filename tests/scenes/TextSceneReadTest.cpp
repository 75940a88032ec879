// Reading the metadata of text scenes.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexText.h>
#include <gmock/gmock.h>

#include "files/BackwardLineReader.h"
#include "scenes/SceneTest.h"
#include "support/Cases.h"

namespace orbo::Data {
namespace {

using TextSceneRead = SceneTest;

TEST_F(TextSceneRead, HeaderTable) {
    std::vector<std::vector<std::string>> rows = rowsOf("scenes/data/headers.txt");
    rows.push_back(
        {"//Quil ASCII 2016" + std::string(5000, ' ') + " scene\n", "Unexpected header end."});
    for (const auto& row : rows) {
        file() = row.at(0);
        EXPECT_EQ(read(), row.at(1).empty()) << row[0];
        EXPECT_EQ(fErrors, row[1]) << row[0];
        EXPECT_EQ(fAccessor.isFileSupported(fName), row[1].empty()) << row[0];
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
            const bool hasPlace = fAccessor.findings().front().offset.has_value();
            EXPECT_EQ(hasPlace, fErrors != "Could not open scene.kx") << fErrors;
        }
    }
    EXPECT_GT(calls, 8);
    EXPECT_EQ(messages, Names({"Could not open scene.kx", "Error reading header.",
                               "Could not seek previous block.", "Could not read block."}));
}

TEST_F(TextSceneRead, ModelsAndMessages) {
    const RefPtr<Structure> callers = makeStructure("A");
    ASSERT_TRUE(Structure::registerStructure(*callers));
    const auto registered = Structure::allStructures();
    for (std::vector<std::string> row : rowsOf("scenes/data/models.txt")) {
        SCOPED_TRACE(row.at(0));
        row.resize(4);
        file() = sceneFront() + statements(row[0]);
        if (row[0].find("end") == std::string::npos) file() += kLastLine;
        ASSERT_TRUE(read(row[3].empty() ? "*|*" : row[3]));
        EXPECT_THAT(fErrors, testing::StartsWith(row[2]));
        EXPECT_EQ(fErrors.empty(), row[2].empty());
        EXPECT_EQ(model(), row[1]);
        EXPECT_EQ(Structure::allStructures(), registered);
    }
    Structure::deregisterStructure(*callers);
    EXPECT_EQ(*stream("n1").element(0).asInt32(), 9) << "the earliest that can be read";
    fAccessor.associations().clear();
    EXPECT_EQ((*fAccessor.structures().begin())->refCount(), 1);

    file() = sceneFront() + statements("A n1 end B A2") + std::string(70000, ' ');
    ASSERT_TRUE(read());
    EXPECT_EQ(model(), "A|n1") << "nothing far behind the trailer is metadata, either";
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
    setPolicy(WritePolicy::careful());
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors, "An index type of the new metadata is not registered.");
}

// The scene's last statement is read, by its length, to know that it is no metadata.
TEST_F(TextSceneRead, LongLastStatementCostsItsLength) {
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

TEST_F(TextSceneRead, AFilterTakesOfSeveralRecordsTheLastInTheFile) {
    const struct {
        const char *words, *filter, *model, *value;
    } rows[] = {
        {"A n1=8 n1=9", "*|*", "A|n1", "x8"},
        {"A n1=8 n1=9", "*|n1", "A|n1", "x9"},
        {"A n1=8 n1=9", "A|n1", "A|n1", "x9"},
        {"A n1=8 n1=9", "A|*", "A|n1", "x8"},
        {"A n1=8 n1\"", "A|n1", "A|n1", "x7"},
        // But for those that cannot be read, as far as others are met.
        {"A n1=8 n1!", "A|n1", "A|n1", "x8"},
        {"n1=8 A n1!", "A|n1", "A|", nullptr},
        // Structures that only these nodes need are looked for, too.
        {"A n1=8 own", "|n1", "|n1", "x8"},
        {"n1=8 B A", "B|n1", "B|n1", "x8"},
        {"A A2 n1=8", "A|n1", "A|n1", "y8"},
        {"A A2 n1=8", "*|n1", "A|n1", "x8"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.words) + " " + row.filter);
        makeScene(row.words);
        ASSERT_TRUE(read(row.filter));
        EXPECT_EQ(model(), row.model);
        if (fAccessor.associations().count("n1") == 0) continue;
        Stream& found = stream("n1");
        EXPECT_EQ(found.structure().begin()->name() + found.element(0).str(0), row.value);
    }
}

TEST_F(TextSceneRead, AFilterEndsTheReadingOnceAllOfItIsMet) {
    file() = kHeader + std::string(100 << 20, '\n') + statements("A n1") + kLastLine;
    for (const WritePolicy& policy : {WritePolicy(), WritePolicy::careful()}) {
        setPolicy(policy);
        fSystem.bytesRead = 0;
        ASSERT_TRUE(read("A|n1"));
        EXPECT_EQ(model(), "A|n1");
        EXPECT_LE(fSystem.bytesRead, 6 * Files::BackwardLineReader::kBlockSize);
    }
}

// It sees conflicts in what it has met; the rest is for the write to find.
TEST_F(TextSceneRead, AReadingThatEndedEarlyIsGoodForAWrite) {
    setPolicy(WritePolicy::careful());
    makeScene("B n2 A n1");
    ASSERT_TRUE(read("A|n1"));
    edit("n1=9");
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("B A n2 n1=9"));
    ASSERT_TRUE(read("A|n1"));
    edit("n1=8");
    makeScene("n3 B A n2 n1=9");
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("B A n3 n2 n1=8"));
    ASSERT_TRUE(read("A|n1"));
    edit("n1=7");
    makeScene("n3 B A n2 n1=9");
    expectRefusal("The metadata in the file is no longer what was read.");
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
