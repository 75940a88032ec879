// What a write keeps, replaces and drops in a text scene.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/SceneTest.h"
#include "support/Cases.h"

namespace orbo::Data {
namespace {

using TextSceneWrite = SceneTest;

TEST_F(TextSceneWrite, Decisions) {
    for (std::vector<std::string> row : rowsOf("scenes/data/decisions.txt")) {
        SCOPED_TRACE(row.at(0));
        const std::string& after = row.at(3);
        const bool readsAll = row.size() == 4 || row[4] == "*|*";
        makeScene(row[1]);
        ASSERT_TRUE(read(readsAll ? "*|*" : row[4]));
        edit(row[2]);
        if (row.size() > 5) makeScene(row[5]);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(section(), statements(after));
        // A further write changes nothing, nor does one of somebody who read what stands there.
        writeKeeping({});
        if (!readsAll || row.size() > 5) continue;
        ASSERT_TRUE(read());
        writeKeeping({});
        EXPECT_EQ(section(), statements(after));
    }
}

// What is kept beside a written namesake must not get in the way of the check, nor of later reads.
TEST_F(TextSceneWrite, AKeptNamesakeHidesNothing) {
    makeScene("A n1! n1");
    ASSERT_TRUE(read());
    setPolicy(WritePolicy::careful());
    edit("n1=9");
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("A n1=9 n1!"));
    ASSERT_TRUE(read("*|n1"));
    EXPECT_EQ(model(), "A|n1");
}

TEST_F(TextSceneWrite, FirstSectionGoesInFrontOfTheTrailer) {
    const std::string front = sceneFront();
    const std::string small = "Could not seek to trailer start.";
    const std::string none = "Could not find trailer prefix.";
    const std::string lost = "Failed reading line while searching metadata end.";
    const std::size_t fixed = kHeader.size() + kLastLine.size();
    const struct {
        const char* name;
        std::string scene;
        std::string message;  // by default
        std::string anySize = "";
    } rows[] = {
        {"usual", front + kLastLine, ""},
        {"behind the trailer", front + kLastLine + "more;\n" + statement("n1"), ""},
        {"small", kHeader + std::string(1023 - fixed, '\n') + kLastLine, small},
        {"1024 bytes", kHeader + std::string(1024 - fixed, '\n') + kLastLine, ""},
        {"far", front + kLastLine + std::string(1020, '\n'), none},
        {"none", front, none, none},
        {"small, none", kHeader, small, none},
        {"section without", front + statement("A"), lost, lost},
    };
    for (const auto& row : rows) {
        for (const bool anySize : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (anySize ? ", any size" : ""));
            makeScene("A n1");
            ASSERT_TRUE(read());
            edit("+Z");
            setPolicy({false, false, anySize, false});
            file() = row.scene;
            const std::string message = anySize ? row.anySize : row.message;
            if (!message.empty()) {
                expectRefusal(message);
                continue;
            }
            ASSERT_TRUE(write()) << fErrors;
            std::string expected = row.scene;
            const std::string guard = row.scene.find(front) == 0 ? "" : "//;\n";
            EXPECT_EQ(file(),
                      expected.insert(expected.find(kLastLine), guard + statements("A Z n1")));
        }
    }
}

TEST_F(TextSceneWrite, StatementsWithMoreInThemStayUntilTheyAreEdited) {
    const auto start = [this](const char* edits) {
        makeScene("A~ n1~ n2");
        ASSERT_TRUE(read());
        EXPECT_EQ(model() + fErrors, "A|n1 n2");
        edit(edits);
    };
    start("n2=9");
    setPolicy(WritePolicy::careful());
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("A~ n1~ n2=9"));
    edit("-n1");
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("A~ n2=9"));

    start("n1=9");
    expectRefusal("Node 'n1': its statement holds more than is written of it");
    setPolicy(WritePolicy());
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("A~ n1=9 n2"));
    ASSERT_EQ(fAccessor.findings().size(), 1U);
    const Finding& loss = fAccessor.findings().front();
    EXPECT_EQ(loss.code, Finding::Code::kTextPassedOver);
    EXPECT_EQ(loss.node, "n1");
    EXPECT_EQ(loss.offset, (sceneFront() + statement("A~")).size());
}

