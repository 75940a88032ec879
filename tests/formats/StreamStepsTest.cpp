// The stream format step by step: what is read, counted and said, also behind errors.
// SPDX-License-Identifier: Apache-2.0
#include <data/Stream.h>
#include <data/StreamSerializerRaw.h>
#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "core/StructureRegistry.h"
#include "formats/LiteralStreamReader.h"
#include "formats/Reread.h"

namespace orbo::Data {
namespace {

class StreamSteps : public testing::Test {
  protected:
    StreamSteps() {
        for (const char* text :
             {"name=I:int32=a", "name=II:int32=a:int32=b", "name=T:bool=a:bool=b",
              "name=S:string=a:int8=b", "name=M:flt4x4=a", "name=MI:flt4x4=a:int32=b",
              "name=X:uint16=a:string=b:float[2]=c:flt4x4=d:bool=e:uint64=f"}) {
            std::istringstream in(text);
            std::string errors;
            Structure::registerStructure(*StructureSerializerRaw::theFormat().read(in, errors));
        }
    }

    static std::string literally(const std::string& text) {
        std::istringstream in(text);
        std::string messages;
        const auto stream = LiteralStreamReader(in).read(messages);
        return stream ? written<StreamSerializerRaw>(*stream) : messages;
    }
    /// What a reader throws for an index type that nobody registered is an outcome, too.
    template <typename Read>
    static std::string outcome(const Read& read, const std::string& text) {
        try {
            return read(text);
        } catch (Index::eCreationErrors code) {
            return "throws " + std::to_string(code);
        }
    }

    StructureRegistry::SetAside fOwnRegistry;
};

std::string sixteen(const std::string& number) {
    std::string text = number;
    for (int i = 1; i < 16; ++i) text += " " + number;
    return text;
}

// Behind an index line that cannot be read, the next line is read as an index line, and the values
// of later elements count.
TEST_F(StreamSteps, BehindABadIndexLineValuesAreReadAndCounted) {
    const struct {
        const char* structure;
        std::string elements;
        int errors;
    } rows[] = {
        {"I", "x\n0\n1\nendStream\n", 1},     // "0" is an index, "1" its value
        {"I", "x\n5\n0\n1\nendStream\n", 2},  // "1" is no bad index: it takes "endStream"
        {"I", "x\n5 5\n0\n1\nendStream\n", 2},
        {"I", "x\n5 5\n0\nbad\n1\n2\nendStream\n", 3},  // a bad number ends the stream
        {"I", "x\n5 5\n0\n99999999999\n1\nbad\n", 3},
        {"T", "x\nt f\n0\nyes no\n1\nt maybe\nendStream\n", 5},  // a bad boolean does not
        {"S", "x\n\"a\" 1\n0\na b\nendStream\n", 4},
        {"S", "x\n\"a\" 1\n0\n\"a\nb\" 300\n1\n\"c\" 1\nendStream\n", 3},
        {"S", "x\n\"a\" 1\n0\n\"open\nendStream\n", 3},
        {"M", "x\n" + sixteen("1") + "\n0\n" + sixteen("1") + "\nendStream\n", 2},
        {"M", "x\n0 0\n0\n1 oops\n1\n" + sixteen("inf") + "\nendStream\n", 33},
        {"MI", "x\n0 0\n0\n" + sixteen("2") + " bad\nendStream\n", 3},
        {"II", "x\n0 0\n0\n1\n1\n2 3\nendStream\n", 3},  // a value too few takes the index behind
        {"I", "x\n" + std::string(3000, 'y') + "\n0\nbad\nendStream\n", 3},
        {"I", "x", 1},
        {"I", "x\n0 0\n7", 2},
    };
    for (const auto& row : rows) {
        const std::string text =
            "name s\nstructure " + std::string(row.structure) + "\n" + row.elements;
        const std::string found = reread<StreamSerializerRaw>(text);
        const std::string summary = std::to_string(row.errors) +
                                    (row.errors > 1 ? " errors" : " error") +
                                    " found, Stream not created";
        EXPECT_EQ(found.substr(found.rfind('\n') + 1), summary) << text;
        EXPECT_EQ(found, literally(text)) << text;
    }
}

/// Texts of lines that readers meet, and of some that they should not.
class Texts {
  public:
    std::string any() {
        std::string text;
        for (const char* line : {"name s", "structure ", "indexType "}) {
            if (below(20) == 0) continue;
            text += line;
            if (line[0] == 's') text += pick({"I", "II", "T", "S", "M", "MI", "X", "X", "X"});
            if (line[0] == 'i') text += pick({"numeric", "numeric", "pair", "string"});
            text += "\n";
        }
        const unsigned int elements = below(6);
        for (unsigned int i = 0; i < elements; ++i) {
            text += pick({"0", "1", "7 7", "2 1", "x", "-1", " 3 ", "\n", "4294967296"}) + "\n";
            const unsigned int values = below(24);
            for (unsigned int k = 0; k < values; ++k) text += value();
            if (below(12) != 0) text += "\n";
        }
        if (below(8) != 0) text += "endStream\n";
        if (below(5) == 0) text.resize(below(static_cast<unsigned int>(text.size()) + 1));
        return text;
    }

  private:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(fBits() % limit); }
    std::string pick(const std::vector<std::string>& all) {
        return all[below(static_cast<unsigned int>(all.size()))];
    }
    std::string value() {
        if (below(4) == 0) return sixteen(pick({"1", "0.5", "-2e3", "inf", "1 x"})) + " ";
        return pick({"0",     "1",     "t",          "false",          "yes",    "12",         "-3",
                     "300",   "70000", "1.5",        "1e999",          "nan",    "inf",        "x",
                     "\"a\"", "\"\"",  "\"a\\\"b\"", "\"two\nlines\"", "\"open", "1 \"s\" 1 2"}) +
               pick({" ", " ", " ", "\t", "", "\n"});
    }

    std::mt19937 fBits{14};
};

TEST_F(StreamSteps, AnyTextReadsAsTheStepsSay) {
    Texts texts;
    unsigned int accepted = 0;
    unsigned int refused = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string text = texts.any();
        const std::string expected = outcome(literally, text);
        const auto read = [](const std::string& t) { return reread<StreamSerializerRaw>(t); };
        ASSERT_EQ(outcome(read, text), expected) << text;
        ++(expected.substr(0, 5) == "name " ? accepted : refused);
    }
    EXPECT_GT(accepted, 1000U);
    EXPECT_GT(refused, 1000U);
}

}  // namespace
}  // namespace orbo::Data
