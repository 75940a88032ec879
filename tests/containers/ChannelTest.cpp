// Channels: sharing, order, and streams that are renamed behind their back.
// SPDX-License-Identifier: Apache-2.0
#include <data/Channel.h>

#include "Streams.h"

#include <data/IndexPair.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>

namespace orbo::Data {
namespace {

using Names = std::vector<std::string>;

class ChannelTest : public testing::Test {
  protected:
    Channel channelOf(const Names& names) const {
        Channel channel("C");
        for (const std::string& name : names) channel.setDataStream(streams.make(name));
        return channel;
    }

    Streams streams;
};

TEST_F(ChannelTest, CopiesShareUntilOneIsMadeUnique) {
    Channel a = channelOf({"s"});
    EXPECT_FALSE(a.makeUnique()) << "nothing was shared";
    Channel b = a;
    EXPECT_EQ(a, b);
    b.setDataStream(streams.make("t"));
    EXPECT_TRUE(b.makeUnique());
    EXPECT_NE(a, b);
    EXPECT_EQ(a.name(), b.name());
    Streams::setValue(*b.findDataStream("s"), 7);
    b.removeDataStream("t");
    EXPECT_EQ(0, Streams::value(*a.findDataStream("s")));
    EXPECT_EQ((Names{"s", "t"}), names(a));
}

TEST_F(ChannelTest, KeepsStreamsInByteOrderAndObjectsInTheirPlace) {
    Channel channel = channelOf({"a", "B", "\xC3\xA4", "", "aa"});
    EXPECT_EQ((Names{"", "B", "a", "aa", "\xC3\xA4"}), names(channel));
    Stream* stored = channel.dataStream(1U);
    EXPECT_EQ(nullptr, channel.dataStream(5U));
    EXPECT_EQ(stored, channel.setDataStream(*stored)) << "the very object stays";
    EXPECT_TRUE(channel.renameDataStream(stored->name(), "x"));
    EXPECT_TRUE(channel.removeDataStream(channel.dataStream(1U)->name()));
    EXPECT_EQ((Names{"", "aa", "x", "\xC3\xA4"}), names(channel));
    EXPECT_EQ(nullptr, Channel().dataStream(0U));
}

TEST_F(ChannelTest, ElementsComeAndGoInStreamsOfTheIndexType) {
    Channel channel = channelOf({"n", "p"});
    Stream& pairs = *channel.findDataStream("p");
    pairs.clear();
    ASSERT_TRUE(pairs.setIndexType("pair"));
    EXPECT_TRUE(channel.addElement(Index(4)) && channel.addElement(IndexPair(1, 2)));
    EXPECT_TRUE(pairs.hasElement(IndexPair(1, 2)));
    EXPECT_EQ(2U, channel.dataStream("n")->elementCount());
    EXPECT_TRUE(channel.removeElement(IndexPair(1, 2)));
    EXPECT_TRUE(pairs.empty());
    channel.removeDataStream("p");
    EXPECT_FALSE(channel.addElement(IndexPair(1, 2)) || channel.removeElement(IndexPair(1, 2)));
}

TEST_F(ChannelTest, ARefusedRenameLosesTheStreamButNotTheObject) {
    auto channel = std::make_unique<Channel>(channelOf({"a", "b"}));
    Stream* stream = channel->findDataStream("a");
    const unsigned long long alive = Stream::objectsAlive();
    EXPECT_FALSE(channel->renameDataStream("a", "b"));
    ASSERT_EQ(alive, Stream::objectsAlive());
    EXPECT_EQ(Names{"b"}, names(*channel));
    EXPECT_NE(stream, channel->findDataStream("b"));
    EXPECT_EQ("b", stream->name());
    channel.reset();
    EXPECT_EQ(alive - 2, Stream::objectsAlive());
}

TEST_F(ChannelTest, KeepsBothStreamsThatCameToShareAName) {
    Channel channel = channelOf({"a", "b"});
    Stream* second = channel.findDataStream("b");
    *second = streams.make("a", 2);
    EXPECT_EQ(second, channel.setDataStream(*second)) << "it is in the channel";
    EXPECT_TRUE(channel.renameDataStream("a", "b"));
    EXPECT_EQ((Names{"a", "b"}), names(channel));
}

// A channel as a plain list: which stream object shows which storage, and each storage's name.
class ReferenceChannel : public ChannelTest {
  public:
    static constexpr const char* kNames[] = {"a", "b", "c", "d", "e"};

