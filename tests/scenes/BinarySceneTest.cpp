// Reading and writing binary scenes.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/BinaryScene.h"

#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>

#include "files/ReadAhead.h"
#include "scenes/SceneTest.h"
#include "scenes/Steps.h"

namespace orbo::Data {
namespace {

using Files::Call;

constexpr std::uint64_t kHuge = ~std::uint64_t{0};

const std::string kA = structureChunk("name=A:int32=x");    // 19 bytes of data
const std::string kB = structureChunk("name=B:string=s");   // 20
const std::string kC = structureChunk("name=Co:int32=xy");  // 21
const std::string kZ = structureChunk("name=Z:int8=z");
const std::string kApp = chunk("REFS", "of the application");
const std::string kStamp = chunk("STMP", "2016");
// Chunks of others are not looked into, whatever they say.
const std::string kFalseEnd = chunk("BCSZ", number(20, 4));

std::string node(const std::string& name, int value = 7) {
    return nodeChunk(name, oneStream("A", "0\n" + std::to_string(value) + "\n"));
}

class BinarySceneTest : public SceneTestOf<QuilBinaryFileAccessor> {
  protected:
    void makeScene(const std::string& content) {
        fSystem.fails = [](Call) { return false; };
        file() = scene(content);
    }
    static std::string scene(const std::string& content) { return BinaryScene(content).bytes(); }
};

struct Fault {
    std::function<void(BinaryScene&)> make;
    std::string message;           // "@" is where the sound chunks end
    std::string whenWriting = "";  // otherwise it is no scene at all
};

Fault with(const std::string& more, const std::string& message, const std::string& whenWriting) {
    return {[more](BinaryScene& scene) { scene.content += more; }, message, whenWriting};
}

TEST_F(BinarySceneTest, RefusesFilesThatContradictThemselves) {
    const BinaryScene sound(kApp + kA + node("n"));
    const auto intoHeader = static_cast<std::uint32_t>(sound.bytes().size() - 4 - 39);
    const std::string noScene = "Not a supported file type.";
    const std::string noEnd = "Error seeking to the end of main chunk.";
    const std::string otherEnd = "File does not end with trailer-size chunk.";
    const std::string noStart = "Could not seek to start of trailer.";
    const std::string structure = "Could not read data structure chunk.";
    const std::string skipped = "Error skipping data structure chunk.";
    const std::string metadata = "Could not read apply metadata chunk.";
    const std::string skipping = "Error skipping existing metadata chunks.";
    const std::string beyond = "The chunk at byte @ reaches beyond the end of the trailer.";
    const std::string inFront = "Error reading chunk before metadata.";
    const Fault faults[] = {
        {[](auto& s) { s.mainTag = "FOR4"; }, noScene},
        {[](auto& s) { s.mainType = "quil"; }, noScene},
        {[](auto& s) { s.mainSize = 7; }, noEnd},
        {[](auto& s) { s.mainSize = kHuge; }, noEnd},
        {[](auto& s) { s.mainSize = 100000; }, "Error reading the trailer-size chunk header."},
        {[](auto& s) { s.mainSize = 40; }, otherEnd},
        {[](auto& s) { s.endTag = "BCSX"; }, otherEnd},
        {[](auto& s) { s.endSize = 8; }, "Invalid trailer-size chunk."},
        {[](auto& s) { s.distance = 19; }, noStart},  // into the end chunk
        {[=](auto& s) { s.distance = intoHeader; }, noStart},
        {[](auto& s) { s.distance = 0xFFFFFFFF; }, noStart},
        with(chunk("DATS", "", kHuge), structure, skipped),
        with(chunk("DATS", "12345678", 9), structure, skipped),
        with(chunk("MTDA", "", kHuge - 15), metadata, skipping),  // wraps to its own header
        with(chunk("SMTD", "", 1), metadata, skipping),
        with(chunk("REFS", "", kHuge), beyond, inFront),
        with(chunk("REFS", "12345678", 9).substr(0, 23), beyond, inFront),
        with(std::string(15, 'x'), "Error reading chunk header at byte @.",
             "Error reading chunk header before metadata."),
        // Strings that do not end: nothing can be said about the chunk, so neither goes past it.
        with(chunk("DATS", "") + kA, structure, structure),
        with(chunk("DATS", "raw") + kA, structure, structure),
        with(chunk("DATS", strings("raw") + "name=A") + kA, structure, structure),
        with(chunk("MTDA", "n"), metadata, metadata),
        with(chunk("MTDA", strings("n", "raw") + "endAssociations"), metadata, metadata),
        with(chunk("SMTD", strings("") + "raw"), metadata, metadata),
    };
    const std::string end = std::to_string(sound.front().size() + sound.content.size());
    for (const Fault& fault : faults) {
        SCOPED_TRACE(std::to_string(&fault - faults) + fault.message);
        makeScene(sound.content);
        ASSERT_TRUE(read()) << fErrors;
        edit("n=8");
        BinaryScene scene = sound;
        fault.make(scene);
        file() = scene.bytes();
        const std::string message = replaced(fault.message, "@", end);
        expectRefusal(fault.whenWriting.empty() ? message : fault.whenWriting);
        EXPECT_FALSE(read());
        EXPECT_EQ(fErrors, message);
        EXPECT_EQ(fAccessor.isFileSupported(fName), !fault.whenWriting.empty());
        EXPECT_TRUE(fAccessor.structures().empty() && fAccessor.associations().empty());
        expectRefusal("Could not write scene.ky: the last read of it failed.");
    }
    for (std::size_t size = 0; size < sound.bytes().size(); ++size) {
        file() = sound.bytes().substr(0, size);
        EXPECT_EQ(read(), size >= sound.bytes().size() - 4) << size;
        EXPECT_FALSE(fErrors.empty());
        fAccessor.associations().clear();
        EXPECT_FALSE(write()) << size;
        EXPECT_EQ(file().size(), size);
    }
}

TEST_F(BinarySceneTest, WriteDemandsMoreThanRead) {
    const std::string sound = scene(kApp + kA + node("n"));
    const auto size = std::to_string(sound.size());
    BinaryScene other(kApp + kA + node("n"));
    other.trailerSize = other.content.size() + 27;
    const struct {
        std::string bytes, whenReading, whenWriting;
    } rows[] = {
        {sound + "more", "The scene ends at byte " + size + ", but 4 more follow.", ""},
        {sound.substr(0, sound.size() - 3), "The last 3 bytes of the scene are missing.", ""},
        {other.bytes(), "", "The size of the trailer does not fit the distance to its start."},
    };
    for (const auto& row : rows) {
        file() = row.bytes;
        EXPECT_TRUE(read());
        EXPECT_EQ(fErrors, row.whenReading);
        EXPECT_EQ(fAccessor.associations().size(), 1U);
        edit("-n");
        expectRefusal(row.whenReading + row.whenWriting);
    }
}

// What a file holds, an edit, and what it holds then.
TEST_F(BinarySceneTest, WritesItsChunksBehindTheOthers) {
    const std::string unknown = chunk("DATS", strings("odd", "text"));
    const std::string nonsense = nodeChunk("n1", "nonsense");
    const std::string more = chunk("MTDA", strings("n1", "raw", oneStream("A", ""), "more"));
    const std::string changed = node("n1", 1234567);
    const struct {
        const char* name;
        std::string before, edit, after;
    } rows[] = {
        {"order", kA + kFalseEnd + node("n2") + kApp + node("n1") + node("") + kStamp + kB, "+Z",
         kFalseEnd + kApp + kStamp + kA + kB + kZ + node("") + node("n1") + node("n2")},
        {"structures behind what needs them", node("n1") + kA, "n1=1234567", kA + changed},
        {"grows", kApp + kA + node("n1"), "n1=1234567", kApp + kA + changed},
        {"shrinks", kApp + kA + node("n1") + node("n2"), "-n1", kApp + kA + node("n2")},
        {"last one out", kA + node("n1"), "-n1 -A", ""},
        {"nothing there", "", "", ""},
        {"not understood", kA + unknown + nonsense + node("n1"), "n1=1234567",
         unknown + kA + changed + nonsense},
        {"a name twice", kA + node("n1", 1) + node("n1", 2), "n1=1234567", kA + changed},
        {"more than is read", kA + more, "+Z", kA + kZ + more},
        {"no associations left", kA + node("n1"), "n1=empty", kA},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        makeScene(row.before);
        read();
        edit(row.edit);
        fSystem.bytesWritten = 0;
        EXPECT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), scene(row.after));
        EXPECT_EQ(fSystem.bytesWritten > 0, row.before != row.after);
        EXPECT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), scene(row.after)) << "again";
    }
    makeScene(kA + node("n1"));
    read();
    edit(std::string("n\0m=n1", 6));
    expectRefusal("Node 'n");
}

