// Associations, and how objects carry them.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>

#include "Streams.h"

#include <data/AttachDirectly.h>

namespace orbo::Data {
namespace {

using testing::ElementsAre;

TEST(AssociationsTest, CopiesShareUntilOneIsMadeUniqueAndSoDoChannels) {
    const Streams streams;
    Associations associations;
    Channel channel = associations.channel("x");
    channel.setDataStream(streams.make("s"));
    EXPECT_FALSE(associations.makeUnique()) << "holders of single channels do not count";
    EXPECT_EQ(channel, associations.channel("x"));
    const Associations shared(&associations);
    Associations deep(associations);
    EXPECT_EQ(associations, shared);
    EXPECT_TRUE(deep.makeUnique() && deep != associations);
    Streams::setValue(*deep.channel("x").findDataStream("s"), 9);
    deep.channel("y");
    EXPECT_THAT(names(shared), ElementsAre("x"));

    channel.setDataStream(streams.make("t"));
    EXPECT_TRUE(channel.makeUnique());
    EXPECT_FALSE(channel.makeUnique()) << "nothing was shared";
    EXPECT_EQ("x", channel.name());
    Streams::setValue(*channel.findDataStream("s"), 7);
    channel.removeDataStream("t");
    channel = associations.channel("x");
    EXPECT_EQ(0, Streams::value(*channel.findDataStream("s")));
    EXPECT_THAT(names(channel), ElementsAre("s", "t"));
}

TEST(AssociationsTest, ConstantOnesAreSearchedAndStayAsTheyAre) {
    Associations associations;
    associations.channel("face");
    const Associations& fixed = associations;
    EXPECT_EQ(fixed.channel("face"), fixed.findChannel("face"));
    EXPECT_EQ(fixed.channel("edge"), nullptr);
    EXPECT_EQ(fixed.channelCount(), 1U);
}

// A channel is known by its identity, not by its name.
TEST(AssociationsTest, FindsChannelsByTheNamesThatTheyHaveNow) {
    const Channel z("z");
    const Channel b("b");
    Associations associations;
    EXPECT_EQ("Unnamed", associations.channelAt(0).name());
    for (const char* name : {"b", "c", "a"}) associations.channel(name);
    EXPECT_NE(b, associations.channel("b"));
    associations.setChannel(b);
    EXPECT_EQ(b, associations.channelAt(1));
    *associations.findChannel("a") = z;
    EXPECT_EQ(nullptr, associations.findChannel("a"));
    EXPECT_EQ(z, associations.channel("z"));
    EXPECT_EQ(z, associations.channelAt(2));
    *associations.findChannel("c") = b;
    EXPECT_EQ(nullptr, associations.findChannel("c"));
    Associations copy(associations);
    copy.makeUnique();
    EXPECT_THAT(names(copy), ElementsAre("b", "b", "z")) << "both are kept";
    EXPECT_TRUE(copy.removeChannel("z"));
    EXPECT_FALSE(copy.removeChannel("z"));
    EXPECT_THAT(names(copy), ElementsAre("b", "b"));
}

TEST(AssociationsTest, ElementsSharedOutsideAreDetachedOnlyWhereTheChannelIsShared) {
    const Streams streams;
    Stream outside = streams.make("s", 1);
    Channel channel;
    channel.setDataStream(outside);
    EXPECT_FALSE(channel.makeUnique()) << "nobody shares the channel";
    Streams::setValue(outside, 2);
    EXPECT_EQ(Streams::value(*channel.dataStream("s")), 2) << "still shared";
    const Channel other(channel);
    EXPECT_TRUE(channel.makeUnique());
    Streams::setValue(outside, 3);
    EXPECT_EQ(Streams::value(*channel.dataStream("s")), 2);
    EXPECT_EQ(Streams::value(*other.dataStream("s")), 3);
}

TEST(AttachDirectly, CopiesOwnAssociationsAndAssignedObjectsShareThem) {
    AttachDirectly object;
    EXPECT_TRUE(AttachDirectly(object).metadata()->empty());
    object.setMetadata(Associations());
    const Associations* owned = object.metadata();
    EXPECT_TRUE(object.setMetadata(*owned) && object.metadata() == owned);
    EXPECT_NE(owned, AttachDirectly(object).metadata());
    EXPECT_EQ(*owned, *AttachDirectly(object).metadata());
    AttachDirectly other;
    other = object;
    EXPECT_EQ(owned, other.metadata());
    EXPECT_TRUE(object.deleteMetadata() && !object.editableMetadata());
    other.editableMetadata()->channel("still there");
    EXPECT_EQ(1U, owned->size());
}

}  // namespace
}  // namespace orbo::Data
