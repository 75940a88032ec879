// What a write keeps, replaces and drops in a text scene.
// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

// Words have no blanks, but line feeds.
const std::string kLateBadA = "dataStructure\n-fmt\n\"raw\"\n-as\n\"bogus=x:\nname\n=\nA\";";
const std::string kXmlA = "dataStructure\n-fmt\n\"xml\"\n-as\n\"name=A:int32=x\";";
const std::string kReturns = "dataStructure\r\n-fmt\n\"raw\"\n-as\n\"name=A:int32=x\";\r\n\r";
const std::string kEmpty = "applyMetadata\n-fmt\n//b\n\"raw\"\n-v\n\"\"\nn1;";
const std::string kRemark = "dataStructure\n\n//b\n-fmt\n\"no\"\n-as\n\"\"\n;\r";

using TextSceneWrite = SceneTest;

TEST_F(TextSceneWrite, Decisions) {
    struct Row {
        const char* name;
        std::string before;
        std::string edit;
        std::string after;
        std::string filter = "*|*";
        const char* meanwhile = nullptr;  // what others made of it before the write
    };
    const Row rows[] = {
        {"nothing new", "A B n1 n2 own", "", "A B n1 n2 own"},
        {"order", "own n2 B n1 A", "", "A B n1 n2 own"},
        {"changed", "A n1 own", "n1=9", "A n1=9 own"},
        {"new", "A n1", "n2=n1", "A n1 n2"},
        {"removed", "A n1 n2", "-n1", "A n2"},
        {"emptied", "A n1 n2", "n1=empty", "A n2"},
        {"structure removed", "A B n1", "-A", "B n1"},
        {"all removed", "A", "-A", ""},

        {"structure repeated", "A A n1", "", "A n1"},
        {"structure repeated, removed", "A A n1", "-A", "n1"},
        {"other structure of the name", "A A2 n1", "", "A A2 n1"},
        {"others, winner removed", "A A2 A A3", "-A", "A2 A3"},
        {"unreadable structure", "A! B", "", "A! B"},
        {"unreadable namesake", "A! A B n1", "", "A B A! n1"},
        {"unreadable, named last", kLateBadA + " A n1", "", "A " + kLateBadA + " n1"},
        {"unknown format", kXmlA + " A n1", "", "A " + kXmlA + " n1"},
        {"unreadable namesake, removed", "A A! B", "-A", "A! B"},

        {"associations repeated", "A n1 n1=8", "", "A n1"},
        {"associations repeated, removed", "A n1 n1=8", "-n1", "A"},
        {"unreadable associations", "A n1! n2 own", "", "A n1! n2 own"},
        {"unreadable ahead", "A n1! n1 own", "", "A n1 own n1!"},
        {"unreadable left alone", "A n1 n1! n2", "-n1", "A n1! n2"},
        {"without its structure", "n1", "", "n1"},

        {"foreign lines", "A foo B \tbar; n1 rest;", "n1=9", "foo \tbar; A B n1=9 rest;"},
        {"no blank lines", "A blank n1 blank", "", "A n1 blank"},
        {"comments", "//a A //b n1 //c", "", "//a //b A n1 //c"},
        {"comment in a statement", "A n1// n2", "", "//b A n1 n2"},
        {"empty", "A " + kEmpty + " n2", "", "A " + kEmpty + " n2"},
        {"what readers pass over", "A n2+ B+ n1", "n1=9", "A B+ n1=9 n2+"},
        {"comment in a kept one", "A! " + kRemark + " A", "", kRemark + " A A!"},
        {"malformed", "A noTarget n1", "", "noTarget A n1"},
        {"malformed at the ends", "noTarget A n1 noTarget", "n1=9", "noTarget A n1=9 noTarget"},
        {"unclosed", "A open B n1; n1", "", "n1; open A B n1"},
        {"unclosed with a blank line", "A open blank n1", "", "open blank A n1"},
        {"only malformed", "noTarget", "", "noTarget"},
        {"unclosed for all a comment says", "open //x; A foo; n1", "", "foo; open //x; A n1"},
        {"unclosed at the end", "A dataStructure\nx", "", "A dataStructure\nx"},
        {"runs over a command", "dataStructure\nselect\nx; A", "", "dataStructure\nselect\nx; A"},
        {"two trailers", "A end n1", "", "end A n1"},
        {"carriage returns", kReturns + " foo;\r n1", "", "foo;\r A n1"},

        // What a filter left out stays.
        {"nothing read", "B n2 A n1", "", "B A n2 n1", "|"},
        {"changed", "A B n1 n2 own", "n1=9", "B A n2 own n1=9", "A|n1"},
        {"removed", "A B n1 n2", "-n1", "B A n2", "A|n1"},
        {"structure it needs", "A n1", "n1=9", "A n1=9", "|n1"},
        {"repeated, and it needs it", "A A n1", "-A", "A n1", "A|"},
        {"namesake met first", "A3 A n1", "", "A A3 n1", "A|"},
        {"repeated", "A A n1 n2 n2", "", "A A n2 n2 n1", "|n1"},
        {"now in the model", "A n2=3 n1", "n2=n1", "A n1 n2", "*|n1"},
        {"now in the model, unreadable", "A n2! n1", "n2=n1", "A n1 n2 n2!", "*|n1"},
        {"only touched", "A n1 n2", "n2", "A n2 n1", "*|n1"},

        // So does what others did meanwhile.
        {"added", "A n1", "n1=9", "B A n2 own n1=9", "*|*", "A B n1 n2 own"},
        {"added of an unknown index type", "A n1", "n1=9", "A odd n1=9", "*|*", "A n1 odd"},
        {"removed meanwhile", "A n1", "n1=9", "A n1=9", "*|*", ""},
        {"changed meanwhile", "A n1", "n1=9", "A A2 n1=9", "*|*", "A2 n1=8"},
        {"grown in front", "A n1", "n1=9", "blank //more A n1=9", "*|*", "blank //more A n1"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.name) + ", read " + row.filter);
        makeScene(row.before);
        ASSERT_TRUE(read(row.filter));
        edit(row.edit);
        if (row.meanwhile) makeScene(row.meanwhile);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(section(), statements(row.after));
        // A further write changes nothing, nor does one of somebody who read what stands there.
        const std::string once = file();
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), once);
        if (row.filter != "*|*" || row.meanwhile) continue;
        ASSERT_TRUE(read());
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), once);
    }
}

