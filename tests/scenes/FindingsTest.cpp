// What a read found, with its places.
// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <algorithm>

#include "core/Excerpt.h"
#include "files/LockedFile.h"
#include "scenes/BinaryScene.h"
#include "scenes/Messages.h"
#include "scenes/SceneTest.h"
#include "scenes/binary/QuilBinaryFileAccessor.h"

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

// It writes whenever nobody keeps it out.
TEST_F(FindingsTest, AWriterBesideACheckDoesNoDamage) {
    const std::string front = sceneFront();
    const std::string states[] = {front + statements("A n1 n2") + kLastLine,
                                  front + statements("A own n1 n2 n3") + kLastLine};
    int writes = 0;
    int calls = 1;
    for (int when = 0; when < calls; ++when) {
        SCOPED_TRACE(when);
        calls = 0;
        bool isWriting = false;
        fSystem.fails = [&](Files::Call) {
            if (isWriting || calls++ != when) return false;
            isWriting = true;
            const auto opening = Files::LockedFile::open(fName, Files::LockedFile::Use::kWrite, {});
            if (opening.file) {
                file() = states[1];
                ++writes;
            }
            isWriting = false;
            return false;
        };
        file() = states[0];
        fAccessor.check(fName);
        EXPECT_EQ(shown(fAccessor, front), "");
    }
    EXPECT_GT(writes, 0);
    EXPECT_GT(calls, writes);
}

TEST_F(FindingsTest, OfATextSceneHaveLines) {
    const std::pair<std::string, std::string> rows[] = {
        {"A n1", ""},
        {"A n1 noTarget A2", "+4 statement-unreadable, +6 structure-differs"},
        {"n1 blank A! open blank n2! own!",
         "+1 text-unreadable n1, +1 structure-missing n1, +4 text-unreadable, "
         "+5 statement-unclosed, +7 text-unreadable n2, +9 text-unreadable own"},
        {"applyMetadata -fmt \"odd\" -v \"\" n1;", "+1 format-unknown n1"},
        {"applyMetadata -fmt \"raw\" n1; applyMetadata -scn; applyMetadata -v;",
         "+1 statement-unreadable n1, +5 statement-unreadable own, +7 statement-unreadable"},
    };
    for (const std::size_t longer : {0, 65535, 65536, 200000}) {
        for (const auto& [words, found] : rows) {
            const std::string front = replaced(sceneFront(), "\tsetAttr \".o\" 1;\n",
                                               std::string(longer, '\n') + "\tsetAttr \".o\" 1;\n");
            file() = front + statements(words) + kLastLine;
            ASSERT_TRUE(read());
            EXPECT_EQ(shown(fAccessor, front), found) << words << longer;
            std::string messages;
            for (const Finding& finding : fAccessor.findings()) {
                const bool isInErrors = Finding::isInErrors(finding.code);
                if (isInErrors) addMessage(messages, finding.message);
            }
            EXPECT_EQ(replaced(fErrors + "\n", "\n\n", "\n"), messages + "\n") << words;
        }
    }
}

TEST_F(FindingsTest, AreThoseOfTheLastCall) {
    makeScene("A n1!");
    EXPECT_TRUE(read());
    EXPECT_EQ(fAccessor.findings().size(), 1);
    EXPECT_TRUE(write() && fAccessor.findings().empty());
    file().erase(2, 1);
    EXPECT_FALSE(write());
    EXPECT_EQ(shown(fAccessor, ""), "@0 write-failed");
    EXPECT_FALSE(read());
    EXPECT_EQ(shown(fAccessor, ""), "+1 not-a-scene");
    EXPECT_FALSE(fAccessor.read("absent.kx", fErrors));
    EXPECT_EQ(shown(fAccessor, ""), " file-unreadable");
}

/// A channel text with one element in each stream.
std::string channelOf(const std::string& name, const std::vector<std::string>& streams) {
    std::string text = "channel\nname " + name + "\n";
    for (const std::string& stream : streams) {
        text += "stream\nname " + stream + "\nstructure A\n" + std::to_string(text.size()) +
                "\n7\nendStream\n";
    }
    return text + "endChannel\n";
}

