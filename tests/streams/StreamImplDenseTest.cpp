// Dense storage: growth, ranges, elements without a block, sizes that cannot be.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamImplDense.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "streams/Elements.h"

namespace orbo::Data {

namespace {

TEST(StreamImplDenseTest, GrowsInTheseSteps) {
    const struct {
        unsigned int size;
        std::vector<unsigned int> positions;
        std::vector<unsigned int> allocated;  // after each; the same as before: refused
    } rows[] = {
        {16, {0, 300, 1000}, {256, 384, 1500}},
        {16, {0, 255, 256, 1000}, {256, 256, 384, 1500}},
        {16, {1000}, {1500}},
        {1, {0, 4095, 4096}, {4096, 4096, 6144}},
        {12, {0, 341}, {341, 511}},
        {2048, {0, 2, 3}, {2, 3, 4}},
        // One slot fits, the second is one too many for each of the steps, the third is not.
        {4096, {0, 1, 2}, {1, 1, 3}},
        {4097, {0, 1, 2, 0}, {0, 0, 3, 3}},
        // Half as much again would not fit 32 bits.
        {1, {1431655766, 4294967294, 4294967295}, {0, 0, 0}},
    };
    int number = 0;
    for (const auto& row : rows) {
        const RefPtr<Structure> structure = bytesStructure(row.size);
        StreamImplDense storage(*structure, "grown");
        for (std::size_t k = 0; k < row.positions.size(); ++k) {
            const unsigned int expected = row.allocated[k];
            const unsigned int position = row.positions[k];
            const bool fits = storage.ensureSpaceForElement(position);
            EXPECT_EQ(fits, position < expected) << "row " << number << " step " << k;
            EXPECT_EQ(storage.physicalElementCount(), expected)
                << "row " << number << " step " << k;
        }
        EXPECT_EQ(storage.elementCount(), 0u);
        ++number;
    }
}

TEST(StreamImplDenseTest, ElementsOfNoSizeNeedNoBlock) {
    const RefPtr<Structure> structure = bytesStructure(0);
    Stream stream = denseStream(*structure);
    EXPECT_TRUE(stream.setElement(4000000000u, Handle(*structure)));
    EXPECT_EQ(stream.elementCount(), 4000000001u);
    EXPECT_FALSE(stream.setElement(4294967295u, Handle(*structure))) << "the count would wrap";
    EXPECT_EQ(stream.elementCount(), 4000000001u);
    EXPECT_FALSE(stream.element(7).hasData());
    EXPECT_TRUE(stream.reindexElement(3, 4));
    EXPECT_TRUE(stream.swapElements(3, 4));
    EXPECT_TRUE(stream.removeElement(5));
    stream.setElementRange(0, 3);
    EXPECT_EQ(words(stream), "0=-|1=-|2=-|");
    EXPECT_FALSE(stream.useDenseStorage(false));
    EXPECT_EQ(words(stream), "0=-|1=-|2=-|");
}

TEST(StreamImplDenseTest, RangeSetsTheCount) {
    const struct {
        unsigned int first, last;
        unsigned int count;
    } steps[] = {
        {0, 9, 10},          {10, 19, 10},
        {0, 11, 12},         {0, 4, 4},  // one short, as ever when it shrinks
        {0, 4, 5},           {7, 6, 0},  // none: the count does not fall below 0
        {5, 5, 1},           {0, 0, 1},  // the same
        {0, 4294967294u, 1},             // would need more slots than there are numbers
    };
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    int step = 0;
    for (const auto& [first, last, count] : steps) {
        EXPECT_EQ(stream.setElementRange(first, last), last != 4294967294u) << "step " << step;
        EXPECT_EQ(stream.elementCount(), count) << "step " << step++;
    }
}

TEST(StreamImplDenseTest, DroppedElementsComeBackAsDefaults) {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    for (unsigned int k = 0; k < 6; ++k) stream.setElement(k, item(*structure, 7, "seven"));
    stream.setElementRange(0, 3);
    stream.setElementRange(0, 5);
    EXPECT_EQ(words(stream), "0=7 seven|1=7 seven|2=7 seven|3=0 ~|4=0 ~|5=0 ~|");
}

TEST(StreamImplDenseTest, ClearedElementsAreThereAgainWhenOneIsSet) {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    stream.setElement(2, item(*structure, 2, "two"));
    Stream copy(stream);
    EXPECT_TRUE(stream.clear());
    EXPECT_TRUE(stream.clear());
    EXPECT_EQ(stream.elementCount(), 3u);
    EXPECT_TRUE(stream.hasElement(2));
    EXPECT_FALSE(stream.element(2).hasData());
    EXPECT_FALSE(stream.setStructure(*structure)) << "it still counts elements";
    EXPECT_TRUE(stream.removeElement(1));
    EXPECT_TRUE(stream.swapElements(0, 1));
    EXPECT_TRUE(copy.makeUnique());
    EXPECT_TRUE(stream.setElement(1, item(*structure, 1, "one")));
    EXPECT_EQ(words(stream), "0=0 ~|1=1 one|2=0 ~|");
    EXPECT_FALSE(copy.element(1).hasData());
}

TEST(StreamImplDenseTest, KeepsEveryElementWhenMemoryRunsOut) {
    const RefPtr<Structure> structure = bytesStructure(500000);
    Stream stream = denseStream(*structure);
    ASSERT_TRUE(stream.setElement(3, Handle(*structure)));
    *stream.element(3).asUInt8() = 9;
    EXPECT_FALSE(stream.setElementRange(0, 1000000000u));
    makeGigantic(*structure);
    // Nor is there memory for the other layout: the element stays as it is.
    EXPECT_EQ(stream.element(3).str(0).substr(0, 1), "9");
    EXPECT_FALSE(stream.setElement(0, stream.element(3)));
    EXPECT_EQ(stream.elementCount(), 4u);
    EXPECT_TRUE(stream.reindexElement(3, 2));
    EXPECT_EQ(*stream.element(2).asUInt8(), 9);
}

TEST(StreamImplDenseTest, EveryElementIsAligned) {
    const RefPtr<Structure> structure(new Structure("odd"));
    structure->addMember(Member::kInt8, 1, "a");
    structure->addMember(Member::kDouble, 1, "b");
    structure->addMember(Member::kInt8, 1, "c");
    ASSERT_EQ(structure->totalSize(), 17u);
    StreamImplDense storage(*structure, "aligned");
    ASSERT_TRUE(storage.ensureSpaceForElement(0));
    EXPECT_EQ(storage.physicalElementCount(), 4096u / 17) << "counted by the size";
    EXPECT_EQ(storage.elementAddr(2) - storage.elementAddr(0), 48);
}

}  // namespace

}  // namespace orbo::Data
