// The text format of structures.
// SPDX-License-Identifier: Apache-2.0
#include <data/StructureSerializerRaw.h>

#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <locale>
#include <random>
#include <sstream>

namespace orbo::Data {
namespace {

const StructureSerializerRaw& format = StructureSerializerRaw::theFormat();

RefPtr<Structure> parsed(const std::string& text, std::string& errors) {
    std::istringstream in(text);
    return RefPtr<Structure>(format.read(in, errors));
}

std::string written(const Structure& structure) {
    std::ostringstream out;
    EXPECT_EQ(0, format.write(structure, out));
    return out.str();
}

TEST(StructureText, ReadsWhatIsLaidOutAnyWay) {
    const struct {
        const char* text;
        const char* canonical;
    } cases[] = {
        {"name=Test:int32=ID:float[3]=Origin", "name=Test:int32=ID:float[3]=Origin"},
        {"name=A\nint32[1]=ID", "name=A:int32=ID"},
        {" \n name = My Structure \r\n\n : int32\t= ID ::\n \n:float[ +3 ]= Origin \v\n:",
         "name=My Structure:int32=ID:float[3]=Origin"},
        {"int32=ID:name=A:name=B", "name=B:int32=ID"},
        {"name=A:int32=ID=:", "name=A:int32=ID"},
        {"name= :int32=ID", "name=:int32=ID"},
        // A repeated name is left out without a word, and so is what has no values.
        {"name=A:int32=ID:float=ID:string=S", "name=A:int32=ID:string=S"},
        {"name=A:bool=a:float[x]=b:float[-1]=c:float[0]=d:float[4294967296]=e:float[]=f",
         "name=A:bool=a"},
        {"name=A:string[2x]=g:dbl4x4[007]=h:flt4x4[4294967295]=i",
         "name=A:string[2]=g:dbl4x4[7]=h:flt4x4[4294967295]=i"},
    };
    for (const auto& row : cases) {
        std::string errors;
        const auto structure = parsed(row.text, errors);
        EXPECT_EQ("", errors) << row.text;
        ASSERT_TRUE(structure) << row.text;
        EXPECT_EQ(row.canonical, written(*structure)) << row.text;
    }
}

TEST(StructureText, SaysWhatIsWrongWithEachField) {
    const std::string tooShort = "Structures must have a name and at least one member";
    const std::string noEquals = "Member type and name must be separated by '='";
    const std::string noName = "Name is missing; member type 'name' is used to set it";
    const std::string open =
        "has opening bracket '[' but no closing bracket ']' for dimension specification";
    const std::string close =
        "has closing bracket ']' but no opening bracket '[' for dimension specification";
    const struct {
        const char* text;
        std::string errors;
    } cases[] = {
        {"", tooShort},
        {":\n : name=A ::\n \n", tooShort},
        {"int32=a\nint32=b", noName},
        {"name=A:Float=a", "Member type 'Float' not recognized"},
        {"name=A:invalid=a", "Member type 'invalid' not recognized"},
        {"name=A:float [3]=a", "Member type 'float ' not recognized"},
        {"name=A:=a", "Member type '' not recognized"},
        {"name=A:int32", noEquals},
        {"name=:int32=a", noEquals + "\n" + noName},
        {"name=A:int32=a=b", noEquals},
        // The messages name the bracket that is there.
        {"name=A: float3] = a", "Member 'float3]' " + open},
        {"name=A:float[3=a", "Member 'float[3' " + close},
        {"name=A:[3]=a", "Member '[3]' needs name before dimension specifier"},
        {"name=A:[3=a", "Member '[3' needs name before dimension specifier"},
        {"int=a:x:float[=b:bool=c", "Member type 'int' not recognized\n" + noEquals +
                                        "\nMember 'float[' " + close + "\n" + noName},
    };
    const auto alive = Structure::objectsAlive();
    for (const auto& row : cases) {
        std::string errors = "before ";
        EXPECT_FALSE(parsed(row.text, errors)) << row.text;
        EXPECT_EQ("before " + row.errors, errors) << row.text;
    }
    EXPECT_EQ(alive, Structure::objectsAlive());
}

TEST(StructureText, WhatWasReadBelongsToTheCallerAlone) {
    std::istringstream in("name=Fresh:int32=ID");
    std::string errors;
    Structure* structure = format.read(in, errors);
    EXPECT_EQ(0, structure->refCount());
    EXPECT_EQ(nullptr, Structure::structureByName("Fresh"));
    const auto alive = Structure::objectsAlive();
    written(*structure);
    EXPECT_EQ(alive, Structure::objectsAlive()) << "writing leaves it alone";
    EXPECT_EQ(0, structure->refCount());
    const RefPtr<Structure> released(structure);
}

TEST(StructureText, WriteReadWriteIsTheSame) {
    std::mt19937 random(15);
    const auto below = [&](unsigned int limit) {
        return static_cast<unsigned int>(random() % limit);
    };
    for (int round = 0; round < 300; ++round) {
        const RefPtr<Structure> structure(Structure::create());
        structure->setName(("S " + std::to_string(below(5))).c_str());
        const unsigned int members = 1 + below(6);
        for (unsigned int i = 0; i < members; ++i) {
            const std::string name = "\xC3\xA4[" + std::to_string(i) + "] 'x'";
            structure->addMember(static_cast<Member::eDataType>(below(Member::kInvalid)),
                                 1 + below(3), name.c_str());
        }
        std::string errors;
        const auto again = parsed(written(*structure), errors);
        ASSERT_TRUE(again) << errors;
        EXPECT_EQ(*structure, *again);
        EXPECT_EQ(written(*structure), written(*again));
    }
}

TEST(StructureText, ManyFieldsAndLongNames) {
    std::string text = "name=" + std::string(5000, 'n');
    for (int i = 0; i < 50000; ++i) text += ":uint8=m" + std::to_string(i);
    std::string errors;
    const auto structure = parsed(text, errors);
    ASSERT_TRUE(structure) << errors;
    EXPECT_EQ(50000U, structure->memberCount());
    EXPECT_EQ(text, written(*structure));
}

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(StructureText, StreamsCannotChangeTheText) {
    const std::string text = "name=A:float[1000]=values";
    std::string errors;
    const auto structure = parsed(text, errors);
    std::ostringstream out;
    out.imbue(std::locale(out.getloc(), new Grouping));
    out.width(100);
    out.setf(std::ios_base::hex, std::ios_base::basefield);
    format.write(*structure, out);
    EXPECT_EQ(text, out.str());
}

}  // namespace
}  // namespace orbo::Data
