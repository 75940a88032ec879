// The text format of structures.
// SPDX-License-Identifier: Apache-2.0
#include "formats/Reread.h"

namespace orbo::Data {
namespace {

using Raw = StructureSerializerRaw;

TEST(StructureText, IsReadHoweverItIsLaidOutOrSaysWhatIsWrong) {
    const std::string tooShort = "Structures must have a name and at least one member";
    const std::string noEquals = "Member type and name must be separated by '='";
    const std::string noName = "Name is missing; member type 'name' is used to set it";
    // The messages name the bracket that is there.
    const std::string closes =
        "' has opening bracket '[' but no closing bracket ']' for dimension specification";
    const std::string opens =
        "' has closing bracket ']' but no opening bracket '[' for dimension specification";
    const std::pair<std::string, std::string> rows[] = {
        {" \n name = My Structure \r\n\n : int32[1]\t= ID ::\n \n:float[ +3 ]= Origin \v\n:",
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
        {"name=A:float[1000]=values", "name=A:float[1000]=values"},

        {":\n : name=A ::\n \n", tooShort},
        {"int32=a\nint32=b", noName},
        {"name=A:Float=a", "Member type 'Float' not recognized"},
        {"name=A:invalid=a", "Member type 'invalid' not recognized"},
        {"name=A:float [3]=a", "Member type 'float ' not recognized"},
        {"name=:int32=a", noEquals + "\n" + noName},
        {"name=A:int32=a=b", noEquals},
        {std::string("name=A:int32=a \0b", 17), "Names cannot hold a zero byte"},
        {"name=A: float3] = a", "Member 'float3]" + closes},
        {"name=A:[3=a", "Member '[3' needs name before dimension specifier"},
        {"int=a:x:float[=b:bool=c", "Member type 'int' not recognized\n" + noEquals +
                                        "\nMember 'float[" + opens + "\n" + noName},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(reread<Raw>(text, "before "), "before " + expected);
}

TEST(StructureText, WhatWasReadBelongsToTheCallerAlone) {
    const auto alive = Structure::objectsAlive();
    std::istringstream in("name=Fresh:int32=ID");
    std::string errors;
    Structure* structure = Raw::theFormat().read(in, errors);
    EXPECT_EQ(Structure::structureByName("Fresh"), nullptr);
    written<Raw>(*structure);
    EXPECT_EQ(structure->refCount(), 0);
    owned(structure);
    reread<Raw>("name=A:int=b");
    EXPECT_EQ(Structure::objectsAlive(), alive);
}

TEST(StructureText, ManyFieldsAndLongNames) {
    std::string text = "name=" + std::string(5000, 'n');
    for (int i = 0; i < 50000; ++i) text += ":uint8=m" + std::to_string(i);
    EXPECT_EQ(reread<Raw>(text), text);
}

}  // namespace
}  // namespace orbo::Data
