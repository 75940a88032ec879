// The text format of streams.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>
#include <data/Stream.h>
#include <data/StreamSerializerRaw.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cstring>
#include <iomanip>
#include <memory>
#include <random>
#include <sstream>

#include "core/StructureRegistry.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {
namespace {

class StreamText : public testing::Test {
  protected:
    StreamText() {
        define("Tag", {{Member::kInt32, 1}, {Member::kString, 1}});
        define("Byte", {{Member::kInt8, 1}});
        define("Flag", {{Member::kBoolean, 1}});
        define("Point", {{Member::kFloat, 3}});
        define("Frame", {{Member::kFloatMatrix4x4, 1}, {Member::kInt32, 1}});
        define("Nothing", {});
    }

    Structure& define(const char* name,
                      std::initializer_list<std::pair<Member::eDataType, unsigned int>> members) {
        RefPtr<Structure> structure(new Structure(name));
        char member[] = "a";
        for (const auto& [type, length] : members) {
            structure->addMember(type, length, member);
            ++member[0];
        }
        Structure::registerStructure(*structure);
        return *structure;
    }

    static std::unique_ptr<Stream> readFrom(std::istream& in, std::string& errors) {
        return std::unique_ptr<Stream>(StreamSerializerRaw::theFormat().read(in, errors));
    }

    static std::string written(const Stream& stream) {
        std::ostringstream out;
        std::string errors;
        EXPECT_EQ(StreamSerializerRaw::theFormat().write(stream, out, errors), 0) << errors;
        return out.str();
    }

    // The stream that the text gives, written again, or the messages.
    static std::string read(const std::string& text) {
        std::istringstream in(text);
        std::string errors = "before";
        const auto stream = readFrom(in, errors);
        return stream ? written(*stream) : errors;
    }

    // The same for one element at index 0 with these values.
    static std::string readValues(const std::string& structure, const std::string& values) {
        const std::string head = "name S\nindexType numeric\nstructure " + structure + "\n0\n";
        const std::string back = read(head + values + "\nendStream\n");
        return back.rfind(head, 0) == 0
                   ? back.substr(head.size(), back.rfind("\nend") - head.size())
                   : back;
    }