    unsigned int below(std::size_t limit) { return static_cast<unsigned int>(random() % limit); }
    std::string randomName() { return kNames[below(std::size(kNames))]; }
    Stream* randomStream() { return channel.dataStream(below(channel.size())); }
    Stream fresh() {
        const int storage = static_cast<int>(storageNames.size());
        storageNames.push_back(randomName());
        return streams.make(storageNames.back(), storage);
    }
    std::string& nameOf(Stream* stream) {
        return storageNames[static_cast<std::size_t>(shown.at(stream))];
    }
    bool has(const std::string& name) {
        return std::any_of(shown.begin(), shown.end(),
                           [&](const auto& entry) { return nameOf(entry.first) == name; });
    }

    void set() {
        const Stream stream = fresh();
        shown.erase(channel.findDataStream(stream.name()));
        Stream* stored = channel.setDataStream(stream);
        shown[stored] = Streams::value(stream);
    }
    void remove() {
        const std::string name = randomName();
        const bool known = shown.erase(channel.findDataStream(name)) != 0;
        EXPECT_EQ(known, channel.removeDataStream(name));
    }
    void rename() {
        const std::string from = randomName();
        const std::string to = randomName();
        Stream* stream = channel.findDataStream(from);
        const bool done = stream && (from == to || !has(to));
        EXPECT_EQ(done, channel.renameDataStream(from, to));
        if (!stream) return;
        nameOf(stream) = to;
        if (!done) shown.erase(stream);
    }
    void assignBehindItsBack() {
        if (channel.empty()) return;
        Stream* target = randomStream();
        const Stream source = random() % 2 ? fresh() : *randomStream();
        *target = source;
        shown[target] = Streams::value(source);
    }
    void renameElsewhere() {
        if (channel.empty()) return;
        Stream* target = randomStream();
        Channel other;
        other.setDataStream(*target);
        const std::string name = randomName();
        other.renameDataStream(target->name(), name);
        nameOf(target) = name;
    }

    void check() {
        Names order;
        std::map<Stream*, int> found;
        for (Stream& stream : channel) {
            order.push_back(stream.name());
            found[&stream] = Streams::value(stream);
            EXPECT_EQ(nameOf(&stream), stream.name());
        }
        EXPECT_EQ(shown, found);
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    }
    void checkNames() {
        for (const std::string name : kNames) {
            const Stream* stream = channel.findDataStream(name);
            ASSERT_EQ(has(name), stream != nullptr) << name;
            EXPECT_TRUE(!stream || stream->name() == name) << name;
        }
    }

    std::mt19937 random{28};
    Channel channel;
    std::map<Stream*, int> shown;
    Names storageNames;
};

TEST_F(ReferenceChannel, AgreesUnderRandomOperationsAndRenames) {
    constexpr void (ReferenceChannel::*kOperations[])() = {
        &ReferenceChannel::set, &ReferenceChannel::remove, &ReferenceChannel::rename,
        &ReferenceChannel::assignBehindItsBack, &ReferenceChannel::renameElsewhere};
    for (int step = 0; step < 20000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        (this->*kOperations[random() % std::size(kOperations)])();
        if (random() % 3 == 0) check();
        if (random() % 3 == 0) checkNames();
    }
}

}  // namespace
}  // namespace orbo::Data