TEST_F(BinarySceneTest, KeepsWhatAFilterLeftOut) {
    makeScene(kApp + kA + kB + kC + node("") + node("n1") + node("n2"));
    ASSERT_TRUE(read("|n1")) << fErrors;
    EXPECT_EQ(model(), "|n1") << "the structure is needed, but not asked for";
    edit("n1=8");
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(file(), scene(kApp + kA + kB + kC + node("") + node("n2") + node("n1", 8)));
    // Others' chunks are stepped over.
    makeScene(kA + chunk("REFS", std::string(1 << 20, ' ')) + kB + node("n1"));
    fSystem.bytesRead = 0;
    ASSERT_TRUE(read("B|"));
    EXPECT_EQ(model(), "B|");
    EXPECT_LT(fSystem.bytesRead, 3U * Files::ReadAhead::kWindowSize);
}

// Chunks in any order, each of those that nobody understands with a word of its own.
TEST_F(BinarySceneTest, LosesNothingThatWasNotUnderstood) {
    Picks picks;
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(round);
        std::string content;
        std::vector<std::string> words;
        for (unsigned count = picks.below(12); count > 0; --count) {
            const std::string word = "word" + std::to_string(count) + '_';
            const std::string form = picks.anyOf<std::string>(
                {chunk("REFS", word), chunk("BCSZ", word + number(20, 4)),
                 chunk("DATS", strings("raw", "name=" + word)),
                 chunk("DATS", strings(word, "name=A:int32=x")), nodeChunk("n1", word),
                 nodeChunk("", word), chunk("MTDA", strings("n1", word, oneStream("A", ""))), kA,
                 kA, kB, node("n1"), node("n2"), node("")});
            content += form;
            if (form.find(word) != std::string::npos) words.push_back(word);
        }
        makeScene(content);
        const std::string filter = picks.anyOf({"*", "*", "*", "A n1"});
        ASSERT_TRUE(read(filter + "|" + picks.anyOf({"*", "*", "*", "A n1"})));
        edit(picks.anyOf({"", "-n1", "-A -B", "n2=n1"}));
        writeKeeping(words);
        ASSERT_TRUE(read()) << fErrors;
    }
}