// What is kept beside a written namesake must not get in the way of the check, nor of later reads.
TEST_F(TextSceneWrite, AKeptNamesakeHidesNothing) {
    makeScene("A n1! n1");
    ASSERT_TRUE(read());
    fAccessor.setWritePolicy(WritePolicy::careful());
    edit("n1=9");
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("A n1=9 n1!"));
    ASSERT_TRUE(read("*|n1"));
    EXPECT_EQ(model(), "A|n1");
}

TEST_F(TextSceneWrite, FirstSectionGoesInFrontOfTheTrailer) {
    struct Row {
        const char* name;
        std::string scene;
        std::string message;  // by default
        std::string anySize = "";
    };
    const std::string front = sceneFront();
    const std::string small = "Could not seek to trailer start.";
    const std::string none = "Could not find trailer prefix.";
    const std::string lost = "Failed reading line while searching metadata end.";
    const std::size_t fixed = kHeader.size() + kLastLine.size();
    const Row rows[] = {
        {"usual", front + kLastLine, ""},
        {"behind the trailer", front + kLastLine + "more;\n" + statement("n1"), ""},
        {"small", kHeader + std::string(1023 - fixed, '\n') + kLastLine, small},
        {"1024 bytes", kHeader + std::string(1024 - fixed, '\n') + kLastLine, ""},
        {"far", front + kLastLine + std::string(1020, '\n'), none},
        {"none", front, none, none},
        {"small, none", kHeader, small, none},
        {"section without", front + statement("A"), lost, lost},
    };
    for (const Row& row : rows) {
        for (const bool anySize : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (anySize ? ", any size" : ""));
            makeScene("A n1");
            ASSERT_TRUE(read());
            fAccessor.setWritePolicy({false, false, anySize, false});
            std::string expected = file() = row.scene;
            const std::string message = anySize ? row.anySize : row.message;
            EXPECT_EQ(write(), message.empty());
            EXPECT_EQ(fErrors, message);
            if (message.empty()) expected.insert(expected.find(kLastLine), statements("A n1"));
            EXPECT_EQ(file(), expected);
        }
    }
}

// Scenes of good, broken and foreign lines: whatever is not readable metadata survives.
class JunkScenes : public SceneTest {
  protected:
    unsigned int pick(unsigned int below) { return static_cast<unsigned int>(fRandom() % below); }
    const char* anyOf(std::initializer_list<const char*> texts) {
        return texts.begin()[pick(static_cast<unsigned int>(texts.size()))];
    }

