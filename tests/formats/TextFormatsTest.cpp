// The text formats: golden texts, and what no text shows.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/ChannelSerializerRaw.h>
#include <data/Handle.h>
#include <data/IndexType.h>
#include <data/Stream.h>
#include <data/StreamSerializerRaw.h>

#include <functional>
#include <map>
#include <tuple>

#include "core/StructureRegistry.h"
#include "formats/Reread.h"
#include "support/Cases.h"

namespace orbo::Data {
namespace {

class FormatTexts : public testing::Test {
  protected:
    FormatTexts() {
        for (const char* text :
             {"name=Tag:int32=a:string=b", "name=Byte:int8=a", "name=Flag:bool=a",
              "name=Point:float[3]=a", "name=Frame:flt4x4=a:int32=b",
              "name=Frames:flt4x4[2]=a:dbl4x4=b", "name=Large:int8[100000]=a",
              "name=Wide:float[200000000]=a", "name=Huge:dbl4x4[4000000000]=a:string[4000000000]=b",
              "name=Note:int32=number:string=text"}) {
            std::istringstream in(text);
            std::string errors;
            Structure::registerStructure(*StructureSerializerRaw::theFormat().read(in, errors));
        }
        const RefPtr<Structure> nothing(new Structure("Nothing"));
        Structure::registerStructure(*nothing);
    }

    StructureRegistry::SetAside fOwnRegistry;
};

TEST_F(FormatTexts, AreReadAndWrittenOrSayWhatIsWrong) {
    const std::map<std::string, std::function<std::string(const std::string&, std::string)>>
        formats{{"structure", reread<StructureSerializerRaw>},
                {"stream", reread<StreamSerializerRaw>},
                {"channel", reread<ChannelSerializerRaw>},
                {"associations", reread<AssociationsSerializerRaw>}};
    const IndexType::IndexRegistration odd("odd", nullptr);
    const auto whole = [](std::string text) {
        const std::size_t at = text.find("LONGNAME");
        return at == text.npos ? text : text.replace(at, 8, std::string(3000, 'n'));
    };
    for (const Case& each : casesOf("formats/data/texts.txt")) {
        // Messages of before stay, but for those of streams.
        const std::string before = each.name == "stream" ? "" : "before ";
        EXPECT_EQ(formats.at(each.name)(whole(each.parts.at(0)), before),
                  before + whole(each.parts.at(1)));
    }
    std::string large = "name S\nindexType numeric\nstructure Large\n0\n1";
    for (int i = 1; i < 100000; ++i) large += " 2";
    large += "\nendStream\n";
    EXPECT_EQ(reread<StreamSerializerRaw>(large), large);
    std::string many = "name=" + std::string(5000, 'n');
    for (int i = 0; i < 50000; ++i) many += ":uint8=m" + std::to_string(i);
    EXPECT_EQ(reread<StructureSerializerRaw>(many), many);
}

TEST_F(FormatTexts, ReadingValuesIntoAHandle) {
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
        EXPECT_EQ(StreamSerializerRaw::theFormat().readStructure(tag, in, 3, handle, errors), count)
            << text;
        EXPECT_EQ(errors, messages) << text;
    }
}

TEST_F(FormatTexts, ReadingOneMemberNamesEachBadValueOfAMatrix) {
    Handle handle(*Structure::structureByName("Frame"));
    std::istringstream in("1 2 x");
    std::string errors;
    EXPECT_EQ(StreamSerializerRaw::theFormat().readMember(in, 3, handle, errors), 14U);
    EXPECT_EQ(errors.substr(0, errors.find('\n')),
              "Float matrix on or about character -1 has invalid value at row 0, column 2");
    EXPECT_EQ(errors.substr(errors.size() - 16), "row 3, column 3\n");
}

// Once there are errors, the rest is counted and not kept.
TEST_F(FormatTexts, ErrorsAreCountedWithoutKeepingElements) {
    const auto alive = Handle::objectsAlive();
    std::string many = "name S\nstructure Byte\n0\n300\n1\n2\n";
    for (int i = 0; i < 20000; ++i) many += "bad index\n";
    const std::string errors = reread<StreamSerializerRaw>(many);
    EXPECT_LT(errors.size(), 20000U);
    EXPECT_NE(errors.find("20001 errors found, Stream not created"), std::string::npos);
    EXPECT_EQ(Handle::objectsAlive(), alive);
}

TEST_F(FormatTexts, WhatWasReadBelongsToTheCallerAlone) {
    const auto alive = Structure::objectsAlive();
    std::istringstream in("name=Fresh:int32=ID");
    std::string errors;
    Structure* structure = StructureSerializerRaw::theFormat().read(in, errors);
    EXPECT_EQ(Structure::structureByName("Fresh"), nullptr);
    written<StructureSerializerRaw>(*structure);
    EXPECT_EQ(structure->refCount(), 0);
    owned(structure);
    reread<StructureSerializerRaw>("name=A:int=b");
    EXPECT_EQ(Structure::objectsAlive(), alive);
}

TEST_F(FormatTexts, AnExceptionFromInsideLeaksNothing) {
    const auto alive = [] { return Channel::objectsAlive() + Stream::objectsAlive(); };
    const auto before = alive();
    EXPECT_THROW(
        reread<AssociationsSerializerRaw>("channel\nstream\nname s\nstructure Note\nendStream\n"
                                          "endChannel\n"
                                          "channel\nstream\nname s\nindexType foo\n"),
        Index::eCreationErrors);
    EXPECT_EQ(alive(), before);
}

TEST_F(FormatTexts, WritersCountWhatCannotBeWritten) {
    const auto& format = AssociationsSerializerRaw::theFormat();
    Associations associations;
    const Structure& note = *Structure::structureByName("Note");
    Stream stream(note, "s");
    stream.setElement(Index(0), Handle(note, nullptr));
    associations.channel("a").setDataStream(stream);
    std::ostringstream out;
    std::string errors = "before ";
    EXPECT_EQ(format.write(associations, out, errors), 2);
    const std::string badly = " may not be written correctly\n";
    EXPECT_EQ(errors, "before Member at record 1 not recognized as a Int32\n1 error found, Member" +
                          badly + "Member at record 1 not recognized as a String\n" +
                          "1 error found, Member" + badly + "2 errors found, Stream" + badly +
                          "2 errors found, Channel" + badly + "2 errors found, Associations" +
                          badly);

    out.setstate(std::ios_base::badbit);
    stream.clear();
    errors.clear();
    EXPECT_EQ(format.write(associations, out, errors), 1);
    EXPECT_EQ(errors.substr(0, errors.find('\n')), "Error in stream while writing.");
}

}  // namespace
}  // namespace orbo::Data
