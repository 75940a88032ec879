// Associations, and how objects carry them.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>

#include "Streams.h"

#include <data/AttachDirectly.h>
#include <gtest/gtest.h>

#include <map>
#include <random>

namespace orbo::Data {
namespace {

using Names = std::vector<std::string>;

TEST(AssociationsTest, CopiesShareUntilOneIsMadeUnique) {
    const Streams streams;
    Associations associations;
    associations.channel("x").setDataStream(streams.make("s"));
    const Channel held = associations.channel("x");
    EXPECT_FALSE(associations.makeUnique()) << "holders of single channels do not count";
    EXPECT_EQ(held, associations.channel("x"));

    const Associations shared(&associations);
    Associations deep(associations);
    EXPECT_EQ(associations, shared);
    EXPECT_TRUE(deep.makeUnique());
    EXPECT_NE(associations, deep);
    Streams::setValue(*deep.channel("x").findDataStream("s"), 9);
    deep.channel("y");
    EXPECT_EQ(0, Streams::value(*held.findDataStream("s")));
    EXPECT_EQ(Names{"x"}, names(shared));
}

// Which channel is where; a channel is known by its identity, not by its name.
TEST(AssociationsTest, AgreesWithAReferenceUnderRandomAssignments) {
    Associations associations;
    std::mt19937 random(29);
    std::map<std::string, Channel> kept;
    const auto randomName = [&] { return std::string(1, static_cast<char>('a' + random() % 6)); };
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const std::string name = randomName();
        const Channel fresh(randomName());
        Channel* found = associations.findChannel(name);
        ASSERT_EQ(kept.count(name) != 0, found != nullptr);
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
            EXPECT_EQ(channel, associations.channelAt(static_cast<unsigned int>(order.size())));
            EXPECT_EQ(channel, associations.channel(key));
            order.push_back(key);
        }
        EXPECT_EQ(order, names(associations));
    }
}

TEST(AssociationsTest, TwoChannelsThatCameToShareANameAreBothKept) {
    Associations associations;
    EXPECT_EQ("Unnamed", associations.channelAt(0).name());
    for (const char* name : {"a", "b", "c"}) associations.channel(name);
    *associations.findChannel("c") = associations.channel("a");
    EXPECT_EQ(nullptr, associations.findChannel("c"));
    Associations copy(associations);
    copy.makeUnique();
    EXPECT_EQ((Names{"a", "a", "b"}), names(copy));
}

TEST(AttachDirectly, CopiesOwnAssociationsAndAssignedObjectsShareThem) {
    AttachDirectly object;
    EXPECT_TRUE(AttachDirectly(object).metadata()->empty());
    object.setMetadata(Associations());
    const Associations* owned = object.metadata();
    EXPECT_TRUE(object.setMetadata(*owned));
    EXPECT_EQ(owned, object.metadata());
    EXPECT_NE(owned, AttachDirectly(object).metadata());
    EXPECT_EQ(*owned, *AttachDirectly(object).metadata());

    AttachDirectly other;
    other = object;
    EXPECT_EQ(owned, other.metadata());
    EXPECT_TRUE(object.deleteMetadata());
    EXPECT_EQ(nullptr, object.editableMetadata());
    other.editableMetadata()->channel("still there");
    EXPECT_EQ(1U, other.metadata()->size());
}

}  // namespace
}  // namespace orbo::Data