    StructureRegistry::SetAside fOwnRegistry;
};

TEST_F(StreamText, HeaderLinesComeInAnyOrderAndElementsInTheirs) {
    const std::string full =
        "name S 1\nindexType numeric\nstructure Tag\n2\n7 \"x\"\n10\n-1 \"\"\nendStream\n";
    EXPECT_EQ(read(full), full);
    EXPECT_EQ(read("\n \t\n structure   Tag  \n\nname  S 1 \r\n10\n-1 \"\"\n\n2\r\n7\n\"x\" rest\n"
                   "endStream\nnot read"),
              full);
    EXPECT_EQ(read("namesake\nstructure Tag"),
              "name sake\nindexType numeric\nstructure Tag\n"
              "endStream\n");
    EXPECT_EQ(read("name\nstructure Nothing\n3\n\nendStream"),
              "name \nindexType numeric\nstructure Nothing\n3\n\nendStream\n");
    const std::string longName(70000, 'n');
    EXPECT_EQ(read("name " + longName + "\nstructure Tag\nendStream").substr(5, 70000), longName);
}

TEST_F(StreamText, FaultsAreReportedAndCounted) {
    const std::string summary = "1 error found, Stream not created";
    for (const auto& [text, expected] : std::initializer_list<std::pair<const char*, std::string>>{
             {"", "Index data encountered before Stream name specified at record 0\n" + summary},
             {"structure Tag\n0\n1 \"\"\nendStream",
              "Index data encountered before Stream name specified at record 2\n" + summary},
             {"name S\n0\n",
              "Index data encountered before Structure name specified at record 2\n" + summary},
             {"name S\nstructure None\nendStream",
              "Structure 'None' not found\nIndex data encountered before Structure name specified "
              "at "
              "record 3\n2 errors found, Stream not created"},
             {"name S\nstructure Byte\nabc\nendStream\n",
              "Value 'abc' on or about character 26 is not a legal index (code 1) of type "
              "numeric\n" +
                  summary},
             {"name S\nstructure Byte\nname T\nendStream\n",
              "Value 'name T' on or about character 29 is not a legal index (code 1) of type "
              "numeric\n" +
                  summary},
             {"name S\nindexType pair\nstructure Byte\n1 2 3\nendStream\n",
              "Value '1 2 3' on or about character 43 is not a legal index (code 2) of type "
              "pair\n" +
                  summary},
             // Messages of members are counted, not kept.
             {"name S\nstructure Byte\n0\n300\n1\n-129\nendStream\n",
              "2 errors found, Stream not created"},
         }) {
        EXPECT_EQ(read(text), expected) << text;
    }
    std::istringstream in("name S\nindexType foo\nstructure Byte\nendStream\n");
    std::string errors = "before";
    EXPECT_THROW((void)readFrom(in, errors), Index::eCreationErrors);
    EXPECT_EQ(errors, "before");
}

TEST_F(StreamText, ValuesReadAsTheirTypes) {
    const std::string bad = "1 error found, Stream not created";
    for (const auto& [structure, values, expected] :
         std::initializer_list<std::tuple<const char*, const char*, std::string>>{
             {"Point", "1.5 -2e3\n\n+.5", "1.5 -2000 0.5"},
             {"Point", "1 2 inf", bad},
             {"Point", "1 2,5 3", bad},
             {"Byte", "-128 ignored", "-128"},
             {"Flag", "T", "true"},
             {"Flag", "yes", bad},
             {"Flag", "trueish", bad},
             {"Tag", R"(7 "a \"q\" b\\c\nd\e;")", R"(7 "a \"q\" b\\c\nde;")"},
             {"Tag", "7\t\"\xff raw\x01 bytes\"", "7 \"\xff raw\x01 bytes\""},
             {"Tag", "7 x", bad},
             {"Tag", "7 \"no end", bad},
         }) {
        EXPECT_EQ(readValues(structure, values), expected) << structure << " " << values;
    }
    EXPECT_NE(read("name S\nstructure Tag\n0\n7").find("7 \"\""), std::string::npos)
        << "what the text ends before is default";
}

TEST_F(StreamText, BadMatrixValuesAreCountedToTheEnd) {
    EXPECT_EQ(readValues("Frame", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 5"),
              "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 5");
    EXPECT_EQ(readValues("Frame", "1 0 inf"), "15 errors found, Stream not created");
    EXPECT_EQ(readValues("Frame", "1 1e99 0 0 0 1 0 0 0 0 1 0 0 0 0 1 5"),
              "1 error found, Stream not created");

    Structure& structure = *Structure::structureByName("Frame");
    Handle handle(structure);
    std::istringstream in("1 2 x");
    std::string errors;
    EXPECT_EQ(StreamSerializerRaw::theFormat().readMember(in, 3, handle, errors), 14U);
    EXPECT_EQ(errors.substr(0, errors.find('\n')),
              "Float matrix on or about character -1 has invalid value at row 0, column 2");
    EXPECT_EQ(errors.substr(errors.size() - 16), "row 3, column 3\n");
}

TEST_F(StreamText, TypedIndicesRoundTrip) {
    for (const char* elements :
         {"indexType pair\nstructure Byte\n0 1\n5\n0 2\n6\nendStream\n",
          "indexType string\nstructure Byte\na b;c\n5\nname\n6\nz\n7\nendStream\n"}) {
        EXPECT_EQ(read(std::string("name S\n") + elements), std::string("name S\n") + elements);
    }
    const std::string unknown =
        "name S\nindexType texel\nstructure Byte\n0.5 1\n5\nleft\n6\nendStream\n";
    const IndexTypes::KeepUnknown keep;
    EXPECT_EQ(read(unknown), unknown);
    std::istringstream in(unknown);
    std::string errors;
    EXPECT_TRUE(readFrom(in, errors)->hasElement(IndexText("texel", "left")));
}

// Every type, random contents, in memory and through a buffer too small for most tokens.
TEST_F(StreamText, RandomStreamsRoundTrip) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 200; ++round) {
        const std::string name = "R" + std::to_string(round);
        RefPtr<Structure> structure(new Structure(name.c_str()));
        for (int i = static_cast<int>(random() % 6); i >= 0; --i) {
            structure->addMember(static_cast<Member::eDataType>(random() % Member::kInvalid),
                                 static_cast<unsigned int>(1 + random() % 3),
                                 std::to_string(i).c_str());
        }
        Structure::registerStructure(*structure);
        Stream stream(*structure, "S");
        for (int i = 0; i < 20; ++i) {
            Handle handle(*structure);
            for (unsigned int m = 0; m < structure->memberCount(); ++m) {
                handle.setPositionByMemberIndex(m);
                for (unsigned int k = 0; k < handle.dataLength(); ++k) {
                    std::string text = std::to_string(random() % 100);
                    for (int n = 1; n < 16; ++n) text += " " + std::to_string(random() % 100);
                    if (handle.dataType() == Member::kBoolean) text = random() % 2 ? "t" : "f";
                    if (handle.dataType() == Member::kString) {
                        text.clear();
                        for (auto n = random() % 9; n > 0; --n)
                            text += "\\\" n\n\"\t;"[random() % 9];
                    }
                    std::string errors;
                    ASSERT_EQ(handle.fromStr(text, k, errors), 0U) << errors;
                }
            }
            stream.setElement(static_cast<unsigned int>(random() % 1000), handle);
        }
        const std::string text = written(stream);
        ASSERT_EQ(read(text), text);
    }
}

