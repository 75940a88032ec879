// The text formats of channels and associations.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/ChannelSerializerRaw.h>
#include <data/Handle.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>

namespace orbo::Data {
namespace {

class ContainerFormats : public testing::Test {
  protected:
    ContainerFormats() : structure(Structure::create()) {
        structure->setName("Note");
        structure->addMember(Member::kInt32, 1, "number");
        structure->addMember(Member::kString, 1, "text");
        Structure::registerStructure(*structure);
    }
    ~ContainerFormats() override { Structure::deregisterStructure(*structure); }

    Stream randomStream() {
        const char* const indexTypes[] = {"numeric", "pair", "string"};
        Stream stream(*structure, randomName());
        stream.setIndexType(indexTypes[random() % 3]);
        if (stream.indexType() == "numeric") stream.useDenseStorage(random() % 2 != 0);
        for (auto i = random() % 4; i > 0; --i) stream.setElement(randomIndex(stream), element());
        return stream;
    }
    Associations randomAssociations() {
        Associations associations;
        for (auto i = random() % 4; i > 0; --i) {
            Channel channel(randomName());
            for (auto k = random() % 4; k > 0; --k) channel.setDataStream(randomStream());
            associations.setChannel(channel);
        }
        return associations;
    }

    std::string written(const Associations& associations) {
        std::ostringstream out;
        std::string errors;
        EXPECT_EQ(0, associationsFormat.write(associations, out, errors));
        EXPECT_EQ("", errors);
        return out.str();
    }
    std::unique_ptr<Associations> parsed(const std::string& text, std::string& errors) {
        std::istringstream in(text);
        return std::unique_ptr<Associations>(associationsFormat.read(in, errors));
    }

    const AssociationsSerializerRaw& associationsFormat = AssociationsSerializerRaw::theFormat();
    const ChannelSerializerRaw& channelFormat = ChannelSerializerRaw::theFormat();
    RefPtr<Structure> structure;
    std::mt19937 random{35};