// A ";" in the middle keeps us from taking them as statements, but not others.
TEST_F(TextSceneWrite, KeepsStatementsThatOnlyOthersTakeFromActingWhenNoMetadataIsLeft) {
    const std::string unread = "applyMetadata -fmt \"raw\" -v \"endAssociations\"; 1 other;\n";
    file() = sceneFront() + statements("A n1") + unread + kLastLine;
    ASSERT_TRUE(read());
    fAccessor.clear();
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), "//\n" + unread);

    const std::string nobodys = "applyMetadata -fmt \"raw\"; 1 other;\n";
    file() = sceneFront() + statements("A n1") + nobodys + kLastLine;
    ASSERT_TRUE(read());
    fAccessor.clear();
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), nobodys);
}

// The literal reader looks at each of these writes, see the fixture.
TEST_F(TextSceneWrite, KeepsOthersFromGluingLinesToTheFirstStatement) {
    const std::string front = sceneFront();
    const std::pair<std::string, bool> rows[] = {
        {front, false},
        {front + "proc p() {\n}\n", true},
        {front + "proc p() {\n};\n", false},
        {front + "\t}  \r\n\r\n\n", true},
        {front + "x; \t\r\n\n", false},
        {front + "// note\n", true},
        {front + "// note;\n", false},
        {front + "x; // note\n", true},
        {front + "//\n", true},
        // Lines like the guard's that no write has put there.
        {front + "}\n//;\n", true},
        {front + "}\n//;\n//;\n", true},
        {front + "//;\n", false},
        {front + "}\n//;\n\n", false},
        {front + "}\n//;\r\n", false},
        {kHeader, true},
        {replaced(front, "\n", "\r\n"), false},
        {replaced(kHeader, "\n", "\r\n"), true},
    };
    WritePolicy policy;
    policy.anySize = true;
    for (const auto& [before, guarded] : rows) {
        SCOPED_TRACE(before.substr(before.size() - 9));
        makeScene("A n1");
        ASSERT_TRUE(read());
        edit("n1=8");
        setPolicy(policy);
        file() = before + kLastLine;
        ASSERT_TRUE(write()) << fErrors;
        const std::string guard = guarded ? "//;\n" : "";
        EXPECT_EQ(file(), before + guard + statements("A n1=8") + kLastLine);
        ASSERT_TRUE(read());
        edit("n2=n1");
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), before + guard + statements("A n1=8 n2=8") + kLastLine);
        edit("-n2");
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), before + guard + statements("A n1=8") + kLastLine);
        edit("-n1 -A");
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), before + kLastLine);
    }
}

// Scenes of good, broken and foreign lines: whatever is not readable metadata survives.
class JunkScenes : public SceneTest {
  protected:
    /// Each holds tokens of its own, for "@", and cannot become part of a text that is readable.
    std::string junk(bool inside = false) {
        std::string lines;
        for (unsigned int count = fPicks.below(3); count > 0; --count) {
            fTokens.push_back("tok" + std::to_string(fTokens.size()) + "_");
            const std::string form =
                inside ? fPicks.anyOf({"@;", "// @;", "// @", "setAttr @;", "dataStructure @;",
                                       "applyMetadata @"})
                       : fPicks.anyOf({"@;", "\t@", "// @;", "\"@", "setAttr @", "setAttr @;",
                                       "\tsetAttr @;", "dataStructure @;",
                                       "dataStructure -fmt \"raw\" -as \"@",
                                       "dataStructure -fmt \"raw\" -as \"name=@\";",
                                       "dataStructure -fmt \"@\" -as \"name=A:int32=x\";",
                                       "applyMetadata -fmt \"raw\" -v \"@\"",
                                       "applyMetadata -fmt \"raw\" -v \"@\" n1;",
                                       "applyMetadata \"\" \"\" n1; @;"});
            lines += replaced(form, "@", fTokens.back()) + (fPicks.below(5) == 0 ? "\r\n" : "\n");
        }
        return lines;
    }
    /// Junk between any two lines, those inside statements included.
    std::string randomSection() {
        std::string section;
        for (unsigned int count = fPicks.below(12); count > 0; --count) {
            section += junk();
            for (const char c :
                 statement(fPicks.anyOf({"A", "A", "A2", "B", "n1", "n2=8", "own=9"}))) {
                section += c;
                if (c == '\n' && fPicks.below(8) == 0)
                    section += fPicks.below(2) == 0 ? junk(true) : "\n";
            }
        }
        return section + junk();
    }

