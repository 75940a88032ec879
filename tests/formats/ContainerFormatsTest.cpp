// The text formats of channels and associations.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/ChannelSerializerRaw.h>
#include <data/Handle.h>

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

TEST_F(ContainerText, ChannelReader) {
    const std::string end = "1 error found, Channel not created\n";
    const std::pair<std::string, std::string> rows[] = {
        {"endChannel\n", "name Unnamed\nendChannel\n"},
        {"\n\n  name   C 1 \r\n\n endChannel ignored\nname x\n", "name C 1\nendChannel\n"},
        {"name a\nstream ignored\n" + fStream.substr(7) + "name " + fLong + "\nendChannel\n",
         "name " + fLong + "\n" + fStream + "endChannel\n"},
        {"name\n" + fStream + fStream + "endChannel\n", "name \n" + fStream + "endChannel\n"},
        // The last line needs a line end, too.
        {"name a\nendChannel x", "Missing Channel keyword on or about character -1\n" + end},
        {"name a\nendchannel\n",
         "Unrecognized keyword 'endchannel' on or about character 18\n" + end},
        // The stream's own messages are kept.
        {"stream\nname s\nstructure Note\nx\nendStream\nstop\n",
         "Value 'x' on or about character 31 is not a legal index (code 1) of type numeric\n"
         "1 error found, Stream not created\n"
         "Unrecognized keyword 'stop' on or about character 46\n"
         "2 errors found, Channel not created\n"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(reread<ChannelSerializerRaw>(text, "before "), "before " + expected);
    }
}

TEST_F(ContainerText, AssociationsReader) {
    const std::string a = "channel\nname a\n";
    const std::string end = "1 error found, Associations not created\n";
    const std::pair<std::string, std::string> rows[] = {
        {" \n\t", "endAssociations\n"},
        {"channel edge\nname face\n" + fStream + "endChannel\nendAssociations x",
         "channel\nname face\n" + fStream + "endChannel\nendAssociations\n"},
        // The later one of two channels counts, and empty ones are not written.
        {a + "endChannel\n" + a + fStream + "endChannel\nchannel\nendChannel\nendAssociations\n",
         a + fStream + "endChannel\nendAssociations\n"},
        {"Channel\n", "Unrecognized keyword 'Channel' on or about character 7\n" + end},
        {a + "endChannel\n", "Missing Associations keyword on or about character -1\n" + end},
        // A bad channel does not stop the reading.
        {"channel\nx\nchannel\ny\nendAssociations\n",
         "Unrecognized keyword 'x' on or about character 10\n"
         "1 error found, Channel not created\n"
         "Unrecognized keyword 'y' on or about character 20\n"
         "1 error found, Channel not created\n"
         "2 errors found, Associations not created\n"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(reread<AssociationsSerializerRaw>(text, "before "), "before " + expected);
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
    EXPECT_EQ(errors,
              "before Member at record 1 not recognized as a Int32\n"
              "1 error found, Member may not be written correctly\n"
              "Member at record 1 not recognized as a String\n"
              "1 error found, Member may not be written correctly\n"
              "2 errors found, Stream may not be written correctly\n"
              "2 errors found, Channel may not be written correctly\n"
              "2 errors found, Associations may not be written correctly\n");

    out.setstate(std::ios_base::badbit);
    stream.clear();
    errors.clear();
    EXPECT_EQ(format.write(associations, out, errors), 1);
    EXPECT_EQ(errors,
              "Error in stream while writing.\n"
              "1 error found, Stream may not be written correctly\n"
              "1 error found, Channel may not be written correctly\n"
              "1 error found, Associations may not be written correctly\n");
}

}  // namespace
}  // namespace orbo::Data