  private:
    std::string randomName() {
        const char* const names[] = {"", "a", "B b", "endChannel", "\xC3\xA4", "name", "x:y=z"};
        return names[random() % std::size(names)];
    }
    Index randomIndex(const Stream& stream) {
        const auto number = static_cast<unsigned int>(random() % 5);
        if (stream.indexType() == "pair") return IndexPair(number, 5 - number);
        if (stream.indexType() == "string") return IndexString("joint " + std::to_string(number));
        return number;
    }
    Handle element() {
        const char* const texts[] = {"", "quote \" back \\", "line\nendStream\nendChannel", ";"};
        Handle handle(*structure);
        *handle.asInt32() = static_cast<int>(random());
        handle.setPositionByMemberIndex(1);
        if (random() % 4) *handle.asString() = strdup(texts[random() % std::size(texts)]);
        return handle;
    }
};

TEST_F(ContainerFormats, WriteReadWriteIsTheSame) {
    for (int round = 0; round < 300; ++round) {
        const std::string text = written(randomAssociations());
        std::string errors;
        const auto again = parsed(text, errors);
        ASSERT_TRUE(again) << errors << text;
        EXPECT_EQ("", errors);
        EXPECT_EQ(text, written(*again));
    }
}

TEST_F(ContainerFormats, DeepCopiesAreIndependent) {
    for (int round = 0; round < 100; ++round) {
        const Associations original = randomAssociations();
        const std::string text = written(original);
        Associations copy(original);
        copy.makeUnique();
        EXPECT_EQ(text, written(copy));
        for (Channel& channel : copy) {
            channel.addElement(Index(9));
            channel.addElement(IndexPair(9, 9));
            for (Stream& stream : channel) {
                for (Handle& handle : stream) ++*handle.asInt32();
                stream.removeElement(Index(0));
            }
            channel.setDataStream(randomStream());
            channel.renameDataStream("a", "renamed");
        }
        copy.removeChannel("a");
        EXPECT_EQ(text, written(original));
    }
}

TEST_F(ContainerFormats, AssociationsOfEmptyChannelsAreEmptyText) {
    Associations associations;
    associations.channel("face");
    EXPECT_EQ("endAssociations\n", written(associations));
}

TEST_F(ContainerFormats, LayoutOfTheText) {
    Associations associations;
    Stream stream(*structure, std::string(3000, 's'));
    associations.channel("f 1").setDataStream(stream);
    EXPECT_EQ("channel\nname f 1\nstream\nname " + stream.name() +
                  "\nindexType numeric\nstructure Note\nendStream\nendChannel\nendAssociations\n",
              written(associations));
    std::string errors;
    EXPECT_TRUE(parsed(written(associations), errors)->channel("f 1").dataStream(stream.name()));
}

TEST_F(ContainerFormats, ChannelsWithNamesLaidOutAnyWay) {
    const std::string stream = "stream ignored\nname s\nstructure Note\n3\n5 \"t\"\nendStream\n";
    const struct {
        std::string text;
        const char* name;
        unsigned int streams;
    } cases[] = {
        {"endChannel\n", "Unnamed", 0},
        {"\n\n  name   C1  \n\n endChannel ignored\n", "C1", 0},
        {"name C 1\r\nendChannel\r\n", "C 1", 0},
        {"name a\n" + stream + "name b\nendChannel\n", "b", 1},
        {"name\n" + stream + stream + "endChannel\nname behind the end\n", "", 1},
        {"name " + std::string(2000, 'c') + "\nendChannel\n", nullptr, 0},
    };
    for (const auto& row : cases) {
        std::istringstream in(row.text);
        std::string errors;
        const std::unique_ptr<Channel> channel(channelFormat.read(in, errors));
        ASSERT_TRUE(channel) << row.text << errors;
        EXPECT_EQ("", errors);
        EXPECT_EQ(row.name ? row.name : std::string(2000, 'c'), channel->name());
        EXPECT_EQ(row.streams, channel->size()) << row.text;
    }
}

TEST_F(ContainerFormats, MessagesOfTheChannelReader) {
    const std::string one = "1 error found, Channel not created\n";
    const struct {
        const char* text;
        std::string errors;
    } cases[] = {
        {"", "Missing Channel keyword on or about character -1\n" + one},
        {"name a\nendChannel", "Missing Channel keyword on or about character -1\n" + one},
        {"name a\nendchannel\n",
         "Unrecognized keyword 'endchannel' on or about character 18\n" + one},
        {"names\n", "Unrecognized keyword 'names' on or about character 6\n" + one},
        // The stream's own messages are kept.
        {"stream\nname s\nstructure Other\nendStream\nendChannel\n",
         "Structure 'Other' not found\n"
         "Index data encountered before Structure name specified at record 3\n"
         "2 errors found, Stream not created\n" +
             one},
        {"stream\nname s\nstructure Note\nx\nendStream\nstop\n",
         "Value 'x' on or about character 31 is not a legal index (code 1) of type numeric\n"
         "1 error found, Stream not created\n"
         "Unrecognized keyword 'stop' on or about character 46\n"
         "2 errors found, Channel not created\n"},
    };
    for (const auto& row : cases) {
        std::istringstream in(row.text);
        std::string errors;
        EXPECT_EQ(nullptr, channelFormat.read(in, errors)) << row.text;
        EXPECT_EQ(row.errors, errors) << row.text;
    }
}

TEST_F(ContainerFormats, AssociationsReader) {
    const std::string stream = "stream\nname s\nstructure Note\nendStream\n";
    const std::string one = "1 error found, Associations not created\n";
    const struct {
        std::string text;
        int channels;  // -1: not read
        std::string errors;
    } cases[] = {
        {"", 0, ""},
        {" \n\t", 0, ""},
        {"endAssociations", 0, ""},
        {"channel edge\nname face\nendChannel\nendAssociations x", 1, ""},
        {"channel\nname a\nendChannel\nchannel\nname a\n" + stream +
             "endChannel\nchannel\nendChannel\nendAssociations\n",
         2, ""},
        {"Channel\n", -1, "Unrecognized keyword 'Channel' on or about character 7\n" + one},
        {"channel\nname a\nendChannel\n", -1,
         "Missing Associations keyword on or about character -1\n" + one},
        {"channel\n", -1,
         "Missing Channel keyword on or about character -1\n"
         "1 error found, Channel not created\n" +
             one},
        // A bad channel does not stop the reading.
        {"channel\nx\nchannel\ny\nendAssociations\n", -1,
         "Unrecognized keyword 'x' on or about character 10\n"
         "1 error found, Channel not created\n"
         "Unrecognized keyword 'y' on or about character 20\n"
         "1 error found, Channel not created\n"
         "2 errors found, Associations not created\n"},
    };
    for (const auto& row : cases) {
        std::string errors = "before ";
        const auto associations = parsed(row.text, errors);
        EXPECT_EQ("before " + row.errors, errors) << row.text;
        EXPECT_EQ(row.channels, associations ? static_cast<int>(associations->size()) : -1)
            << row.text;
        const Channel* replaced = associations ? associations->findChannel("a") : nullptr;
        EXPECT_TRUE(!replaced || replaced->size() == 1) << "the later channel counts";
    }
}

TEST_F(ContainerFormats, AnExceptionFromInsideLeaksNothing) {
    const auto channels = Channel::objectsAlive();
    const auto streams = Stream::objectsAlive();
    std::string errors;
    EXPECT_THROW(
        parsed("channel\nname a\nendChannel\nchannel\nstream\nname s\nindexType foo\n", errors),
        Index::eCreationErrors);
    EXPECT_EQ(channels, Channel::objectsAlive());
    EXPECT_EQ(streams, Stream::objectsAlive());
}

TEST_F(ContainerFormats, WritersCountWhatCannotBeWritten) {
    Associations associations;
    Stream stream(*structure, "s");
    stream.setElement(Index(0), Handle(*structure, nullptr));
    associations.channel("a").setDataStream(stream);
    std::ostringstream out;
    std::string errors;
    EXPECT_EQ(2, associationsFormat.write(associations, out, errors));
    const std::string end =
        "2 errors found, Stream may not be written correctly\n"
        "2 errors found, Channel may not be written correctly\n"
        "2 errors found, Associations may not be written correctly\n";
    ASSERT_GT(errors.size(), end.size());
    EXPECT_EQ(end, errors.substr(errors.size() - end.size()));

    std::ostringstream broken;
    broken.setstate(std::ios_base::badbit);
    stream.clear();
    errors.clear();
    EXPECT_EQ(1, associationsFormat.write(associations, broken, errors));
    EXPECT_EQ(
        "Error in stream while writing.\n"
        "1 error found, Stream may not be written correctly\n"
        "1 error found, Channel may not be written correctly\n"
        "1 error found, Associations may not be written correctly\n",
        errors);
}

}  // namespace
}  // namespace orbo::Data
