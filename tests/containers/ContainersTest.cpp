// The iterators and dumps of both containers, and their odd but required answers.
// SPDX-License-Identifier: Apache-2.0
#include "Streams.h"

#include <data/Associations.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace orbo::Data {
namespace {

std::string messageOf(const std::function<void()>& dereference) {
    try {
        dereference();
    } catch (const std::out_of_range& error) {
        return error.what();
    }
    return "nothing thrown";
}

template <typename Container>
void walk(const Container& container) {
    auto iterator = container.begin();
    const auto before = iterator++;
    EXPECT_EQ("Z a", before->name() + ' ' + (*iterator).name());
    EXPECT_NE(before, iterator);
    EXPECT_EQ(container.end(), ++iterator);
    EXPECT_EQ(container.end(), ++iterator);
    iterator = before;
    EXPECT_EQ(container.cbegin(), iterator);
    EXPECT_EQ(Container(container).end(), container.end());
    EXPECT_NE(Container().end(), Container().end());
    EXPECT_NE(Container().end(), typename Container::iterator());
    EXPECT_EQ(typename Container::iterator(), typename Container::iterator());
}

template <typename Container>
void dereferenceAndPrint(const Container& container, const std::string& kind,
                         const std::string& first) {
    using Iterator = typename Container::iterator;
    const std::string record = kind + "Impl::Iterator::operator";
    for (const Iterator& end : {container.end(), Iterator()}) {
        Iterator changeable = end;
        ++changeable;
        EXPECT_EQ(record + "*", messageOf([&] { (void)*changeable; }));
        EXPECT_EQ(record + "*", messageOf([&] { (void)*end; }));
        EXPECT_EQ(record + "->", messageOf([&] { (void)changeable->name(); }));
        EXPECT_EQ("const " + record + "->", messageOf([&] { (void)end->name(); }));
        EXPECT_EQ(kind + "Iterator postioned at the end.\n", printed(&end, true));
    }
    const Iterator begin = container.begin();
    EXPECT_EQ(kind + "Iterator positioned at " + first + ".\n", printed(&begin, true));
}

TEST(IteratorsTest, OfChannels) {
    Channel channel;
    for (const char* name : {"a", "Z"}) channel.setDataStream(Streams().make(name));
    walk(channel);
    dereferenceAndPrint(channel, "Channel", "Stream Z");
    int number = 9;
    for (Stream& stream : channel) stream = Streams().make("n" + std::to_string(number--));
    EXPECT_EQ((std::vector<std::string>{"n8", "n9"}), names(channel)) << "renamed on the way";
}

TEST(IteratorsTest, OfAssociations) {
    Associations associations;
    for (const char* name : {"a", "Z"}) associations.channel(name);
    walk(associations);
    dereferenceAndPrint(associations, "Associations", "Channel Z");
}

TEST(ContainersDebug, PrintsChannelsAndStreamsInOrder) {
    Associations associations;
    EXPECT_EQ("Data Associations\nNo channels\n", printed(&associations, false));
    associations.channel("b");
    Channel first = associations.channel("a");
    for (const char* name : {"t", "s"}) first.setDataStream(Streams().make(name));
    const std::string text = printed(&associations, false);
    EXPECT_EQ(0U, text.find("Data Associations\nChannel a\n{\n    Stream 0\n    {\n"
                            "        Data Stream (Mapped)\n        {\n"
                            "            Data Stream 's' uses structure 'Number'"));
    EXPECT_LT(text.find("    Stream 1\n"), text.find("Data Stream 't'"));
    const std::string end = "    }\n}\nChannel b\n{\n    Empty Channel\n}\n";
    EXPECT_EQ(end, text.substr(text.size() - end.size()));
}

// Each of these looks like a mistake and is relied on; that dumps of associations are
// false is above.
TEST(ContainersOddities, Stay) {
    Associations associations;
    associations.channel("old");
    EXPECT_FALSE(associations.renameChannel("old", "new")) << "an existing channel stays";
    EXPECT_FALSE(associations.renameChannel("x", "new")) << "nor one that is not there";
    EXPECT_EQ(std::vector<std::string>{"old"}, names(associations));
    Channel empty;
    const Channel sharesEmpty(empty);
    EXPECT_FALSE(empty.makeUnique()) << "it detaches, but says it did not";
    EXPECT_NE(empty, sharesEmpty);
    EXPECT_EQ("", printed<Associations>(nullptr, false) + printed<Channel>(nullptr, false));
}

}  // namespace
}  // namespace orbo::Data
