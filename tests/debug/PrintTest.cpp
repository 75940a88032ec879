// Dumps, footprints, counts.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Count.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <gtest/gtest.h>

#include <sstream>
#include <thread>
#include <vector>

#include "debug/ObjectCounter.h"

namespace orbo::Debug {
namespace {

class PrintTest : public testing::Test {
  protected:
    std::string text() {
        std::string result = fOut.str();
        fOut.str("");
        return result;
    }

    std::ostringstream fOut;
    Print fPrint{fOut};
};

TEST_F(PrintTest, SectionsIndentTheirLines) {
    fPrint.beginSection("A");
    fPrint << 1 << " chain stays on the line\n";
    fPrint.beginSection("B");
    fPrint << 'x' << '\n';
    fPrint.endSection();
    fPrint.endSection();
    EXPECT_EQ(text(), "A\n{\n    1 chain stays on the line\n    B\n    {\n        x\n    }\n}\n");

    EXPECT_EQ(fPrint.setSectionStyle(Print::kSectionPlain), Print::kSectionBraces);
    EXPECT_EQ(fPrint.setIndentString("\t"), "    ");
    fPrint.beginSection("A");
    EXPECT_FALSE(fPrint.skipNextIndent(true));
    fPrint << "skipped once\n";
    fPrint << "inside\n";
    EXPECT_EQ(fPrint.setIndent(-1), 1);
    fPrint << "none below zero\n";
    EXPECT_EQ(text(), "A\nskipped once\n\tinside\nnone below zero\n");
}

TEST_F(PrintTest, EachKindOfItemHasItsForm) {
    unsigned char bytes[] = {0x0A, 0xFF};
    fPrint.outputHexChars(2, bytes);
    fPrint << 12ULL << '|' << -3LL << '|' << 2.5F << '|';
    // The system's own prefix follows the fixed one.
    fPrint << static_cast<const void*>(reinterpret_cast<void*>(0x1f));
    EXPECT_EQ(text(), "0a ff 12|-3|2.5|0x0x1f");
}

TEST_F(PrintTest, CopiesHaveFiltersOfTheirOwn) {
    fPrint.addFilter("hex", 3);
    Print copy(fPrint);
    fPrint.removeFilter("hex");
    int level = 7;
    EXPECT_FALSE(fPrint.findFilter("hex", level));
    EXPECT_EQ(level, 7);
    EXPECT_TRUE(copy.findFilter("hex", level));
    EXPECT_EQ(level, 3);
}

TEST_F(PrintTest, FootprintCountsBytesAndBlocks) {
    Footprint footprint;
    footprint.addObject(this, 100);
    footprint.addMember(this, 7);
    Footprint::Debug(&footprint, fPrint);
    EXPECT_EQ(text(), "Footprint : 107 byte(s), 2 memory fragment(s).\n");
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
