// Reading and writing binary scenes.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/BinaryScene.h"

#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <random>

#include "accessors/QuilBinaryFileAccessor.h"
#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

using Files::Call;

constexpr std::uint64_t kHuge = ~std::uint64_t{0};

const std::string kA = structureChunk("name=A:int32=x");    // 19 bytes of data
const std::string kB = structureChunk("name=B:string=s");   // 20
const std::string kC = structureChunk("name=Co:int32=xy");  // 21
const std::string kApp = chunk("REFS", "of the application");
const std::string kStamp = chunk("STMP", "2016");
// Chunks of others are not looked into, whatever they say.
const std::string kFalseEnd = chunk("BCSZ", number(20, 4));

std::string node(const std::string& name, int value = 7) {
    return nodeChunk(name, oneStream("A", "0\n" + std::to_string(value) + "\n"));
}

void setNumber(Accessor& scene, const std::string& node, int value) {
    Stream& stream = *scene.associations().at(node).findChannel("c")->findDataStream("s");
    Handle handle(stream.structure());
    *handle.asInt32() = value;
    stream.setElement(0, handle);
}

class BinarySceneTest : public testing::Test {
  protected:
    [[nodiscard]] std::string& file() { return fSystem.files["scene.ky"]; }
    void makeScene(const std::string& content) {
        fSystem.fails = [](Call) { return false; };
        file() = scene(content);
    }
    static std::string scene(const std::string& content) { return BinaryScene(content).bytes(); }

    bool read(const std::set<std::string>* structures = nullptr,
              const std::set<std::string>* nodes = nullptr) {
        fErrors.clear();
        return fAccessor.read("scene.ky", structures, nodes, fErrors);
    }
    bool write() {
        fErrors.clear();
        return fAccessor.write(fErrors);
    }

    Files::ScriptedFileSystem fSystem;
    Files::FileSystem::Replacement fReplaced{fSystem};
    QuilBinaryFileAccessor fAccessor;
    std::string fErrors;
};

struct Fault {
    const char* name;
    std::function<void(BinaryScene&)> make;
    std::string message;  // "@" is where the sound chunks end
    std::string whenWriting;
};

const std::string kNoEnd = "Error seeking to the end of main chunk.";
const std::string kNoStart = "Could not seek to start of trailer.";
const std::string kBeyond = "The chunk at byte @ reaches beyond the end of the trailer.";

const Fault kFaults[] = {
    {"other tag", [](auto& s) { s.mainTag = "FOR4"; }, "Not a supported file type.", ""},
    {"other type", [](auto& s) { s.mainType = "quil"; }, "Not a supported file type.", ""},
    {"main size below its end chunk", [](auto& s) { s.mainSize = 7; }, kNoEnd, ""},
    {"largest main size", [](auto& s) { s.mainSize = kHuge; }, kNoEnd, ""},
    {"main size beyond the file", [](auto& s) { s.mainSize = 100000; },
     "Error reading the trailer-size chunk header.", ""},
    {"main size into the scene", [](auto& s) { s.mainSize = 40; },
     "File does not end with trailer-size chunk.", ""},
    {"other end chunk", [](auto& s) { s.endTag = "BCSX"; },
     "File does not end with trailer-size chunk.", ""},
    {"large end chunk", [](auto& s) { s.endSize = 8; }, "Invalid trailer-size chunk.", ""},
    {"distance into the end chunk", [](auto& s) { s.distance = 19; }, kNoStart, ""},
    {"distance into the main header",
     [](auto& s) { s.distance = static_cast<std::uint32_t>(s.bytes().size() - 4 - 39); }, kNoStart,
     ""},
    {"largest distance", [](auto& s) { s.distance = 0xFFFFFFFF; }, kNoStart, ""},
    {"largest structure", [](auto& s) { s.content += chunk("DATS", "", kHuge); },
     "Could not read data structure chunk.", "Error skipping data structure chunk."},
    {"structure over the end", [](auto& s) { s.content += chunk("DATS", "12345678", 9); },
     "Could not read data structure chunk.", "Error skipping data structure chunk."},
    {"size that wraps to its own header",
     [](auto& s) { s.content += chunk("MTDA", "", kHuge - 15); },
     "Could not read apply metadata chunk.", "Error skipping existing metadata chunks."},
    {"scene over the end", [](auto& s) { s.content += chunk("SMTD", "", 1); },
     "Could not read apply metadata chunk.", "Error skipping existing metadata chunks."},
    {"largest other chunk", [](auto& s) { s.content += chunk("REFS", "", kHuge); }, kBeyond,
     "Error reading chunk before metadata."},
    {"padding over the end",
     [](auto& s) { s.content += chunk("REFS", "12345678", 9).substr(0, 23); }, kBeyond,
     "Error reading chunk before metadata."},
    {"too little for a chunk", [](auto& s) { s.content += std::string(15, 'x'); },
     "Error reading chunk header at byte @.", "Error reading chunk header before metadata."},
};

