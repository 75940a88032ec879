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
        {16, {0, 255, 256, 1000}, {256, 256, 384, 1500}},
        {16, {1000}, {1500}},
        // One slot fits, the second is one too many for each of the steps, the third is not.
        {4096, {0, 1, 2}, {1, 1, 3}},
        {4097, {0, 1, 2, 0}, {0, 0, 3, 3}},
        // Half as much again would not fit 32 bits.
        {1, {1431655766, 4294967294, 4294967295}, {0, 0, 0}},
    };
    for (const auto& row : rows) {
        StreamImplDense storage(*bytesStructure(row.size), "grown");
        for (std::size_t k = 0; k < row.positions.size(); ++k) {
            const bool fits = row.positions[k] < row.allocated[k];
            EXPECT_EQ(storage.ensureSpaceForElement(row.positions[k]), fits) << row.size;
            EXPECT_EQ(storage.physicalElementCount(), row.allocated[k]) << row.size << ' ' << k;
        }
    }
}

TEST(StreamImplDenseTest, ElementsOfNoSizeNeedNoBlock) {
    const RefPtr<Structure> structure = bytesStructure(0);
    Stream stream = denseStream(*structure);
    EXPECT_TRUE(stream.setElement(4000000000u, Handle(*structure)));
    EXPECT_FALSE(stream.setElement(4294967295u, Handle(*structure))) << "the count would wrap";
    EXPECT_EQ(stream.elementCount(), 4000000001u);
    EXPECT_TRUE(stream.reindexElement(3, 4) && stream.swapElements(3, 4) &&
                stream.removeElement(5) && stream.setElementRange(0, 2));
    EXPECT_EQ(words(stream), "0=-|1=-|");
}

TEST(StreamImplDenseTest, RangesOfNoneAndOfTooManyAreSafe) {
    const RefPtr<Structure> structure = bytesStructure(500000);
    Stream stream = denseStream(*structure);
    EXPECT_TRUE(stream.setElementRange(10, 13));
    stream.element(2).asUInt8()[499999] = 9;
    EXPECT_TRUE(stream.swapElements(2, 3));
    EXPECT_FALSE(stream.setElementRange(0, 1000000000u)) << "no memory";
    EXPECT_FALSE(stream.setElementRange(0, 4294967294u)) << "more slots than numbers";
    EXPECT_EQ(stream.elementCount(), 4u);
    EXPECT_EQ(stream.element(3).asUInt8()[499999], 9);
    EXPECT_TRUE(stream.setElementRange(7, 6));
    EXPECT_EQ(stream.elementCount(), 0u) << "not below 0";
}

TEST(StreamImplDenseTest, EveryElementIsAligned) {
    const RefPtr<Structure> structure(new Structure("odd"));
    structure->addMember(Member::kInt8, 1, "a");
    structure->addMember(Member::kDouble, 1, "b");
    structure->addMember(Member::kInt8, 1, "c");
    StreamImplDense storage(*structure, "aligned");
    ASSERT_TRUE(storage.ensureSpaceForElement(0));
    EXPECT_EQ(storage.physicalElementCount(), 4096u / 17) << "counted by the size";
    EXPECT_EQ(storage.elementAddr(2) - storage.elementAddr(0), 48);
}

}  // namespace

}  // namespace orbo::Data
