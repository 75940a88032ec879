// Reference counts and change stamps.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Checkpointed.h>
#include <debug/RefCounted.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <new>
#include <utility>

namespace orbo {
namespace {

struct Counted : RefCounted {
    explicit Counted(int& deaths) : fDeaths(deaths) {}
    Counted(const Counted& other) : RefCounted(other), fDeaths(other.fDeaths) {}
    ~Counted() override { ++fDeaths; }
    int& fDeaths;
};

struct Stamped : Checkpointed {
    void change() { objectChanged(); }
};

TEST(RefCountedTest, TheLastReferenceDeletes) {
    int deaths = 0;
    RefPtr<Counted> first(new Counted(deaths));
    EXPECT_FALSE(first->isShared());
    RefPtr<Counted> second = first;
    RefPtr<Counted> third = std::move(first);
    EXPECT_TRUE(third->isShared());
    EXPECT_EQ(third->refCount(), 2);
    EXPECT_EQ(RefPtr<Counted>(new Counted(*third))->refCount(), 1) << "counts are not copied";
    EXPECT_EQ(deaths, 1);
    second = third;
    third = RefPtr<Counted>();
    EXPECT_EQ(deaths, 1);
    second = RefPtr<Counted>(second.get());
    EXPECT_EQ(second->refCount(), 1);

    Counted onStack(deaths);
    onStack.unref();
    EXPECT_EQ(onStack.refCount(), -1);
    EXPECT_EQ(deaths, 1) << "at a count of 0 nothing is deleted";
}

TEST(CheckpointedTest, EveryChangeTicksTheOneSequence) {
    const auto ticks = [](auto&& change) {
        const auto before = Checkpointed::globalCheckpoint();
        change();
        EXPECT_EQ(Checkpointed::sClassCheckpoint(), Checkpointed::globalCheckpoint());
        return Checkpointed::globalCheckpoint() - before;
    };
    Stamped a;
    Stamped b;
    alignas(Stamped) static char room[sizeof(Stamped)];
    EXPECT_EQ(ticks([] { new (room) Stamped; }), 1U);
    EXPECT_EQ(ticks([&] { b = a; }), 1U);
    EXPECT_EQ(ticks([&] { Stamped copy(a); }), 3U) << "two for the copy, one for its end";

    const auto seen = Checkpointed::globalCheckpoint();
    EXPECT_FALSE(a.changedSinceCheckpoint(seen));
    a.change();
    EXPECT_TRUE(a.changedSinceCheckpoint(seen));
    EXPECT_FALSE(b.changedSinceCheckpoint(seen));
    EXPECT_TRUE(b.classChangedSinceCheckpoint(seen));
    EXPECT_EQ(a.checkpoint(), b.classCheckpoint());
}

}  // namespace
}  // namespace orbo