TEST_F(StreamText, NumbersFollowThePrecisionOfTheStreamAndNoLocale) {
    std::istringstream in("name S\nstructure Point\n1000000\n1.23456789 1234567 0.1\nendStream\n");
    in.imbue(std::locale(""));
    std::string errors;
    const auto stream = readFrom(in, errors);
    std::ostringstream out;
    out << std::setprecision(9);
    StreamSerializerRaw::theFormat().write(*stream, out, errors);
    EXPECT_NE(out.str().find("\n1000000\n1.23456788 1234567 0.100000001\n"), std::string::npos);
}

TEST_F(StreamText, ElementsWithoutDataAreErrors) {
    Stream stream(*Structure::structureByName("Tag"), "S");
    stream.setElement(4, Handle(*Structure::structureByName("Tag"), nullptr));
    std::ostringstream out;
    std::string errors = "before ";
    EXPECT_EQ(StreamSerializerRaw::theFormat().write(stream, out, errors), 2);
    EXPECT_EQ(errors,
              "before Member at record 1 not recognized as a Int32\n"
              "1 error found, Member may not be written correctly\n"
              "Member at record 1 not recognized as a String\n"
              "1 error found, Member may not be written correctly\n"
              "2 errors found, Stream may not be written correctly\n");
    out.setstate(std::ios_base::badbit);
    errors.clear();
    EXPECT_EQ(StreamSerializerRaw::theFormat().write(
                  Stream(*Structure::structureByName("Tag"), "S"), out, errors),
              1);
    EXPECT_EQ(errors,
              "Error in stream while writing.\n1 error found, Stream may not be written "
              "correctly\n");
}

// Nothing is allocated on a structure's word alone.
TEST_F(StreamText, AnElementTooLargeForTheTextIsRefused) {
    define("Huge", {{Member::kDoubleMatrix4x4, 4000000000U}, {Member::kString, 4000000000U}});
    EXPECT_EQ(readValues("Huge", "1 2 3"),
              "Data at record 4 cannot hold the 544000000000 bytes of structure 'Huge'\n"
              "1 error found, Stream not created");
    define("Large", {{Member::kInt8, 100000}});
    std::string values = "1";
    for (int i = 1; i < 100000; ++i) values += " 2";
    EXPECT_EQ(readValues("Large", values), values);
}

TEST_F(StreamText, DescriptionNamesTheKeywords) {
    std::ostringstream out;
    StreamSerializerRaw::theFormat().getFormatDescription(out);
    const std::string text = out.str();
    EXPECT_EQ(
        text.rfind("The raw format consists of a structure name and a series \nof values.", 0), 0U);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 43);
    EXPECT_NE(text.find("\nmarks (\") and quotation marks and newlines within the string\n"
                        "must be escaped using the backslash character (\\\", \\n), as\n"
                        "is the backslash itself (\\\\) Matrix elements are printed in\n"),
              std::string::npos);
}

}  // namespace
}  // namespace orbo::Data
