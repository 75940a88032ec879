// What a read found, with its places.
// SPDX-License-Identifier: Apache-2.0
#include <data/Recovery.h>
#include <gmock/gmock.h>

#include <algorithm>

#include "accessors/BinaryScene.h"
#include "accessors/Messages.h"
#include "accessors/QuilBinaryFileAccessor.h"
#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

std::uint64_t lines(const std::string& text) {
    return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

/// "+2 text-unreadable n1": lines and bytes count from the first of the metadata.
std::string shown(const Finding& finding, const std::string& front) {
    std::string text = finding.tag;
    if (finding.line) {
        text += '+' + std::to_string(*finding.line - lines(front));
    } else if (finding.offset) {
        text += '@' + std::to_string(*finding.offset - front.size());
    }
    text += std::string(" ") + Finding::nameOf(finding.code);
    return finding.node ? text + ' ' + (finding.node->empty() ? "own" : *finding.node) : text;
}

std::string shown(const Accessor& scene, const std::string& front) {
    std::string all;
    for (const Finding& finding : scene.findings()) {
        all += (all.empty() ? "" : ", ") + shown(finding, front);
    }
    return all;
}

class FindingsTest : public SceneTest {};

TEST_F(FindingsTest, OfATextSceneHaveLines) {
    struct Row {
        std::string words, found;
    };
    const std::vector<Row> table = {
        {"A n1", ""},
        {"A n1 noTarget A2", "+4 statement-unreadable, +6 structure-differs"},
        {"n1 blank A! open blank n2! own!",
         "+1 text-unreadable n1, +4 text-unreadable, +5 statement-unclosed, "
         "+7 text-unreadable n2, +9 text-unreadable own"},
        {"applyMetadata -fmt \"odd\" -v \"\" n1;", "+1 format-unknown n1"},
    };
    for (const std::size_t longer : {0, 65535, 65536, 200000}) {
        for (const Row& row : table) {
            const std::string front = replaced(sceneFront(), "\tsetAttr \".o\" 1;\n",
                                               std::string(longer, '\n') + "\tsetAttr \".o\" 1;\n");
            file() = front + statements(row.words) + kLastLine;
            ASSERT_TRUE(read());
            EXPECT_EQ(shown(fAccessor, front), row.found) << row.words << longer;
            std::string messages;
            for (const Finding& finding : fAccessor.findings())
                addMessage(messages, finding.message);
            EXPECT_EQ(replaced(fErrors + "\n", "\n\n", "\n"), messages + "\n") << row.words;
        }
    }
}

TEST_F(FindingsTest, AreThoseOfTheLastCall) {
    makeScene("A n1!");
    EXPECT_TRUE(read());
    EXPECT_EQ(fAccessor.findings().size(), 1);
    EXPECT_TRUE(write());
    EXPECT_TRUE(fAccessor.findings().empty());
    file().erase(2, 1);
    EXPECT_FALSE(write());
    EXPECT_EQ(shown(fAccessor, ""), " write-failed");
    EXPECT_FALSE(read());
    EXPECT_EQ(shown(fAccessor, ""), "+1 not-a-scene");
    EXPECT_FALSE(fAccessor.read("absent.kx", fErrors));
    EXPECT_EQ(shown(fAccessor, ""), " file-unreadable");
}

TEST_F(FindingsTest, OfVeryManyOnlyTheNumberIsKept) {
    std::string words = "A";
    for (int i = 0; i < 3000; ++i) words += i % 3 == 0 ? " n1!" : " open";
    makeScene(words);
    EXPECT_TRUE(read());
    const auto& found = fAccessor.findings();
    ASSERT_EQ(found.size(), 1001U);
    EXPECT_EQ(found.back().code, Finding::Code::kMore);
    EXPECT_EQ(found.back().message, "2000 more are not listed.");
    EXPECT_EQ(fErrors.substr(fErrors.rfind('\n') + 1), found.back().message);
}

TEST_F(FindingsTest, OfABinarySceneHaveChunks) {
    const std::string good = structureChunk("name=A:int32=x");
    struct Row {
        std::string content, behind, found;
    };
    const std::vector<Row> table = {
        {good, "", ""},
        {good + nodeChunk("n1", "!") + structureChunk("?"), "xy",
         "MTDA@40 text-unreadable n1, DATS@72 text-unreadable, @120 end-misplaced"},
        {good + chunk("MTDA", "n1"), "", "MTDA@40 chunk-damaged"},
        {good + chunk("REFS", "12345678", 9), "", "REFS@40 chunk-damaged"},
        {good + "REFS", "", "@40 chunk-damaged"},
    };
    for (const Row& row : table) {
        BinaryScene scene(row.content);
        scene.behind = row.behind;
        fSystem.files["scene.ky"] = scene.bytes();
        QuilBinaryFileAccessor accessor;
        accessor.read("scene.ky", fErrors);
        EXPECT_EQ(shown(accessor, scene.front()), row.found);
    }
}

TEST_F(FindingsTest, OfACheckAreAlsoWhatReadersPassOver) {
    const std::string floats = structureStatement("name=F:float=x:double=y");
    const auto floatNode = [&](const std::string& elements) {
        return floats + nodeStatement("n1", oneStream("F", elements));
    };
    const std::string a = statement("A");
    struct Row {
        std::string statements, found;
        std::string end = kLastLine;
    };
    const std::vector<Row> table = {
        {statements("A n1 own B"), ""},
        {statements("A n1 n1=8 n1!"),
         "+4 node-repeated n1, +6 node-repeated n1, +6 text-unreadable n1"},
        {statements("A n1! n1=8"), "+2 text-unreadable n1"},
        {statements("A A2 n1"), "+2 structure-differs"},
        {statements("A A n1"), ""},
        {statements("A odd"), "+2 index-type-unknown n3"},
        {statements("A n2+"), "+2 text-passed-over n2, +2 text-passed-over n2"},
        {a + nodeStatement("n1", oneStream("A", "0\n7 more\n1\n8 more\n")),
         "+2 text-passed-over n1"},
        {a + nodeStatement("n1", replaced(oneStream("A", ""), "endChannel\n",
                                          "stream\nname s\nstructure A\nendStream\nendChannel\n")),
         "+2 text-passed-over n1"},
        {a + nodeStatement("n1", replaced(oneStream("A", ""), "channel\n",
                                          "channel\nname c\nstream\nname t\nstructure A\n"
                                          "endStream\nendChannel\nchannel\n")),
         "+2 text-passed-over n1"},
        {statements("B+"), "+1 text-passed-over"},
        {structureStatement("name=E:int32[0]=x"), "+1 text-passed-over, +1 rewrite-refused"},
        {floatNode("0\n0.1 0.1\n1\n0.1234567 1e300\n3\n0.12345678 -0\n"),
         "+2 number-beyond-six-digits n1"},
        {floatNode("0\n1 -inf\n"), "+2 text-unreadable n1, +2 number-not-finite n1"},
        {floatNode("0\n1.#INF 1\n"), "+2 text-unreadable n1, +2 number-not-finite n1"},
        {a + nodeStatement("n1", oneStream("A", "0\n7\n") + "more"), "+2 text-passed-over n1"},
        {a + nodeStatement("n1", "channel\nname c\nendChannel\n"), "+2 text-unreadable n1"},
        {a, "", kLastLine + "\n"},
        {a, "+4 leftover-bytes", kLastLine + "\nmore"},
        {a, "+2 trailer-missing", ""},
    };
    for (const Row& row : table) {
        const std::string front = sceneFront();
        file() = front + row.statements + row.end;
        const std::string before = file();
        const std::size_t found = fAccessor.check("scene.kx").size();
        EXPECT_EQ(found, fAccessor.findings().size());
        EXPECT_EQ(shown(fAccessor, front), row.found) << row.statements << row.end;
        EXPECT_EQ(file(), before);
        EXPECT_FALSE(fAccessor.writePolicy().verify);
    }
}

TEST_F(FindingsTest, OfACheckCountElementsForEachMember) {
    file() = sceneFront() + structureStatement("name=F:float[2]=x:flt4x4=m") +
             nodeStatement(
                 "n1", oneStream("F", "7\n1 0.1234567\n" + replaced("@@@@", "@", "1 2 3 4 ") +
                                          "\n9\n16777217 0.1234567\n" +
                                          replaced("@@@@", "@", "1 2 3 0.3333333333 ") + "\n")) +
             kLastLine;
    std::string messages;
    for (const Finding& finding : fAccessor.check("scene.kx")) messages += finding.message + "\n";
    EXPECT_EQ(
        messages,
        "Channel 'c', stream 's', member 'x' has a number of more than six digits: index 7 "
        "and 1 more\n"
        "Channel 'c', stream 's', member 'm' has a number of more than six digits: index 9\n");
}

TEST_F(FindingsTest, OfACheckBeginWithTheJournalAndLeaveItAlone) {
    makeScene("A n1!");
    const std::string journal = Recovery::inspect("scene.kx").journal;
    for (const auto& [content, found] : std::map<std::string, std::string>{
             {"", " journal-pending, +2 text-unreadable n1"},
             {std::string(4096, 'x'), " journal-orphaned"},
         }) {
        fSystem.files[journal] = content;
        const auto before = fSystem.files;
        fAccessor.check("scene.kx");
        EXPECT_EQ(shown(fAccessor, sceneFront()), found);
        EXPECT_EQ(fSystem.files, before);
    }
    fSystem.files.erase(journal);
    ASSERT_TRUE(read());
    edit("-n1 -A");
    fSystem.failAt(1, true, Files::Call::kSync);
    EXPECT_FALSE(write());
    fSystem.fails = [](Files::Call) { return false; };
    fAccessor.check("scene.kx");
    EXPECT_EQ(shown(fAccessor, sceneFront()), " journal-pending");
}

TEST_F(FindingsTest, OfACheckReachTheEndsOfChunks) {
    BinaryScene scene(chunk("DATS", strings("raw", "name=A:int32=x") + "more") +
                      chunk("SMTD", strings("name", "raw", oneStream("A", ""))));
    const auto check = [&] {
        fSystem.files["scene.ky"] = scene.bytes();
        QuilBinaryFileAccessor accessor;
        accessor.check("scene.ky");
        return shown(accessor, scene.front());
    };
    EXPECT_EQ(check(), "DATS@0 leftover-bytes, SMTD@40 leftover-bytes own");
    scene.trailerSize = 7;
    EXPECT_EQ(check(), " rewrite-refused, DATS@0 leftover-bytes, SMTD@40 leftover-bytes own");
    scene.behind = "x";
    EXPECT_THAT(check(), testing::EndsWith("SMTD@40 leftover-bytes own, @192 end-misplaced"));
    scene.mainSize = 7;
    EXPECT_EQ(check().substr(0, 4), "FOR8");
}

}  // namespace
}  // namespace orbo::Data
