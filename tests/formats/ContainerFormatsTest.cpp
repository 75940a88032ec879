// The text formats of channels and associations.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/ChannelSerializerRaw.h>
#include <data/Handle.h>

#include <random>

#include "core/StructureRegistry.h"
#include "formats/Reread.h"

namespace orbo::Data {
namespace {

class ContainerText : public testing::Test {
  protected:
    ContainerText() {
        fNote->addMember(Member::kInt32, 1, "number");
        fNote->addMember(Member::kString, 1, "text");
        Structure::registerStructure(*fNote);
    }

    StructureRegistry::SetAside fOwnRegistry;
    const RefPtr<Structure> fNote{new Structure("Note")};
    const std::string fStream = "stream\nname s\nindexType numeric\nstructure Note\nendStream\n";
    const std::string fLong = std::string(3000, 'n');
};

TEST_F(ContainerText, Readers) {
    const auto channel = reread<ChannelSerializerRaw>;
    const auto associations = reread<AssociationsSerializerRaw>;
    const std::string a = "channel\nname a\n";
    const std::string noChannel = "1 error found, Channel not created\n";
    const std::string none = "1 error found, Associations not created\n";
    const std::tuple<decltype(channel), std::string, std::string> rows[] = {
        {channel, "endChannel\n", "name Unnamed\nendChannel\n"},
        {channel, "\n\n  name   C 1 \r\n\n endChannel ignored\nname x\n", "name C 1\nendChannel\n"},
        {channel,
         "name a\nstream ignored\n" + fStream.substr(7) + "name " + fLong + "\nendChannel\n",
         "name " + fLong + "\n" + fStream + "endChannel\n"},
        {channel, "name\n" + fStream + fStream + "endChannel\n",
         "name \n" + fStream + "endChannel\n"},
        // The last line needs a line end, too.
        {channel, "name a\nendChannel x",
         "Missing Channel keyword on or about character -1\n" + noChannel},
        {channel, "name a\nendchannel\n",
         "Unrecognized keyword 'endchannel' on or about character 18\n" + noChannel},
        // The stream's own messages are kept.
        {channel, "stream\nname s\nstructure Note\nx\nendStream\nstop\n",
         "Value 'x' on or about character 31 is not a legal index (code 1) of type numeric\n"
         "1 error found, Stream not created\n"
         "Unrecognized keyword 'stop' on or about character 46\n"
         "2 errors found, Channel not created\n"},

        {associations, " \n\t", "endAssociations\n"},
        {associations, "channel edge\nname a\n" + fStream + "endChannel\nendAssociations x",
         a + fStream + "endChannel\nendAssociations\n"},
        // The later one of two channels counts, and empty ones are not written.
        {associations,
         a + "endChannel\n" + a + fStream + "endChannel\nchannel\nendChannel\nendAssociations\n",
         a + fStream + "endChannel\nendAssociations\n"},
        {associations, a + "endChannel\n",
         "Missing Associations keyword on or about character -1\n" + none},
        {associations, "Channel\n",
         "Unrecognized keyword 'Channel' on or about character 7\n" + none},
        // A bad channel does not stop the reading.
        {associations, "channel\nx\nchannel\ny\nendAssociations\n",
         "Unrecognized keyword 'x' on or about character 10\n" + noChannel +
             "Unrecognized keyword 'y' on or about character 20\n" + noChannel +
             "2 errors found, Associations not created\n"},
    };
    for (const auto& [format, text, expected] : rows) {
        EXPECT_EQ(format(text, "before "), "before " + expected);
    }
}

TEST_F(ContainerText, AnExceptionFromInsideLeaksNothing) {
    const auto alive = [] { return Channel::objectsAlive() + Stream::objectsAlive(); };
    const auto before = alive();
    EXPECT_THROW(reread<AssociationsSerializerRaw>("channel\n" + fStream +
                                                   "endChannel\n"
                                                   "channel\nstream\nname s\nindexType foo\n"),
                 Index::eCreationErrors);
    EXPECT_EQ(alive(), before);
}

TEST_F(ContainerText, WritersCountWhatCannotBeWritten) {
    const auto& format = AssociationsSerializerRaw::theFormat();
    Associations associations;
    Stream stream(*fNote, "s");
    stream.setElement(Index(0), Handle(*fNote, nullptr));
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

// Of random structures, elements, streams and channels.
class RandomModels : public testing::Test {
  protected:
    std::size_t below(std::size_t limit) { return fRandom() % limit; }
    std::string anyOf(std::initializer_list<const char*> texts) {
        return texts.begin()[below(texts.size())];
    }
    std::string value(const std::string& type) {
        if (type == "bool") return anyOf({"true", "false"});
        if (type != "string") return std::to_string(below(100));
        return anyOf({R"("")", R"("\\")", R"("\"")", R"("\n")", R"("\nendStream\n")", "\"n\t;\""});
    }
    /// Of a new structure, which is registered.
    std::string stream() {
        const std::string name = "S " + std::to_string(++fCount);
        std::string structure = "name=" + name;
        std::vector<std::string> types;
        for (std::size_t i = 1 + below(6); i > 0; --i) {
            const std::string type =
                anyOf({"bool", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64",
                       "uint64", "float", "double", "flt4x4", "dbl4x4", "string"});
            const std::size_t length = 2 + below(2);
            structure += ":" + type + "[" + std::to_string(length) + "]=\xC3\xA4[" +
                         std::to_string(i) + "] 'x'";
            types.insert(types.end(), type.find("4x4") == 3 ? length * 16 : length, type);
        }
        EXPECT_EQ(reread<StructureSerializerRaw>(structure), structure);
        ForeignStream in(structure);
        Structure::registerStructure(*StructureSerializerRaw::theFormat().read(in, structure));

        const std::string index = anyOf({"numeric", "pair", "string"});
        std::string text = "stream\nname " + std::to_string(fCount) +
                           anyOf({"", "a", "B b", "endChannel", "\xC3\xA4", "x:y=z"}) +
                           "\nindexType " + index + "\nstructure " + name + "\n";
        for (std::size_t i = below(5); i < 5; ++i) {
            text += (index == "string" ? "joint " : "") + std::to_string(i) +
                    (index == "pair" ? " 5\n" : "\n");
            for (const std::string& type : types) text += value(type) + " ";
            text.back() = '\n';
        }
        return text + "endStream\n";
    }

    StructureRegistry::SetAside fOwnRegistry;
    std::mt19937 fRandom{35};
    int fCount = 100000;  // so that names come in their order
};

TEST_F(RandomModels, WriteReadWriteIsTheSame) {
    for (int round = 0; round < 200; ++round) {
        std::string text;
        for (std::size_t i = below(4); i > 0; --i) {
            text += "channel\nname c" + std::to_string(fCount) + "\n";
            for (std::size_t k = 1 + below(3); k > 0; --k) text += stream();
            text += "endChannel\n";
        }
        text += "endAssociations\n";
        ASSERT_EQ(reread<AssociationsSerializerRaw>(text), text);
    }
}

}  // namespace
}  // namespace orbo::Data