// The application's chunks are not read, however long they are: these take no space on the disk.
TEST(BinarySceneOnDisk, CountsDistancesUpTo32Bits) {
    const std::string path = testing::TempDir() + "metadata-large.ky";
    const std::uint64_t most = 0xFFFFFFFF - 20;
    for (const bool fits : {true, false}) {
        BinaryScene scene;
        const std::uint64_t content = (most - kA.size()) / 8 * 8 + (fits ? 0 : 8);
        scene.mainSize = scene.front().size() + content + 24 - 16;
        scene.trailerSize = content + 28;
        scene.distance = static_cast<std::uint32_t>(content + 20);
        const std::string bytes = scene.bytes();
        std::ofstream out(path, std::ios::binary);
        out << scene.front() << chunk("REFS", "", content - 16);
        out.seekp(static_cast<std::streamoff>(scene.front().size() + content));
        out << bytes.substr(bytes.size() - 24);
        out.close();

        std::string errors;
        QuilBinaryFileAccessor accessor;
        ASSERT_TRUE(accessor.read(path, errors)) << errors;
        const RefPtr<Structure> added(new Structure("A"));
        added->addMember(Member::kInt32, 1, "x");
        accessor.setStructures({added.get()});
        EXPECT_EQ(accessor.write(errors), fits) << errors;
        EXPECT_EQ(errors,
                  fits ? "" : "The trailer would be longer than its 32-bit distance can say.");
        EXPECT_TRUE(accessor.read(path, errors));
        EXPECT_EQ(accessor.structures().size(), fits ? 1U : 0U);
    }
    std::remove(path.c_str());
}

TEST_F(BinarySceneTest, HasAMessageForEachStepOfAWrite) {
    for (const Step& step : stepsOf("scenes/data/binary-steps.txt")) {
        SCOPED_TRACE(step.message);
        makeScene(kApp + kA + node("n"));
        ASSERT_TRUE(read());
        edit("-n");
        setPolicy(inPlace());
        fSystem.failAt(step.n, false, step.kind);
        expectRefusal(step.message);
    }
}

}  // namespace
}  // namespace orbo::Data