// The later channel counts, empty or not, and the read says so; its error text stays empty.
TEST_F(FindingsTest, NameTheChannelsAndStreamsThatALaterOneReplaces) {
    const struct {
        std::string text, message, channel, stream;
        unsigned int streamsOfC;
    } rows[] = {
        {channelOf("c", {"s"}) + channelOf("d", {"s"}), "", "", "", 1},
        {channelOf("c", {"s", "t"}) + channelOf("d", {"s"}) + channelOf("c", {"u"}),
         "There are several channels of one name: 'c'", "c", "", 1},
        {channelOf("c", {"s", "t"}) + channelOf("c", {}),
         "There are several channels of one name: 'c'", "c", "", 0},
        {channelOf("c", {}) + channelOf("c", {"s"}) + channelOf("c", {"s", "t"}),
         "There are several channels of one name: 'c' and 1 more", "c", "", 2},
        {channelOf("c", {"s", "t", "s"}), "Channel 'c' has several streams of one name: 's'", "c",
         "s", 2},
    };
    for (const auto& row : rows) {
        file() = sceneFront() + statement("A") +
                 nodeStatement("n1", row.text + "endAssociations\n") + kLastLine;
        ASSERT_TRUE(read() && fErrors.empty()) << fErrors;
        const auto& found = fAccessor.findings();
        ASSERT_EQ(found.size(), row.message.empty() ? 0U : 1U) << row.text;
        EXPECT_EQ(fAccessor.associations().at("n1").findChannel("c")->dataStreamCount(),
                  row.streamsOfC);
        if (found.empty()) continue;
        EXPECT_EQ(found[0].message, row.message);
        EXPECT_EQ(found[0].node.value(), "n1");
        EXPECT_EQ(found[0].channel.value_or("") + "|" + found[0].stream.value_or(""),
                  row.channel + "|" + row.stream);
        EXPECT_TRUE(found[0].line);
    }
}

// A program need not look into a message for it.
TEST_F(FindingsTest, NameTheStructuresThatAreMissing) {
    const auto stream = [](const std::string& name, const std::string& structure) {
        return "stream\nname " + name + "\nstructure " + structure + "\nendStream\n";
    };
    const std::string text = "channel\nname c\n" + stream("s", "A") + stream("t", "Lost  One") +
                             stream("u", "B") + "endChannel\nendAssociations\n";
    file() = sceneFront() + statement("A") + nodeStatement("n1", text) + kLastLine;
    for (const bool isCheck : {false, true}) {
        isCheck ? (void)fAccessor.check(fName) : (void)read();
        std::string found;
        for (const Finding& finding : fAccessor.findings()) {
            if (finding.code != Finding::Code::kStructureMissing) continue;
            EXPECT_TRUE(finding.line);
            found += finding.node.value() + '|' + finding.channel.value() + '|' +
                     finding.stream.value() + '|' + finding.structure.value() + '|' +
                     finding.message + '\n';
        }
        EXPECT_EQ(found,
                  "n1|c|t|Lost  One|Channel 'c', stream 't': there is no structure 'Lost  One'\n"
                  "n1|c|u|B|Channel 'c', stream 'u': there is no structure 'B'\n");
    }
    EXPECT_EQ(fErrors.find("there is no structure"), std::string::npos);
}

// A junk line of a megabyte makes no message of a megabyte.
TEST_F(FindingsTest, ShowOnlyTheBeginningOfALongText) {
    const std::string longText(std::size_t{1} << 20, 'x');
    const auto ofStream = [](const std::string& from, const std::string& to) {
        return nodeStatement("n1", replaced(oneStream("A", "0\n7\n"), from, to));
    };
    const std::pair<const char*, std::string> rows[] = {
        {"index", ofStream("\n0\n", "\n" + longText + "\n")},
        {"structure", ofStream("structure A", "structure " + longText)},
        {"index type", ofStream("numeric", longText)},
        {"channel", ofStream("name c\n", "name " + longText + "\nchannel\n")},
        {"stream", ofStream("name s\nindexType numeric", "name " + longText + "\nindexType pair")},
        {"keyword of the channel", ofStream("stream\n", longText + "\n")},
        {"keyword of the node", nodeStatement("n1", longText)},
        {"value", ofStream("\n7\n", "\n" + longText + "\n")},
        {"node", nodeStatement(longText, "nonsense")},
        {"format", "applyMetadata -fmt \"" + longText + "\" -v \"\" \n\t\tn1;\n"},
        {"name of a structure", structureStatement("name=" + longText + ":int32=x") +
                                    structureStatement("name=" + longText + ":int32=y")},
        {"name of a member", structureStatement("name=S:int32[0]=" + longText)},
        {"type of a member", structureStatement("name=S:" + longText + "=x")},
        {"bracket of a member", structureStatement("name=S:int32]" + longText + "=x")},
    };
    fAccessor.setReadPolicy({true});
    for (const auto& [name, metadata] : rows) {
        SCOPED_TRACE(name);
        file() = sceneFront() + statement("A") + metadata + kLastLine;
        for (const bool isCheck : {false, true}) {
            isCheck ? (void)fAccessor.check(fName) : (void)read();
            EXPECT_LT(fErrors.size(), 9000U);
            for (const Finding& finding : fAccessor.findings()) {
                EXPECT_LT(finding.message.size(), 6000U) << finding.message.substr(0, 300);
            }
        }
        EXPECT_FALSE(fAccessor.findings().empty());
    }
}

// Up to 1,000 bytes are shown as they are; of more, at most that many with the dots, and no part of
// a character.
TEST(Excerpt, CutsWhatIsTooLong) {
    const std::string umlaut = "\xC3\xA4";
    const auto text = [](std::size_t size) { return std::string(size, 'x'); };
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {text(1000), text(1000)},
        {text(1001), text(997) + "..."},
        {text(998) + umlaut, text(998) + umlaut},
        {text(996) + umlaut + text(9), text(996) + "..."},
        {text(995) + umlaut + text(9), text(995) + umlaut + "..."},
        {text(900) + std::string(200, '\x80'), text(900) + std::string(94, '\x80') + "..."},
    };
    for (const auto& [whole, shown] : rows) {
        EXPECT_EQ(excerptOf(whole), shown);
        EXPECT_EQ(inQuotes(whole), "'" + shown + "'");
    }
    EXPECT_EQ(inQuotes(text(41), 40), "'" + text(37) + "...'");
}

