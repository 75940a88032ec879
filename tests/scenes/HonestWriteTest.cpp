// What the default policy writes although it will not read back, and says so.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexString.h>

#include <cmath>
#include <functional>
#include <string>

#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

class HonestWrite : public SceneTest {
  protected:
    Stream& add(const Structure& structure, const std::string& channel = "c",
                const std::string& stream = "s") {
        return *fAccessor.associations()["m"].channel(channel).setDataStream(
            Stream(structure, stream));
    }
    /// Of floats, with a structure that is written.
    Stream& addFloats() {
        const RefPtr<Structure> f = makeStructure("F", Member::kFloat, "x", 1);
        addStructure(*f);
        return add(*f);
    }
    static void set(Stream& stream, const Index& index, float value) {
        Handle handle(stream.structure());
        *handle.asFloat() = value;
        stream.setElement(index, handle);
    }
    [[nodiscard]] std::string told() const {
        std::string text;
        for (const Finding& finding : fAccessor.findings()) {
            text += std::string(Finding::nameOf(finding.code)) + ": " + finding.message + '\n';
        }
        return text;
    }
};

TEST_F(HonestWrite, SaysWhatWillNotReadBack) {
    const auto index = [](Stream& stream, const std::string& text) {
        stream.setIndexType("string");
        set(stream, IndexString(text), 1);
    };
    const std::string m = "will-not-read-back: Node 'm', channel 'c', stream 's'";
    const struct {
        const char* name;
        std::function<void()> edit;
        std::string told;
    } rows[] = {
        {"structure erased", [&] { edit("-A"); },
         "will-not-read-back: Node 'n1', channel 'c', stream 's': structure 'A' is not in the "
         "file\n"},
        {"structure never added", [&] { add(*makeStructure("Q")); },
         m + ": structure 'Q' is not in the file\n"},
        {"structure replaced", [&] { edit("-A"), addStructure(*makeStructure("A")); },
         "will-not-read-back: Node 'n1', channel 'c', stream 's': structure 'A' differs from the "
         "one of that name in the file\n"},
        {"another of a name that is there", [&] { add(*makeStructure("A")); },
         m + ": structure 'A' differs from the one of that name in the file\n"},
        {"not a number", [&] { set(addFloats(), 3, NAN); },
         m + ", index 3: member 'x' is not a finite number\n"},
        {"many infinities",
         [&] {
             Stream& stream = addFloats();
             for (unsigned int i = 0; i < 5; ++i) set(stream, i, i == 2 ? 0 : HUGE_VALF);
         },
         m + ", index 0: member 'x' is not a finite number, and 3 more\n"},
        {"index of another type",
         [&] {
             Stream& stream = addFloats();
             stream.setIndexType("string");
             set(stream, 7, 1);
         },
         m + ", index 7: index of another type than the stream's\n"},
        {"index that is trimmed", [&] { index(addFloats(), "a "); },
         m + ", index a : index with a line feed or blanks at its ends\n"},
        {"index that ends the stream", [&] { index(addFloats(), "endStream"); },
         m + ", index endStream: index reads as the end of the stream\n"},
        {"names that are trimmed",
         [&] { addFloats(), add(*makeStructure("Z", Member::kInt8, "z", 1), " c", "s "); },
         "will-not-read-back: Node 'm', channel ' c': channel name cannot be written\n"
         "will-not-read-back: Node 'm', channel ' c', stream 's ': stream name cannot be written\n"
         "will-not-read-back: Node 'm', channel ' c', stream 's ': structure 'Z' is not in the "
         "file\n"},
        {"structure without members", [&] { addStructure(*RefPtr<Structure>(new Structure("E"))); },
         "will-not-read-back: Structure 'E' has no members\n"},
        {"member that ends the text",
         [&] { addStructure(*makeStructure("E", Member::kInt8, "a:b")); },
         "will-not-read-back: Structure 'E': member name 'a:b' cannot be written\n"},
        {"all is well", [&] { set(addFloats(), 3, 0.1234567F); }, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        makeScene("A n1");
        setPolicy(WritePolicy());
        ASSERT_TRUE(read());
        row.edit();
        EXPECT_TRUE(write()) << fErrors;
        EXPECT_EQ(told(), row.told);
        EXPECT_EQ(fErrors, "");
    }
}

// The finding has the place in parts, too, for programs.
TEST_F(HonestWrite, SaysWhere) {
    makeScene("A n1");
    ASSERT_TRUE(read());
    set(addFloats(), 3, NAN);
    ASSERT_TRUE(write());
    ASSERT_EQ(fAccessor.findings().size(), 1U);
    const Finding& finding = fAccessor.findings().front();
    EXPECT_EQ(finding.node, "m");
    EXPECT_EQ(finding.channel, "c");
    EXPECT_EQ(finding.stream, "s");
    EXPECT_EQ(finding.index, "3");
    EXPECT_EQ(finding.member, "x");
}

TEST_F(HonestWrite, SaysThatAnIndexTypeIsOnlyReadAsText) {
    for (const bool asText : {true, false}) {
        makeScene("A odd");
        fAccessor.setReadPolicy({true});
        ASSERT_TRUE(read());
        fAccessor.setReadPolicy({asText});
        edit("n4=n3");
        ASSERT_TRUE(write());
        const std::string behind =
            "', channel 'c', stream 's': index type 'odd' is not registered\n";
        const std::string begin = "will-not-read-back: Node '";
        EXPECT_EQ(told(), asText ? "" : begin + "n3" + behind + begin + "n4" + behind);
    }
}

// What nobody edited is not looked at, but for structures that have gone from under it.
TEST_F(HonestWrite, LeavesTheRestAlone) {
    makeScene("A B n1 n2");
    ASSERT_TRUE(read("*|n1"));
    edit("n1=9 -B");
    ASSERT_TRUE(write());
    EXPECT_EQ(told(), "");
}

}  // namespace
}  // namespace orbo::Data
