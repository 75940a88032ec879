// Channels: elements, and a plain list as reference, with renames behind the channel's back.
// SPDX-License-Identifier: Apache-2.0
#include "Streams.h"

#include <data/IndexPair.h>

#include <algorithm>
#include <map>
#include <random>

namespace orbo::Data {
namespace {

TEST(ChannelTest, ElementsComeAndGoInStreamsOfTheIndexType) {
    const Streams streams;
    Channel channel;
    for (const char* name : {"n", "p"}) channel.setDataStream(streams.make(name));
    Stream& pairs = *channel.findDataStream("p");
    pairs.clear();
    ASSERT_TRUE(pairs.setIndexType("pair"));
    const IndexPair pair(1, 2);
    EXPECT_TRUE(channel.addElement(Index(4)) && channel.addElement(pair));
    EXPECT_TRUE(pairs.hasElement(pair) && channel.dataStream("n")->elementCount() == 2);
    EXPECT_TRUE(channel.removeElement(pair) && pairs.empty());
    channel.removeDataStream("p");
    EXPECT_FALSE(channel.addElement(pair) || channel.removeElement(pair));
}

// A channel as a plain list of stream objects, each with the value that it shows.
class ReferenceChannel : public testing::Test {
  public:
    unsigned int below(std::size_t limit) { return static_cast<unsigned int>(random() % limit); }
    std::string randomName() { return kNames[below(std::size(kNames))]; }
    Stream* randomStream() { return channel.dataStream(below(channel.size() + 1)); }
    Stream fresh() { return streams.make(randomName(), ++values); }
    bool has(const std::string& name) {
        return std::any_of(shown.begin(), shown.end(),
                           [&](const auto& entry) { return entry.first->name() == name; });
    }

    void set() {
        const Stream stream = fresh();
        shown.erase(channel.findDataStream(stream.name()));
        shown[channel.setDataStream(stream)] = Streams::value(stream);
    }
    void setItsOwn() {
        Stream* own = randomStream();
        EXPECT_TRUE(!own || channel.setDataStream(*own) == own);
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
        const auto alive = Stream::objectsAlive();
        EXPECT_EQ(done, channel.renameDataStream(from, to));
        EXPECT_TRUE(!stream || stream->name() == to);
        EXPECT_EQ(alive, Stream::objectsAlive()) << "what the channel lost before lives on, too";
        if (!done) shown.erase(stream);  // refused: the channel loses the stream, which lives on
    }
    void assignBehindItsBack() {
        Stream* target = randomStream();
        const Stream* other = random() % 2 ? randomStream() : nullptr;
        const Stream source = other ? *other : fresh();
        if (!target) return;
        *target = source;
        shown[target] = Streams::value(source);
    }
    void renameElsewhere() {
        Stream* target = randomStream();
        if (!target) return;
        Channel other;
        other.setDataStream(*target);
        other.renameDataStream(target->name(), randomName());
    }

    void check() {
        std::vector<std::string> order;
        std::map<Stream*, int> found;
        for (Stream& stream : channel) {
            EXPECT_EQ(&stream, channel.dataStream(static_cast<unsigned int>(order.size())));
            order.push_back(stream.name());
            found[&stream] = Streams::value(stream);
        }
        EXPECT_EQ(shown, found);
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
        EXPECT_EQ(nullptr, channel.dataStream(channel.size()));
    }
    void checkNames() {
        for (const std::string name : kNames) {
            const Stream* stream = channel.findDataStream(name);
            EXPECT_EQ(has(name), stream && stream->name() == name) << name;
        }
    }

    static constexpr const char* kNames[] = {"a", "B", "\xC3\xA4", "", "aa"};
    Streams streams;
    std::mt19937 random{28};
    Channel channel;
    std::map<Stream*, int> shown;
    int values = 0;
};

TEST_F(ReferenceChannel, AgreesUnderRandomOperationsAndRenames) {
    using Law = ReferenceChannel;
    constexpr void (Law::*kOperations[])() = {
        &Law::set,    &Law::setItsOwn,           &Law::remove,
        &Law::rename, &Law::assignBehindItsBack, &Law::renameElsewhere,
        &Law::check,  &Law::checkNames};
    for (int step = 0; step < 40000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        (this->*kOperations[random() % std::size(kOperations)])();
    }
}

}  // namespace
}  // namespace orbo::Data
