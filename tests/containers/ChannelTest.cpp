// Channels: sharing, order, and streams that are renamed behind their back.
// SPDX-License-Identifier: Apache-2.0
#include <data/Channel.h>

#include "Streams.h"
#include "containers/ChannelImpl.h"

#include <data/IndexPair.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>

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
    EXPECT_EQ(2U, a.size());

    EXPECT_TRUE(b.makeUnique());
    EXPECT_NE(a, b);
    EXPECT_EQ(a.name(), b.name());
    Streams::setValue(*b.findDataStream("s"), 7);
    b.removeDataStream("t");
    EXPECT_EQ(0, Streams::value(*a.findDataStream("s")));
    EXPECT_EQ((Names{"s", "t"}), names(a));
    EXPECT_NE(channelOf({}), channelOf({})) << "equality is identity";
}

TEST_F(ChannelTest, KeepsStreamsInByteOrderAndReplacesByName) {
    Channel channel = channelOf({"a", "B", "\xC3\xA4", "", "aa"});
    EXPECT_EQ((Names{"", "B", "a", "aa", "\xC3\xA4"}), names(channel));
    EXPECT_EQ("B", channel.dataStream(1U)->name());
    EXPECT_EQ(nullptr, channel.dataStream(5U));

    const Stream* stored = channel.setDataStream(streams.make("B", 5));
    EXPECT_EQ(stored, channel.dataStream("B"));
    EXPECT_EQ(5, Streams::value(*stored));
    EXPECT_EQ(stored, channel.setDataStream(*stored)) << "the very object stays";
    EXPECT_EQ(5U, channel.size());

    EXPECT_TRUE(channel.removeDataStream(channel.dataStream(1U)->name()));
    EXPECT_FALSE(channel.removeDataStream("B"));
    EXPECT_EQ(4U, channel.dataStreamCount());
    EXPECT_EQ(nullptr, channel.findDataStream("B"));
}

TEST_F(ChannelTest, DefaultIsUnnamedAndEmpty) {
    const Channel channel;
    EXPECT_EQ("Unnamed", channel.name());
    EXPECT_TRUE(channel.empty());
    EXPECT_EQ(nullptr, channel.dataStream(0U));
}

TEST_F(ChannelTest, ElementsComeAndGoInStreamsOfTheIndexType) {
    Channel channel = channelOf({"n"});
    Stream pairs = streams.make("p");
    pairs.clear();
    ASSERT_TRUE(pairs.setIndexType("pair"));
    channel.setDataStream(pairs);

    EXPECT_TRUE(channel.addElement(Index(4)));
    EXPECT_TRUE(channel.addElement(IndexPair(1, 2)));
    EXPECT_TRUE(channel.dataStream("n")->hasElement(Index(4)));
    EXPECT_EQ(2U, channel.dataStream("n")->elementCount());
    EXPECT_EQ(1U, channel.dataStream("p")->elementCount());
    EXPECT_TRUE(channel.removeElement(IndexPair(1, 2)));
    EXPECT_EQ(0U, channel.dataStream("p")->elementCount());
    channel.removeDataStream("p");
    EXPECT_FALSE(channel.addElement(IndexPair(1, 2)));
    EXPECT_FALSE(channel.removeElement(IndexPair(1, 2)));
}

TEST_F(ChannelTest, RenameTakesTheStreamToItsNewPlace) {
    Channel channel = channelOf({"a", "b", "c"});
    Stream* stream = channel.findDataStream("a");
    EXPECT_TRUE(channel.renameDataStream(stream->name(), "x"));
    EXPECT_EQ(stream, channel.findDataStream("x"));
    EXPECT_EQ((Names{"b", "c", "x"}), names(channel));
    EXPECT_TRUE(channel.renameDataStream("x", "x"));
    EXPECT_FALSE(channel.renameDataStream("a", "y"));
    EXPECT_EQ(3U, channel.size());
}

TEST_F(ChannelTest, ARefusedRenameLosesTheStreamButNotTheObject) {
    auto channel = std::make_unique<Channel>(channelOf({"a", "b"}));
    Stream* stream = channel->findDataStream("a");
    const unsigned long long alive = Stream::objectsAlive();
    EXPECT_FALSE(channel->renameDataStream("a", "b"));
    ASSERT_EQ(alive, Stream::objectsAlive());
    EXPECT_EQ((Names{"b"}), names(*channel));
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
    EXPECT_EQ((Names{"a", "a"}), names(channel));
    EXPECT_TRUE(channel.renameDataStream("a", "b"));
    EXPECT_EQ((Names{"a", "b"}), names(channel));
}

TEST_F(ChannelTest, RefusesNullStreams) {
    ChannelImpl::StreamSet set;
    try {
        set.insert(nullptr);
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ("Null Stream found in Channel.", error.what());
    }
    EXPECT_EQ(0U, set.size());
}

// A channel as a plain list: which stream object shows which storage, and each storage's name.
class ReferenceChannel : public ChannelTest {
  protected:
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
        EXPECT_EQ(shown.size(), channel.size());
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
    for (int step = 0; step < 20000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        switch (random() % 5) {
            case 0:
                set();
                break;
            case 1:
                remove();
                break;
            case 2:
                rename();
                break;
            case 3:
                assignBehindItsBack();
                break;
            default:
                renameElsewhere();
                break;
        }
        if (random() % 3 == 0) check();
        if (random() % 3 == 0) checkNames();
    }
}

}  // namespace
}  // namespace orbo::Data
