// Dumps, footprints and counts of channels and associations, and their odd but required answers.
// SPDX-License-Identifier: Apache-2.0
#include "Streams.h"
#include "containers/AssociationsImpl.h"
#include "containers/ChannelImpl.h"

#include <data/Associations.h>
#include <debug/Count.h>
#include <debug/Footprint.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace orbo::Data {
namespace {

template <typename T>
unsigned long long footprintOf(const T* object) {
    Debug::Footprint footprint;
    EXPECT_TRUE(T::Debug(object, footprint));
    return footprint.totalSize();
}

TEST(ContainersDebug, PrintsChannelsAndStreamsInOrder) {
    Associations associations;
    EXPECT_EQ("Data Associations\nNo channels\n", printed(&associations, false));
    associations.channel("b");
    Channel first = associations.channel("a");
    const Streams streams;
    first.setDataStream(streams.make("t"));
    first.setDataStream(streams.make("s"));

    const std::string text = printed(&associations, false);
    const auto start = std::string(
        "Data Associations\n"
        "Channel a\n{\n"
        "    Stream 0\n    {\n"
        "        Data Stream (Mapped)\n        {\n"
        "            Data Stream 's' uses structure 'Number'");
    EXPECT_EQ(start, text.substr(0, start.size()));
    EXPECT_LT(text.find("    Stream 1\n"), text.find("Data Stream 't'"));
    const std::string end = "    }\n}\nChannel b\n{\n    Empty Channel\n}\n";
    EXPECT_EQ(end, text.substr(text.size() - end.size()));
}

TEST(ContainersDebug, FootprintCountsWhatIsSharedEachTime) {
    const Streams streams;
    Associations associations;
    EXPECT_EQ(sizeof(Associations) + sizeof(AssociationsImpl), footprintOf(&associations));
    Channel channel("C");
    EXPECT_EQ(sizeof(Channel) + sizeof(ChannelImpl), footprintOf(&channel));
    const Stream* stream = channel.setDataStream(streams.make("s"));
    EXPECT_EQ(sizeof(Channel) + sizeof(ChannelImpl) + footprintOf(stream), footprintOf(&channel));

    const auto before = footprintOf(&associations);
    associations.setChannel(channel);
    EXPECT_EQ(before + footprintOf(&channel), footprintOf(&associations));
    EXPECT_EQ(0U, footprintOf<Associations>(nullptr) + footprintOf<Channel>(nullptr));
}

TEST(ContainersDebug, CountersFollowTheObjects) {
    const auto created = Channel::objectsCreated();
    const auto alive = Channel::objectsAlive();
    {
        const Channel channel("C");
        const Channel copy(channel);
        EXPECT_EQ(created + 2, Channel::objectsCreated());
        Debug::Count count;
        EXPECT_TRUE(Channel::Debug(nullptr, count));
        EXPECT_EQ(alive + 2, count.value());
    }
    EXPECT_EQ(created + 2, Channel::objectsCreated());
    EXPECT_EQ(alive, Channel::objectsAlive());

    const auto associationsAlive = Associations::objectsAlive();
    const std::unique_ptr<Associations> associations(Associations::create());
    Debug::Count count;
    EXPECT_TRUE(Associations::Debug(associations.get(), count));
    EXPECT_EQ(associationsAlive + 1, count.value());
}

// Each of these looks like a mistake and is relied on.
TEST(ContainersOddities, Stay) {
    const Streams streams;
    Associations associations;
    associations.channel("old");
    Channel channel("C");
    channel.setDataStream(streams.make("a"));
    channel.setDataStream(streams.make("b"));
    Channel empty;
    const Channel sharesEmpty(empty);

    const struct {
        const char* name;
        std::function<bool()> holds;
    } oddities[] = {
        {"an existing channel is never renamed",
         [&] {
             return !associations.renameChannel("old", "new") && associations.findChannel("old") &&
                    !associations.findChannel("new");
         }},
        {"nor is one that is not there", [&] { return !associations.renameChannel("x", "new"); }},
        {"a refused rename loses the stream",
         [&] { return !channel.renameDataStream("a", "b") && channel.size() == 1; }},
        {"an empty channel detaches, but says it did not",
         [&] { return !empty.makeUnique() && empty != sharesEmpty; }},
        {"the dump of associations is false", [&] { return printed(&associations, false) != ""; }},
        {"also of none", [&] { return printed<Associations>(nullptr, false).empty(); }},
        {"the dump of no channel is false",
         [&] { return printed<Channel>(nullptr, false).empty(); }},
    };
    for (const auto& oddity : oddities) EXPECT_TRUE(oddity.holds()) << oddity.name;
}

}  // namespace
}  // namespace orbo::Data