    /// Each holds tokens of its own, for "@", and cannot become part of a text that is readable.
    std::string junk() {
        std::string lines;
        for (unsigned int count = pick(3); count > 0; --count) {
            fTokens.push_back("tok" + std::to_string(fTokens.size()) + "_");
            const std::string form = anyOf(
                {"@;", "\t@", "// @;", "\"@", "setAttr @", "setAttr @;", "\tsetAttr @;",
                 "dataStructure @;", "dataStructure -fmt \"raw\" -as \"@",
                 "dataStructure -fmt \"raw\" -as \"name=@\";",
                 "dataStructure -fmt \"@\" -as \"name=A:int32=x\";",
                 "applyMetadata -fmt \"raw\" -v \"@\"", "applyMetadata -fmt \"raw\" -v \"@\" n1;",
                 "applyMetadata \"\" \"\" n1; @;"});
            lines += replaced(form, "@", fTokens.back()) + (pick(5) == 0 ? "\r\n" : "\n");
        }
        return lines;
    }
    /// Junk between any two lines, those inside statements included.
    std::string randomSection() {
        std::string section;
        for (unsigned int count = pick(12); count > 0; --count) {
            section += junk();
            for (const char c : statement(anyOf({"A", "A", "A2", "B", "n1", "n2=8", "own=9"}))) {
                section += c;
                if (c == '\n' && pick(8) == 0) section += pick(2) == 0 ? junk() : "\n";
            }
        }
        return section + junk();
    }

    std::mt19937 fRandom{24};
    std::vector<std::string> fTokens;
};

TEST_F(JunkScenes, LoseNothingThatWasNotUnderstood) {
    for (int round = 0; round < 1000; ++round) {
        fTokens.clear();
        const std::string before = randomSection();
        file() = sceneFront() + before + kLastLine;
        SCOPED_TRACE("round " + std::to_string(round) + "\n" + before);
        ASSERT_TRUE(read(std::string(anyOf({"*", "*", "*", "A n1"})) + "|" +
                         anyOf({"*", "*", "*", "A n1"})));
        edit(anyOf({"", "-n1", "-A", "n2=n1"}));
        ASSERT_TRUE(write()) << fErrors;
        const std::string once = section();  // checks what lies around it
        for (const std::string& token : fTokens) {
            const std::size_t at = once.find(token);
            ASSERT_NE(at, std::string::npos) << token << " is lost in\n" << once;
            ASSERT_EQ(once.find(token, at + 1), std::string::npos) << token << " twice in\n"
                                                                   << once;
        }
        ASSERT_TRUE(write()) << fErrors;
        ASSERT_EQ(section(), once) << "second write";
    }
}

// What stays has to read as it did, with the structures that are there then; and stays for good.
TEST_F(TextSceneWrite, WhatStaysIsReadAsBefore) {
    const std::string a = statement("A");
    const std::string n1 = statement("n1");
    const std::string more = nodeStatement("n1", oneStream("A", "0\n7 and more\n"));
    const std::string empty = "channel\nname c\nendChannel\nendAssociations\n";
    const std::string twoC = replaced(oneStream("A", ""), "endAssociations\n", empty);
    const std::string n2 = replaced(nodeStatement("n2", oneStream(" A ", "0\n7\n")),
                                    R"(\nstructure)", R"(\012structure)");
    const std::string quotes = R"(dataStructure -fmt "raw" -as "name=q\" w:int32=\170";)"
                               "\n";
    const std::string xml = "applyMetadata -fmt \"xml\"" + n1.substr(24);
    struct Row {
        const char* name;
        std::string before;
        const char* edit;
        std::string after;
        std::string meanwhile = {};
    };
    const Row rows[] = {
        {"escapes", a + quotes + n1, "n1=9", a + quotes + statement("n1=9")},
        {"the same in another format", a + n1 + xml, "", a + n1 + xml},
        {"structure for what is passed over", a + nodeStatement("n1", twoC), "-A",
         nodeStatement("n1", "endAssociations\n")},
        {"structure removed", a + more, "-A", n1},
        {"structure that others need by now", a, "-A", a + n2, a + n2},
        {"structure gone meanwhile", a + more, "", a + n1, more},
        {"structure added", n1, "add", a + statement("n1=9") + n1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        file() = sceneFront() + row.before + kLastLine;
        ASSERT_TRUE(read());
        const RefPtr<Structure> added(Structure::create());
        if (row.edit == std::string("add")) {
            added->setName("A");
            added->addMember(Member::kInt32, 1, "x");
            fAccessor.setStructures({added.get()});
            fAccessor.associations()["n1"].channel("c").setDataStream(Stream(*added, "s"));
            setNumber("n1", 0, 9);
        } else {
            edit(row.edit);
        }
        if (!row.meanwhile.empty()) file() = sceneFront() + row.meanwhile + kLastLine;
        for (const char* const time : {"first", "second"}) {
            ASSERT_TRUE(write()) << fErrors;
            EXPECT_EQ(section(), row.after) << time;
        }
    }
}

}  // namespace
}  // namespace orbo::Data
