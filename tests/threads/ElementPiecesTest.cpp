// A stream that is read in pieces by several threads is the one that a single thread reads.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "formats/ReadContext.h"
#include "formats/TextOutline.h"

namespace orbo::Data {
namespace {

class ElementPieces : public testing::Test {
  protected:
    ElementPieces() {
        addStructure("Text", Member::kString, "text");
        addStructure("Number", Member::kInt32, "number");
    }
    void addStructure(const char* name, Member::eDataType type, const char* member) {
        fStructures.emplace_back(Structure::create());
        fStructures.back()->setName(name);
        fStructures.back()->addMember(type, 1, member);
        ASSERT_TRUE(Structure::registerStructure(*fStructures.back()));
    }
    void TearDown() override {
        for (const auto& structure : fStructures) Structure::deregisterStructure(*structure);
    }

    static std::string stream(const std::string& name, const std::string& structure,
                              const std::string& elements) {
        return "stream\nname " + name + "\nstructure " + structure + "\n" + elements +
               "endStream\n";
    }
    /// More than 2 MiB of text.
    static std::string texts(unsigned first, int step, const std::string& lineEnd = "\n") {
        const std::string value = '"' + std::string(90, 'v') + R"(\" \\ \n endless stream")";
        std::string all;
        for (unsigned i = 0; i < 20'000; ++i, first += step) {
            all += std::to_string(first) + lineEnd + value + lineEnd;
        }
        return all;
    }
    static std::string numbers(unsigned count) {
        std::string all;
        for (unsigned i = 0; i < count; ++i) {
            all += std::to_string(7 * i) + '\n' + std::to_string(i) + '\n';
        }
        return all;
    }
    static std::string inserted(std::string text, std::size_t at, const std::string& piece) {
        return text.insert(text.find('\n', text.find("\"\n", at)) + 1, piece);
    }

    /// What a caller can tell of reading.
    std::string readBy(unsigned threads, const std::string& streams) {
        std::istringstream in("channel\nname c\n" + streams + "endChannel\nendAssociations\n");
        TextOutline outline{in.str().size()};
        ReadContext context;
        context.threads = threads;
        context.outline = &outline;
        context.attachTo(in);
        std::string all;
        const auto& format = AssociationsSerializerRaw::theFormat();
        const std::unique_ptr<Associations> read(format.read(in, all));
        all += "|" + std::to_string(static_cast<long long>(in.tellg()));
        if (!read) return all;
        std::ostringstream out;
        EXPECT_EQ(format.write(*read, out, all), 0);
        for (const StreamOutline& one : outline.streams) {
            all += '|' + one.stream;
            for (const std::size_t number :
                 {one.begin, one.elementsEnd, one.end, one.blockSize, one.elements}) {
                all += ' ' + std::to_string(number);
            }
            for (const std::size_t block : one.blocks) all += ',' + std::to_string(block);
        }
        fHadElements = out.str().size() > 1'000'000;
        return all + out.str();
    }
    void expectTheSame(const std::string& what, const std::string& streams) {
        const std::string expected = readBy(1, streams);
        for (const unsigned threads : {2U, 3U, 9U}) {
            EXPECT_TRUE(readBy(threads, streams) == expected) << what << ", " << threads;
        }
    }

    std::vector<RefPtr<Structure>> fStructures;
    bool fHadElements = false;
};

TEST_F(ElementPieces, GiveWhatTheTextSays) {
    const std::string rising = texts(5, 3);
    const std::string small = stream("z", "Number", numbers(2000));
    expectTheSame("rising", stream("a", "Text", rising) + small);
    EXPECT_TRUE(fHadElements);
    expectTheSame("several", small + stream("a", "Text", rising) + stream("b", "Text", rising) +
                                 stream("c", "Number", numbers(150'000)) + small);
    expectTheSame("carriage returns", stream("a", "Text", texts(0, 1, " \r\n")));
    expectTheSame("falling", stream("a", "Text", texts(100'000, -2)));
    expectTheSame("the same twice", stream("a", "Text", rising + rising));
    expectTheSame("from the middle on", stream("a", "Text", rising + texts(50'000, 1)));
    expectTheSame("up to the highest number", stream("a", "Text", rising + "4294967295\n\"x\"\n"));
    EXPECT_TRUE(fHadElements);
}

// The guesses where elements begin go wrong.
TEST_F(ElementPieces, BeginWhereThePieceInFrontEnds) {
    const std::string rising = texts(0, 1);
    for (const std::size_t at : {std::size_t{0}, rising.size() / 3, rising.size() - 1000}) {
        expectTheSame("empty line", stream("a", "Text", inserted(rising, at, "\n")));
        expectTheSame("line that is a value",
                      stream("a", "Text", inserted(rising, at, "70000\n\n \n\"over lines\"\n")));
        expectTheSame("end of a stream in a string",
                      stream("a", "Text", inserted(rising, at, "70000\n\"endStream\"\n")));
        expectTheSame("lines in a string",
                      stream("a", "Text", inserted(rising, at, "70000\n\"a\n1\nb\"\n")));
    }
    std::string threeLines;
    for (int i = 0; i < 150'000; ++i) threeLines += std::to_string(i) + "\n\n123456\n";
    expectTheSame("three lines for each", stream("a", "Number", threeLines));
    EXPECT_TRUE(fHadElements);
}

TEST_F(ElementPieces, LeaveWhatIsNotPlain) {
    const std::string rising = texts(0, 1);
    for (const std::size_t at : {std::size_t{0}, rising.size() / 2, rising.size() - 1000}) {
        expectTheSame("no index", stream("a", "Text", inserted(rising, at, "oops\n\"x\"\n")));
        expectTheSame("no value", stream("a", "Text", inserted(rising, at, "70000\noops\n")));
        expectTheSame("text behind a value",
                      stream("a", "Text", inserted(rising, at, "+70000\n\"x\" y\n")));
    }
    // Lines so long that all text is one piece, which ends where it begins.
    const std::string longLine = '"' + std::string(2'500'000, 'v') + "\"\n";
    expectTheSame("nothing but what is not plain",
                  stream("a", "Text", "0\n\"x\"\noops\n" + longLine + "2\n" + longLine));
    // What follows is worth threads, but each of the elements is for the general reader.
    std::string odd;
    for (int i = 0; i < 90'000; ++i) odd += std::to_string(i) + "\n5 x\n";
    expectTheSame(
        "texts behind all values",
        stream("a", "Number", odd) + stream("b", "Number", odd) + stream("c", "Text", texts(0, 1)));
    expectTheSame("no end", "stream\nname a\nstructure Text\n" + rising);
    expectTheSame("an end within an element",
                  "stream\nname a\nstructure Text\n" + rising.substr(0, rising.size() - 60));
    expectTheSame("pairs", "stream\nname a\nindexType pair\nstructure Text\n" + rising);
}

}  // namespace
}  // namespace orbo::Data