TEST_F(BinarySceneTest, RefusesFilesThatContradictThemselves) {
    const BinaryScene sound(kApp + kA + node("n"));
    const std::string end = std::to_string(sound.front().size() + sound.content.size());
    for (const Fault& fault : kFaults) {
        SCOPED_TRACE(fault.name);
        makeScene(sound.content);
        ASSERT_TRUE(read()) << fErrors;
        setNumber(fAccessor, "n", 8);
        BinaryScene scene = sound;
        fault.make(scene);
        file() = scene.bytes();
        const std::string message = replaced(fault.message, "@", end);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, fault.whenWriting.empty() ? message : fault.whenWriting);
        EXPECT_FALSE(read());
        EXPECT_EQ(fErrors, message);
        EXPECT_EQ(fAccessor.isFileSupported("scene.ky"), !fault.whenWriting.empty());
        EXPECT_TRUE(fAccessor.structures().empty() && fAccessor.associations().empty());
        EXPECT_FALSE(write()) << "what was not read";
        EXPECT_EQ(file(), scene.bytes());
    }
    for (std::size_t size = 0; size < sound.bytes().size(); ++size) {
        file() = sound.bytes().substr(0, size);
        EXPECT_EQ(read(), size >= sound.bytes().size() - 4) << size;
        EXPECT_FALSE(fErrors.empty() || write()) << size;
        EXPECT_EQ(file().size(), size);
    }
}

// Strings that do not end: nothing can be said about the chunk, so neither goes past it.
TEST_F(BinarySceneTest, RefusesMetadataChunksThatCannotBeTakenApart) {
    const struct {
        std::string chunk;
        const char* message;
    } rows[] = {
        {chunk("DATS", ""), "Could not read data structure chunk."},
        {chunk("DATS", "raw"), "Could not read data structure chunk."},
        {chunk("DATS", strings("raw") + "name=A"), "Could not read data structure chunk."},
        {chunk("MTDA", "n"), "Could not read apply metadata chunk."},
        {chunk("MTDA", strings("n", "raw") + "endAssociations"),
         "Could not read apply metadata chunk."},
        {chunk("SMTD", strings("") + "raw"), "Could not read apply metadata chunk."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.chunk);
        makeScene(kA + node("n"));
        ASSERT_TRUE(read()) << fErrors;
        makeScene(kA + row.chunk + node("n"));
        setNumber(fAccessor, "n", 8);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, row.message);
        EXPECT_EQ(file(), scene(kA + row.chunk + node("n")));
        EXPECT_FALSE(read());
        EXPECT_EQ(fErrors, row.message);
    }
}