    Picks fPicks;
    std::vector<std::string> fTokens;
};

TEST_F(JunkScenes, LoseNothingThatWasNotUnderstood) {
    for (int round = 0; round < 1000; ++round) {
        fTokens.clear();
        const std::string before = randomSection();
        file() = sceneFront() + before + kLastLine;
        SCOPED_TRACE("round " + std::to_string(round) + "\n" + before);
        const std::string filter = fPicks.anyOf({"*", "*", "*", "A n1"});
        ASSERT_TRUE(read(filter + "|" + fPicks.anyOf({"*", "*", "*", "A n1"})));
        edit(fPicks.anyOf({"", "-n1", "-A", "n2=n1"}));
        writeKeeping(fTokens);
        (void)section();  // checks what lies around it
    }
}

// What stays has to read as it did, with the structures that are there then; and stays for good.
TEST_F(TextSceneWrite, WhatStaysIsReadAsBefore) {
    const std::string a = statement("A");
    const std::string z = statement("Z");
    const std::string n1 = statement("n1");
    const std::string more = nodeStatement("n1", oneStream("A", "0\n7 and more\n"));
    const std::string empty = "channel\nname c\nendChannel\nendAssociations\n";
    const std::string twoC = replaced(oneStream("A", ""), "endAssociations\n", empty);
    const std::string n2 = replaced(nodeStatement("n2", oneStream(" A ", "0\n7\n")),
                                    R"(\nstructure)", R"(\012structure)");
    const std::string quotes = R"(dataStructure -fmt "raw" -as "name=q\" w:int32=\170";)"
                               "\n";
    const std::string xml = "applyMetadata -fmt \"xml\"" + n1.substr(24);
    const struct {
        const char* name;
        std::string before;
        const char* edit;
        std::string after;
        std::string meanwhile = {};
    } rows[] = {
        {"escapes", a + quotes + n1, "n1=9", a + quotes + statement("n1=9")},
        {"comment in it", a + "dataStructure\n//b\";\n-fmt \"xml\" -as \"\"\n;\n" + n1, "n1=9",
         "dataStructure -fmt \"xml\" -as \"\" ;\n" + a + statement("n1=9") + "//b\";\n"},
        {"the same in another format", a + n1 + xml, "+Z", a + z + n1 + xml},
        {"structure for what is passed over", a + nodeStatement("n1", twoC), "-A",
         nodeStatement("n1", "endAssociations\n")},
        {"structure removed", a + more, "-A", n1},
        {"structure that others need by now", a, "-A", a + n2, a + n2},
        {"structure gone meanwhile", a + more, "+Z", a + z + n1, more},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        file() = sceneFront() + row.before + kLastLine;
        ASSERT_TRUE(read());
        edit(row.edit);
        if (!row.meanwhile.empty()) file() = sceneFront() + row.meanwhile + kLastLine;
        for (const char* const time : {"first", "second"}) {
            ASSERT_TRUE(write()) << fErrors;
            EXPECT_EQ(section(), row.after) << time;
        }
    }
    const RefPtr<Structure> added(new Structure("A"));
    added->addMember(Member::kInt32, 1, "x");
    file() = sceneFront() + n1 + kLastLine;
    ASSERT_TRUE(read());
    fAccessor.setStructures({added.get()});
    fAccessor.associations()["n1"].channel("c").setDataStream(Stream(*added, "s"));
    edit("n1=9");
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), a + statement("n1=9") + n1) << "the structure came later";
}

}  // namespace
}  // namespace orbo::Data
