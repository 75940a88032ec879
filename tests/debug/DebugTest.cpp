// Reference counts, change stamps, dumps, footprints, counts.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Checkpointed.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <debug/RefCounted.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "debug/ObjectCounter.h"
#include "debug/Printed.h"

namespace orbo::Debug {
namespace {

struct Counted : RefCounted {
    Counted() = default;
    Counted(const Counted& other) : RefCounted(other) {}
    ~Counted() override { ++deaths; }
    static inline int deaths = 0;
};

TEST(RefCountedTest, TheLastReferenceDeletes) {
    RefPtr<Counted> first(new Counted);
    RefPtr<Counted> second = first;
    RefPtr<Counted> third = std::move(first);
    EXPECT_TRUE(third->isShared() && third->refCount() == 2);
    EXPECT_EQ(RefPtr<Counted>(new Counted(*third))->refCount(), 1) << "counts are not copied";
    second = third;
    third = RefPtr<Counted>();
    second = RefPtr<Counted>(second.get());
    EXPECT_TRUE(!second->isShared() && second->refCount() == 1);
    Counted onStack;
    onStack.unref();
    EXPECT_EQ(onStack.refCount(), -1);
    EXPECT_EQ(Counted::deaths, 1) << "the copy; at a count of 0 nothing is deleted";
}

struct Stamped : Checkpointed {
    void change() { objectChanged(); }
};

TEST(CheckpointedTest, EveryChangeTicksTheOneSequence) {
    Stamped a;
    Stamped b;
    const auto seen = Checkpointed::globalCheckpoint();
    EXPECT_FALSE(a.changedSinceCheckpoint(seen));
    a.change();
    EXPECT_TRUE(a.changedSinceCheckpoint(seen) && b.classChangedSinceCheckpoint(seen));
    EXPECT_FALSE(b.changedSinceCheckpoint(seen));
    EXPECT_EQ(a.checkpoint(), b.classCheckpoint());
    { const Stamped copy(a); }
    EXPECT_EQ(Checkpointed::sClassCheckpoint(), seen + 4) << "two for the copy, one for its end";
    b = a;
    EXPECT_EQ(Checkpointed::globalCheckpoint(), seen + 5);
}

TEST(CheckpointedTest, IsDumpedAndMeasuredAndSoAreTheCountersOfAll) {
    const Stamped stamped;
    const std::string stamp = std::to_string(stamped.checkpoint()) + '\n';
    EXPECT_EQ(printed<Checkpointed>(&stamped), "Checkpoint : " + stamp);
    EXPECT_EQ(printed<Checkpointed>(nullptr),
              "Class Checkpoint  : " + stamp + "Global Checkpoint : " + stamp);
    Footprint footprint;
    EXPECT_TRUE(Checkpointed::Debug(&stamped, footprint) &&
                Checkpointed::Debug(nullptr, footprint));
    EXPECT_EQ(footprint.totalSize(), sizeof(Checkpointed) + 2 * sizeof(unsigned long long));
}

TEST(PrintTest, SectionsIndentTheirLinesItemsHaveTheirFormAndCopiesFiltersOfTheirOwn) {
    std::ostringstream out;
    Print print(out);
    print.beginSection("A");
    print << 1 << " chain stays on the line\n";
    print.beginSection("B");
    print << 'x' << '\n';
    print.endSection();
    EXPECT_EQ(print.setSectionStyle(Print::kSectionPlain), Print::kSectionBraces);
    print.beginSection("C");
    print << "plain\n";
    print.endSection();
    EXPECT_EQ(print.setIndentString("\t"), "    ");
    EXPECT_FALSE(print.skipNextIndent(true));
    print << "skipped once\n";
    print << "inside\n";
    EXPECT_EQ(print.setIndent(-1), 1);
    unsigned char bytes[] = {0x0A, 0xFF};
    print.outputHexChars(2, bytes);
    print << 12ULL << '|' << -3LL << '|' << 2.5F << '|';
    // The system's own prefix follows the fixed one.
    print << static_cast<const void*>(reinterpret_cast<void*>(0x1f));
    Footprint footprint;
    footprint.addObject(&footprint, 100);
    footprint.addMember(&footprint, 7);
    Footprint::Debug(&footprint, print);
    int level = 7;
    print.addFilter("hex", 3);
    Print copy(print);
    print.removeFilter("hex");
    EXPECT_TRUE(!print.findFilter("hex", level) && level == 7) << level;
    EXPECT_TRUE(std::as_const(copy).findFilter("hex", level) && level == 3) << level;
    EXPECT_EQ(out.str(),
              "A\n{\n    1 chain stays on the line\n    B\n    {\n        x\n    }\n    C\n        "
              "plain\n"
              "skipped once\n\tinside\n"
              "0a ff 12|-3|2.5|0x0x1fFootprint : 107 byte(s), 2 memory fragment(s).\n");
}

TEST(ObjectCounterTest, IsExactFromManyThreads) {
    static ObjectCounter counter;
    std::vector<std::thread> threads;
    for (int i = 0; i < 40; ++i) {
        threads.emplace_back([] {
            for (int k = 0; k < 1000; ++k) counter.objectCreated();
            for (int k = 0; k < 400; ++k) counter.objectDestroyed();
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counter.created(), 40000U);
    EXPECT_EQ(counter.alive(), 24000U);
}

}  // namespace
}  // namespace orbo::Debug
