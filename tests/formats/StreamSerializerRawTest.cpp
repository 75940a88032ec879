// The text format of streams.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexType.h>
#include <data/Stream.h>
#include <data/StreamSerializerRaw.h>

#include "core/StructureRegistry.h"
#include "formats/Reread.h"

namespace orbo::Data {
namespace {

using Raw = StreamSerializerRaw;

class StreamText : public testing::Test {
  protected:
    StreamText() {
        for (const char* text :
             {"name=Tag:int32=a:string=b", "name=Byte:int8=a", "name=Flag:bool=a",
              "name=Point:float[3]=a", "name=Frame:flt4x4=a:int32=b",
              "name=Frames:flt4x4[2]=a:dbl4x4=b", "name=Large:int8[100000]=a",
              "name=Huge:dbl4x4[4000000000]=a:string[4000000000]=b"}) {
            std::istringstream in(text);
            std::string errors;
            Structure::registerStructure(*StructureSerializerRaw::theFormat().read(in, errors));
        }
        const RefPtr<Structure> nothing(new Structure("Nothing"));
        Structure::registerStructure(*nothing);
    }

    // What becomes of these values at index 0, or the messages.
    static std::string values(const std::string& structure, const std::string& text) {
        const std::string head = "name S\nindexType numeric\nstructure " + structure + "\n0\n";
        const std::string back = reread<Raw>(head + text + "\nendStream\n");
        if (back.rfind(head, 0) != 0) return back;
        return back.substr(head.size(), back.rfind("\nend") - head.size());
    }

    StructureRegistry::SetAside fOwnRegistry;
};

TEST_F(StreamText, WholeTexts) {
    const std::string none = " found, Stream not created";
    const std::string noName = "Index data encountered before Stream name specified at record ";
    const std::string noStructure =
        "Index data encountered before Structure name specified at record ";
    const std::pair<std::string, std::string> rows[] = {
        // Header lines come in any order, elements in theirs.
        {"\n \t \n structure   Tag  \n\nname  S 1 \r\n10\n-1 \"\"\n\n2\r\n7\n\"x\" "
         "rest\nendStream\n?",
         "name S 1\nindexType numeric\nstructure Tag\n2\n7 \"x\"\n10\n-1 \"\"\nendStream\n"},
        {"namesake\nstructure Tag", "name sake\nindexType numeric\nstructure Tag\nendStream\n"},
        {"name\nstructure Nothing\n3\n\nendStream",
         "name \nindexType numeric\nstructure Nothing\n3\n\nendStream\n"},
        {"structure Byte\nname S\nindexType pair\n0 2\n6\n0 1\n5",
         "name S\nindexType pair\nstructure Byte\n0 1\n5\n0 2\n6\nendStream\n"},
        // Behind the header, its keywords are indices.
        {"indexType string\nname S\nstructure Byte\nname\n6\na b;c\n5\nendStream",
         "name S\nindexType string\nstructure Byte\na b;c\n5\nname\n6\nendStream\n"},
        {"name S\nstructure Tag\n0\n7",
         "name S\nindexType numeric\nstructure Tag\n0\n7 \"\"\nendStream\n"},

        {"", noName + "0\n1 error" + none},
        {"structure Tag\n0\n1 \"\"\nendStream", noName + "2\n1 error" + none},
        {"name S\n0\n", noStructure + "2\n1 error" + none},
        {"name S\nstructure No\nend",
         "Structure 'No' not found\n" + noStructure + "3\n2 errors" + none},
        {"name S\nstructure Byte\nname T\nendStream\n",
         "Value 'name T' on or about character 29 is not a legal index (code 1) of type "
         "numeric\n1 error" +
             none},
        {"name S\nindexType pair\nstructure Byte\n1 2 3\nendStream\n",
         "Value '1 2 3' on or about character 43 is not a legal index (code 2) of type pair\n"
         "1 error" +
             none},
        {"name S\nindexType odd\nstructure Byte\nendStream\n",
         "Creator for index type 'odd' not found\n" + noStructure + "2\n2 errors" + none},
        // Messages of members are counted, not kept.
        {"name S\nstructure Byte\n0\n300\n1\n-129\nendStream\n", "2 errors" + none},
        // What cannot begin a number stands in the way of all that follow; so does the text's end.
        {"name S\nstructure Frames\n0\nx\n1\n1 2 x\n2\nx", "142 errors" + none},
        {"name S\nstructure Frames\n0\n1 2 3", "45 errors" + none},
    };
    const IndexType::IndexRegistration odd("odd", nullptr);
    for (const auto& [text, expected] : rows) EXPECT_EQ(reread<Raw>(text), expected);
}

TEST_F(StreamText, ValuesReadAsTheirTypes) {
    const std::string bad = "1 error found, Stream not created";
    const std::string unit = "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 5";
    std::string many = "1";
    for (int i = 1; i < 100000; ++i) many += " 2";
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"Point", "1234567.25 -2e3\n\n+.5", "1.23457e+06 -2000 0.5"},
        {"Point", "1 2 inf", bad},
        {"Point", "1 2,5 3", bad},
        {"Byte", "-128 ignored", "-128"},
        {"Flag", "T", "true"},
        {"Flag", "trueish", bad},
        {"Tag", R"(1234567 "a \"q\" b\\c\nd\e;")", R"(1234567 "a \"q\" b\\c\nde;")"},
        {"Tag", "7\t\"\xff raw\x01 bytes\"", "7 \"\xff raw\x01 bytes\""},
        {"Tag", "7 x", bad},
        {"Tag", std::string("7 \"ab\0cd\"", 9), bad},
        {"Tag", "7 \"no end", bad},
        {"Frame", unit, unit},
        {"Frame", "1 1e99 0 0 0 1 0 0 0 0 1 0 0 0 0 1 5", bad},
        {"Frame", "1 0 inf", "15 errors found, Stream not created"},
        // Nothing is allocated on a structure's word alone.
        {"Huge", "1 2 3",
         "Data at record 4 cannot hold the 544000000000 bytes of structure 'Huge'\n" + bad},
        {"Large", "1 2",
         "Data at record 4 cannot hold the 100000 bytes of structure 'Large'\n" + bad},
        {"Large", many, many},
    };
    for (const auto& [structure, text, expected] : rows)
        EXPECT_EQ(values(structure, text), expected) << text.substr(0, 80);
}