TEST_F(BinarySceneTest, WriteDemandsMoreThanRead) {
    const BinaryScene sound(kApp + kA + node("n"));
    const auto size = std::to_string(sound.bytes().size());
    BinaryScene longer = sound;
    longer.behind = "more";
    BinaryScene other = sound;
    other.trailerSize = sound.content.size() + 27;
    const struct {
        std::string bytes;
        std::string whenReading, whenWriting;
    } rows[] = {
        {longer.bytes(), "The scene ends at byte " + size + ", but 4 more follow.", ""},
        {sound.bytes().substr(0, sound.bytes().size() - 3),
         "The last 3 bytes of the scene are missing.", ""},
        {other.bytes(), "", "The size of the trailer does not fit the distance to its start."},
    };
    for (const auto& row : rows) {
        file() = row.bytes;
        EXPECT_TRUE(read());
        EXPECT_EQ(fErrors, row.whenReading);
        EXPECT_EQ(fAccessor.associations().size(), 1U);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, row.whenWriting.empty() ? row.whenReading : row.whenWriting);
        EXPECT_EQ(file(), row.bytes);
    }
}

// What a file holds, an edit, and what it holds then.
TEST_F(BinarySceneTest, WritesItsChunksBehindTheOthers) {
    const std::string kUnknown = chunk("DATS", strings("odd", "text"));
    const std::string kNonsense = nodeChunk("n1", "nonsense");
    using Edit = std::function<void(Accessor&)>;
    const Edit none = [](Accessor&) {};
    const Edit more = [](Accessor& a) { setNumber(a, "n1", 1234567); };
    const Edit removal = [](Accessor& a) { a.associations().erase("n1"); };
    const struct {
        const char* name;
        std::string before;
        Edit edit;
        std::string after;
    } rows[] = {
        {"order", kA + kFalseEnd + node("n2") + kApp + node("n1") + node("") + kStamp + kB, none,
         kFalseEnd + kApp + kStamp + kA + kB + node("") + node("n1") + node("n2")},
        {"structures behind what needs them", node("n1") + kA, more, kA + node("n1", 1234567)},
        {"grows", kApp + kA + node("n1"), more, kApp + kA + node("n1", 1234567)},
        {"shrinks", kApp + kA + node("n1") + node("n2"), removal, kApp + kA + node("n2")},
        {"last one out", kA + node("n1"), [](Accessor& a) { a.clear(); }, ""},
        {"nothing there", "", none, ""},
        {"not understood", kA + kUnknown + kNonsense + node("n1"), more,
         kUnknown + kA + node("n1", 1234567) + kNonsense},
        {"a name twice", kA + node("n1", 1) + node("n1", 2), more, kA + node("n1", 1234567)},
        {"more than is read", kA + chunk("MTDA", strings("n1", "raw", oneStream("A", ""), "more")),
         none, kA + chunk("MTDA", strings("n1", "raw", oneStream("A", ""), "more"))},
        {"no associations left", kA + node("n1"),
         [](Accessor& a) { a.associations().at("n1") = Associations(); }, kA},
        {"a name that ends too early", kA + node("n1"),
         [](Accessor& a) { a.associations()[std::string("n\0m", 3)] = a.associations().at("n1"); },
         "refused: Node 'n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        makeScene(row.before);
        read();
        row.edit(fAccessor);
        if (row.after.find("refused: ") == 0) {
            EXPECT_FALSE(write());
            EXPECT_EQ(fErrors.find(row.after.substr(9)), 0U) << fErrors;
            EXPECT_EQ(file(), scene(row.before));
            continue;
        }
        fSystem.bytesWritten = 0;
        EXPECT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), scene(row.after));
        EXPECT_EQ(fSystem.bytesWritten > 0, row.before != row.after);
        EXPECT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), scene(row.after)) << "again";
    }
}

TEST_F(BinarySceneTest, KeepsWhatAFilterLeftOut) {
    const std::set<std::string> none;
    const std::set<std::string> one = {"n1"};
    const std::string content = kApp + kA + kB + kC + node("") + node("n1") + node("n2");
    makeScene(content);
    ASSERT_TRUE(read(&none, &one)) << fErrors;
    EXPECT_TRUE(fAccessor.structures().empty()) << "needed, but not asked for";
    ASSERT_EQ(fAccessor.associations().size(), 1U);
    setNumber(fAccessor, "n1", 8);
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(file(), scene(kApp + kA + kB + kC + node("") + node("n2") + node("n1", 8)));
    // Then the chunks are stepped over.
    const std::set<std::string> structures = {"B"};
    fSystem.bytesRead = 0;
    ASSERT_TRUE(read(&structures, &none));
    EXPECT_EQ(fAccessor.structures().size(), 1U);
    EXPECT_LT(fSystem.bytesRead, 350U);
}

