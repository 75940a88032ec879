// The iterators of both containers.
// SPDX-License-Identifier: Apache-2.0
#include "Streams.h"

#include <data/Associations.h>
#include <debug/Footprint.h>
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

/// Both containers with the two entries "Z" and "a".
template <typename Container>
Container filled();
template <>
Channel filled<Channel>() {
    const Streams streams;
    Channel channel("C");
    for (const char* name : {"a", "Z"}) channel.setDataStream(streams.make(name));
    return channel;
}
template <>
Associations filled<Associations>() {
    Associations associations;
    for (const char* name : {"a", "Z"}) associations.channel(name);
    return associations;
}

template <typename Container>
struct Words;
template <>
struct Words<Channel> {
    static constexpr const char* kClass = "ChannelIterator ";
    static constexpr const char* kRecord = "ChannelImpl::Iterator::operator";
    static constexpr const char* kElement = "Stream ";
};
template <>
struct Words<Associations> {
    static constexpr const char* kClass = "AssociationsIterator ";
    static constexpr const char* kRecord = "AssociationsImpl::Iterator::operator";
    static constexpr const char* kElement = "Channel ";
};

template <typename Container>
class IteratorsTest : public testing::Test {};
using Containers = testing::Types<Channel, Associations>;
TYPED_TEST_SUITE(IteratorsTest, Containers);

TYPED_TEST(IteratorsTest, WalkInByteOrderAndStayAtTheEnd) {
    const TypeParam container = filled<TypeParam>();
    auto iterator = container.begin();
    EXPECT_EQ("Z", iterator->name());
    const auto before = iterator++;
    EXPECT_EQ("Z", (*before).name());
    EXPECT_EQ("a", (*iterator).name());
    EXPECT_NE(before, iterator);
    EXPECT_EQ(container.end(), ++iterator);
    EXPECT_EQ(container.end(), ++iterator);
    EXPECT_FALSE(iterator.valid());
    iterator = before;
    EXPECT_EQ(container.cbegin(), iterator);
    EXPECT_TRUE(iterator.valid());
}

TYPED_TEST(IteratorsTest, EqualOnlyInOneContainer) {
    const TypeParam empty;
    EXPECT_EQ(empty.begin(), empty.end());
    EXPECT_NE(empty.end(), TypeParam().end());
    EXPECT_NE(empty.end(), typename TypeParam::iterator());
    EXPECT_EQ(typename TypeParam::iterator(), typename TypeParam::iterator());
    const TypeParam copy(empty);
    EXPECT_EQ(empty.end(), copy.end());
}

TYPED_TEST(IteratorsTest, DereferencingTheEndNamesTheOperation) {
    const TypeParam container = filled<TypeParam>();
    using Iterator = typename TypeParam::iterator;
    const std::string record = Words<TypeParam>::kRecord;
    for (const Iterator& end : {container.end(), Iterator()}) {
        Iterator changeable = end;
        ++changeable;
        EXPECT_EQ(record + "*", messageOf([&] { (void)*changeable; }));
        EXPECT_EQ(record + "*", messageOf([&] { (void)*end; }));
        EXPECT_EQ(record + "->", messageOf([&] { (void)changeable->name(); }));
        EXPECT_EQ("const " + record + "->", messageOf([&] { (void)end->name(); }));
    }
}

TYPED_TEST(IteratorsTest, PrintWhereTheyStand) {
    const TypeParam container = filled<TypeParam>();
    using Iterator = typename TypeParam::iterator;
    const Iterator begin = container.begin();
    const Iterator end = container.end();
    const std::string name = Words<TypeParam>::kClass;
    EXPECT_EQ(name + "positioned at " + Words<TypeParam>::kElement + "Z.\n", printed(&begin, true));
    EXPECT_EQ(name + "postioned at the end.\n", printed(&end, true));
    EXPECT_EQ("", printed<Iterator>(nullptr, true));

    Debug::Footprint footprint;
    EXPECT_TRUE(Iterator::Debug(&begin, footprint));
    EXPECT_TRUE(Iterator::Debug(nullptr, footprint));
    EXPECT_EQ(sizeof(Iterator), footprint.totalSize());
}

TEST(ChannelIterator, GivesStreamsThatMayBeRenamedOnTheWay) {
    const Streams streams;
    Channel channel = filled<Channel>();
    int number = 0;
    for (Stream& stream : channel) stream = streams.make("n" + std::to_string(9 - number++));
    EXPECT_EQ(2, number);
    EXPECT_EQ((std::vector<std::string>{"n8", "n9"}), names(channel));
}

}  // namespace
}  // namespace orbo::Data