TEST_F(StreamText, ReadingValuesIntoAHandle) {
    const Structure& tag = *Structure::structureByName("Tag");
    const std::string noData = "Member at record 3 not recognized as a ";
    const std::tuple<Handle, std::string, unsigned int, std::string> rows[] = {
        {Handle(tag), "7 \"x\"", 0, ""},
        {Handle(tag), "7", 0, ""},
        {Handle(tag), "x \"x", 1, "Int32 value in record 3 on or about character -1 is invalid\n"},
        {Handle(tag, nullptr), "7 \"x\"", 2, noData + "String\n"},
    };
    for (const auto& [element, text, count, messages] : rows) {
        std::istringstream in(text);
        std::string errors;
        Handle handle = element;
        EXPECT_EQ(Raw::theFormat().readStructure(tag, in, 3, handle, errors), count) << text;
        EXPECT_EQ(errors, messages) << text;
    }
}

/// Counts how often somebody looks at the next character.
struct Watched : std::streambuf {
    explicit Watched(const char* characters) : text(characters) {}
    int_type underflow() override { return ++looks, *text ? *text : traits_type::eof(); }
    int_type uflow() override { return *text ? *text++ : traits_type::eof(); }
    const char* text;
    int looks = 0;
};

TEST_F(StreamText, ReadingOneMemberNamesEachBadValueOfAMatrix) {
    Handle handle(*Structure::structureByName("Frame"));
    Watched text("1 2 x");
    std::istream in(&text);
    std::string errors;
    EXPECT_EQ(Raw::theFormat().readMember(in, 3, handle, errors), 14U);
    EXPECT_EQ(errors.substr(0, errors.find('\n')),
              "Float matrix on or about character -1 has invalid value at row 0, column 2");
    EXPECT_EQ(errors.substr(errors.size() - 16), "row 3, column 3\n");
    EXPECT_LT(text.looks, 40) << "what stands in the way is looked at once for all";
}

// Once there are errors, the rest is counted and not kept.
TEST_F(StreamText, ErrorsAreCountedWithoutKeepingElements) {
    const auto alive = Handle::objectsAlive();
    std::string many = "name S\nstructure Byte\n0\n300\n1\n2\n";
    for (int i = 0; i < 20000; ++i) many += "bad index\n";
    const std::string errors = reread<Raw>(many);
    EXPECT_LT(errors.size(), 20000U);
    EXPECT_NE(errors.find("20001 errors found, Stream not created"), std::string::npos);
    EXPECT_EQ(Handle::objectsAlive(), alive);
}

}  // namespace
}  // namespace orbo::Data