// Chunks in any order, each of those that nobody understands with a word of its own.
TEST_F(BinarySceneTest, LosesNothingThatWasNotUnderstood) {
    std::mt19937 random{24};
    const auto pick = [&](unsigned below) { return static_cast<unsigned>(random() % below); };
    for (int round = 0; round < 500; ++round) {
        std::string content;
        std::vector<std::string> words;
        for (unsigned count = pick(12); count > 0; --count) {
            const std::string word = "word" + std::to_string(count) + '_';
            const std::string forms[] = {
                chunk("REFS", word),
                chunk("BCSZ", word + number(20, 4)),
                chunk("DATS", strings("raw", "name=" + word)),
                chunk("DATS", strings(word, "name=A:int32=x")),
                nodeChunk(pick(2) == 0 ? "n1" : "", word),
                chunk("MTDA", strings("n1", word, oneStream("A", ""))),
                kA,
                kA,
                kB,
                node("n1"),
                node("n2"),
                node(""),
            };
            const std::size_t form = pick(std::size(forms));
            content += forms[form];
            if (form < 6) words.push_back(word);
        }
        makeScene(content);
        const std::set<std::string> some = {"A", "n1"};
        SCOPED_TRACE(round);
        ASSERT_TRUE(read(pick(4) == 0 ? &some : nullptr, pick(4) == 0 ? &some : nullptr));
        switch (pick(4)) {
            case 0:
                fAccessor.associations().erase("n1");
                break;
            case 1:
                fAccessor.setStructures({});
                break;
            case 2:
                fAccessor.associations()["n2"] = fAccessor.associations()["n1"];
                break;
            default:
                break;
        }
        ASSERT_TRUE(write()) << fErrors;
        const std::string once = file();
        for (const std::string& word : words) {
            const std::size_t at = once.find(word);
            ASSERT_NE(at, std::string::npos) << word;
            ASSERT_EQ(once.find(word, at + 1), std::string::npos) << word;
        }
        ASSERT_TRUE(write()) << fErrors;
        ASSERT_EQ(file(), once) << "second write";
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
        RefPtr<Structure> added(new Structure("A"));
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
    const struct {
        Call kind;
        int n;
        const char* message;
    } rows[] = {
        {Call::kOpen, 0, "Could not open scene.ky for writing."},
        {Call::kRead, 0, "Could not read file identification."},
        {Call::kSeek, 1, "Error seeking to the end of main chunk."},
        {Call::kRead, 1, "Error reading the trailer-size chunk header."},
        {Call::kRead, 2, "Could not read trailer backward offset."},
        {Call::kStatus, 1, "Could not seek to trailer start."},
        {Call::kRead, 3, "Could not seek to trailer start."},
        {Call::kRead, 4, "Error reading chunk header before metadata."},
        {Call::kRead, 7, "Error skipping existing metadata chunks."},
        {Call::kSeek, 8, "Failed to the main chunk size position."},
        {Call::kWrite, 0, "Failed to write the new main chunk size."},
        {Call::kSeek, 9, "Failed to seek to the trailer size position."},
        {Call::kWrite, 1, "Failed to write the new trailer size."},
        {Call::kSeek, 10, "Failed to seek to the trailer data start."},
        {Call::kWrite, 2, "Failed to write the new trailer."},
        {Call::kWrite, 3, "Failed to write the backward chunk size."},
        {Call::kTruncate, 0, "Could not truncate the file."},
    };
    const std::string content = kApp + kA + node("n");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        makeScene(content);
        ASSERT_TRUE(read());
        fAccessor.associations().erase("n");
        fAccessor.setWritePolicy(inPlace());
        fSystem.failAt(row.n, false, row.kind);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, row.message);
        EXPECT_EQ(file(), scene(content));
    }
}

}  // namespace
}  // namespace orbo::Data