// What is told in findings alone takes no room from what the error text has to say.
TEST_F(FindingsTest, OfTheErrorTextCountForThemselves) {
    file() = sceneFront() + statement("A");
    for (int i = 0; i < 1500; ++i) file() += statement("n1!");
    const std::string twice = channelOf("c", {}) + channelOf("c", {}) + "endAssociations\n";
    for (int i = 0; i < 1500; ++i) file() += nodeStatement("n" + std::to_string(i), twice);
    file() += kLastLine;
    ASSERT_TRUE(read());
    EXPECT_EQ(fAccessor.findings().size(), 2001U);
    EXPECT_EQ(fAccessor.findings().back().message, "1000 more are not listed.");
    EXPECT_EQ(fErrors.substr(fErrors.rfind('\n') + 1), "500 more are not listed.");
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
    // These are met after all others, but told of where they are.
    EXPECT_EQ(std::count_if(found.begin(), found.end(),
                            [](const Finding& finding) {
                                return finding.code == Finding::Code::kTextUnreadable;
                            }),
              334);
    EXPECT_TRUE(std::is_sorted(found.begin(), found.end() - 1,
                               [](const auto& a, const auto& b) { return a.line < b.line; }));
    EXPECT_LT(found[999].line, found.front().line.value() + 3000);
    EXPECT_EQ(fErrors.substr(fErrors.rfind('\n') + 1), found.back().message);
}

TEST_F(FindingsTest, OfABinarySceneHaveChunks) {
    const std::string good = structureChunk("name=A:int32=x");
    const struct {
        std::string content, behind, found;
    } rows[] = {
        {good, "", ""},
        {good + nodeChunk("n1", "!") + structureChunk("?"), "xy",
         "MTDA@40 text-unreadable n1, DATS@72 text-unreadable, @120 end-misplaced"},
        {good + chunk("MTDA", "n1"), "", "MTDA@40 chunk-damaged"},
        {good + chunk("MTDA", strings("n1") + "raw"), "", "MTDA@40 chunk-damaged n1"},
        {good + chunk("REFS", "12345678", 9), "", "REFS@40 chunk-damaged"},
        {good + "REFS", "", "@40 chunk-damaged"},
    };
    for (const auto& row : rows) {
        BinaryScene scene(row.content);
        scene.behind = row.behind;
        fSystem.files["scene.ky"] = scene.bytes();
        QuilBinaryFileAccessor accessor;
        accessor.read("scene.ky", fErrors);
        EXPECT_EQ(shown(accessor, scene.front()), row.found);
    }
}

TEST_F(FindingsTest, OfACheckSayThatAChangeIsPendingAndLeaveItToOthers) {
    makeScene("A n1");
    ASSERT_TRUE(read());
    edit("-n1 -A");
    fSystem.failAt(1, true, Files::Call::kSync);
    EXPECT_FALSE(write());
    fSystem.fails = [](Files::Call) { return false; };
    const auto before = fSystem.files;
    fAccessor.check(fName);
    EXPECT_TRUE(shown(fAccessor, sceneFront()) == " journal-pending" && fSystem.files == before);
}

// A check that looks at nothing leaves what the last read took; one that reads replaces it.
TEST_F(FindingsTest, OfACheckBesideAJournalLeaveTheModelReadyToBeWritten) {
    setPolicy(WritePolicy::careful());
    makeScene("A n1 n2");
    const std::string before = file();
    ASSERT_TRUE(read());
    edit("-n1");
    fSystem.failAt(1, true, Files::Call::kSync);
    EXPECT_FALSE(write());
    fSystem.fails = [](Files::Call) { return false; };
    fAccessor.check(fName);
    EXPECT_EQ(model(), "A|n2");
    fSystem.files = {{fName, before}};
    EXPECT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("A n2"));

    makeScene("A n3");
    fSystem.files[fName + ".metadata-journal"] = "";
    fAccessor.check(fName);
    EXPECT_EQ(shown(fAccessor, sceneFront()), " journal-pending");
    EXPECT_EQ(model(), "A|n3");
    edit("n3=8");
    EXPECT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), statements("A n3=8"));
}

TEST_F(FindingsTest, OfACheckReachTheEndsOfChunks) {
    BinaryScene scene(chunk("DATS", strings("raw", "name=A:int32=x") + "more") +
                      chunk("SMTD", strings("name", "raw", oneStream("A", ""))));
    const auto check = [&] {
        fSystem.files["scene.ky"] = scene.bytes();
        QuilBinaryFileAccessor accessor;
        accessor.check("scene.ky");
        EXPECT_FALSE(accessor.writePolicy().verify);
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
