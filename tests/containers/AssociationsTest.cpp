// Associations, and how objects carry them.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>

#include "Streams.h"

#include <data/AttachDirectly.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>

namespace orbo::Data {
namespace {

using Names = std::vector<std::string>;

class AssociationsTest : public testing::Test {
  protected:
    Streams streams;
    Associations associations;
};

TEST_F(AssociationsTest, ChannelIsMadeOnDemandOnly) {
    EXPECT_EQ(nullptr, associations.findChannel("x"));
    EXPECT_TRUE(associations.empty());
    Channel made = associations.channel("x");
    EXPECT_EQ(1U, associations.channelCount());
    EXPECT_EQ(made, associations.channel("x"));
    EXPECT_EQ(made, *associations.findChannel("x"));

    EXPECT_EQ(made, associations.channelAt(0));
    EXPECT_EQ("Unnamed", associations.channelAt(5).name());
    EXPECT_EQ(made, *associations[0]);
    EXPECT_EQ(nullptr, associations[1]);
    EXPECT_EQ(1U, associations.size());
}

TEST_F(AssociationsTest, SetChannelReplacesAndShares) {
    associations.channel("x").setDataStream(streams.make("old"));
    associations.channel("Z");
    Channel other("x");
    associations.setChannel(other);
    EXPECT_EQ(other, associations.channel("x"));
    EXPECT_EQ((Names{"Z", "x"}), names(associations));
    EXPECT_TRUE(associations.removeChannel("x"));
    EXPECT_FALSE(associations.removeChannel("x"));
    EXPECT_EQ(1U, associations.size());
}

TEST_F(AssociationsTest, CopiesShareUntilOneIsMadeUnique) {
    associations.channel("x").setDataStream(streams.make("s"));
    const Channel held = associations.channel("x");
    EXPECT_FALSE(associations.makeUnique()) << "holders of single channels do not count";
    EXPECT_EQ(held, associations.channel("x"));

    const Associations shared(&associations);
    Associations deep(associations);
    EXPECT_EQ(associations, shared);
    EXPECT_NE(associations, Associations(nullptr));
    EXPECT_TRUE(deep.makeUnique());
    EXPECT_NE(associations, deep);
    Streams::setValue(*deep.channel("x").findDataStream("s"), 9);
    deep.channel("y");
    EXPECT_EQ(0, Streams::value(*held.findDataStream("s")));
    EXPECT_EQ((Names{"x"}), names(shared));
}

// Which channel is where; a channel is known by its identity, not by its name.
TEST_F(AssociationsTest, AgreesWithAReferenceUnderRandomAssignments) {
    std::mt19937 random(29);
    std::map<std::string, Channel> kept;
    const auto randomName = [&] { return std::string(1, static_cast<char>('a' + random() % 6)); };
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        const std::string name = randomName();
        const Channel fresh(randomName());
        Channel* found = associations.findChannel(name);
        ASSERT_EQ(kept.count(name) != 0, found != nullptr) << step;
        if (found && random() % 2 && kept.count(fresh.name()) == 0) {
            *found = fresh;  // behind the container's back
            kept.erase(name);
            kept.emplace(fresh.name(), fresh);
        } else if (random() % 3 == 0) {
            EXPECT_EQ(kept.erase(name) != 0, associations.removeChannel(name));
        } else {
            associations.setChannel(fresh);
            kept.insert_or_assign(fresh.name(), fresh);
        }
        if (random() % 3) continue;
        Names order;
        for (const auto& [key, channel] : kept) {
            order.push_back(key);
            EXPECT_EQ(channel, associations.channel(key)) << step;
        }
        EXPECT_EQ(order, names(associations)) << step;
    }
}

TEST_F(AssociationsTest, TwoChannelsThatCameToShareANameAreBothKept) {
    for (const char* name : {"a", "b", "c"}) associations.channel(name);
    *associations.findChannel("c") = associations.channel("a");
    EXPECT_EQ((Names{"a", "a", "b"}), names(associations));
    EXPECT_EQ(nullptr, associations.findChannel("c"));
    Associations copy(associations);
    copy.makeUnique();
    EXPECT_EQ((Names{"a", "a", "b"}), names(copy));
}

TEST(AttachDirectly, OwnsAssociationsThatItShares) {
    Associations associations;
    AttachDirectly object;
    EXPECT_EQ(nullptr, object.metadata());
    EXPECT_TRUE(object.setMetadata(associations));
    ASSERT_NE(nullptr, object.metadata());
    EXPECT_EQ(associations, *object.metadata());
    const Associations* owned = object.metadata();
    EXPECT_TRUE(object.setMetadata(*owned));
    EXPECT_EQ(owned, object.metadata());

    const AttachDirectly copy(object);
    EXPECT_NE(owned, copy.metadata());
    EXPECT_EQ(associations, *copy.metadata());
    const AttachDirectly bare;
    const AttachDirectly ofBare(bare);
    ASSERT_NE(nullptr, ofBare.metadata());
    EXPECT_TRUE(ofBare.metadata()->empty());

    EXPECT_TRUE(object.deleteMetadata());
    EXPECT_TRUE(object.deleteMetadata());
    EXPECT_EQ(nullptr, object.editableMetadata());
}

TEST(AttachDirectly, AssignmentRefersToTheSameObjectWhichOutlivesEither) {
    AttachDirectly object;
    object.setMetadata(Associations());
    AttachDirectly other;
    other = object;
    EXPECT_EQ(object.metadata(), other.metadata());
    object.deleteMetadata();
    other.editableMetadata()->channel("still there");
    EXPECT_EQ(1U, other.metadata()->size());
}

}  // namespace
}  // namespace orbo::Data
