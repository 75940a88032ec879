// What only one kind of storage does: growth of blocks, typed indices, the way from one to the
// other. SPDX-License-Identifier: Apache-2.0

#include <tuple>
#include <vector>

#include "streams/Elements.h"
#include "streams/IndexTypes.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImplDense.h"

namespace orbo::Data {

namespace {

TEST(DenseStorageTest, GrowsInTheseSteps) {
    // Size of an element, positions asked for, allocated after each; the same as before: refused.
    using Numbers = std::vector<unsigned int>;
    const std::tuple<unsigned int, Numbers, Numbers> rows[] = {
        {16, {0, 255, 256, 1000}, {256, 256, 384, 1500}},
        {16, {1000}, {1500}},
        // One slot fits, the second is one too many for each of the steps, the third is not.
        {4096, {0, 1, 2}, {1, 1, 3}},
        {4097, {0, 1, 2, 0}, {0, 0, 3, 3}},
        // Half as much again would not fit 32 bits.
        {1, {1431655766, 4294967294, 4294967295}, {0, 0, 0}},
    };
    for (const auto& [size, positions, allocated] : rows) {
        StreamImplDense storage(*bytesStructure(size), "grown");
        for (std::size_t k = 0; k < positions.size(); ++k) {
            const bool fits = positions[k] < allocated[k];
            EXPECT_EQ(storage.ensureSpaceForElement(positions[k]), fits) << size << ' ' << k;
            EXPECT_EQ(storage.physicalElementCount(), allocated[k]) << size << ' ' << k;
        }
    }
}

TEST(DenseStorageTest, ElementsOfNoSizeNeedNoBlock) {
    const RefPtr<Structure> structure = bytesStructure(0);
    Stream stream = denseStream(*structure);
    EXPECT_TRUE(stream.setElement(4000000000u, Handle(*structure)));
    EXPECT_FALSE(stream.setElement(4294967295u, Handle(*structure))) << "the count would wrap";
    EXPECT_EQ(stream.elementCount(), 4000000001u);
    EXPECT_TRUE(stream.reindexElement(3, 4) && stream.swapElements(3, 4) &&
                stream.removeElement(5) && stream.setElementRange(0, 2));
    EXPECT_EQ(words(stream), "0=-|1=-|");
}

TEST(DenseStorageTest, RangesOfNoneAndOfTooManyAreSafe) {
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

TEST(DenseStorageTest, EveryElementIsAligned) {
    const RefPtr<Structure> structure = bytesStructure(1);
    structure->addMember(Member::kDouble, 1, "b");
    structure->addMember(Member::kInt8, 1, "c");
    StreamImplDense storage(*structure, "aligned");
    ASSERT_TRUE(storage.ensureSpaceForElement(0));
    EXPECT_EQ(storage.physicalElementCount(), 4096u / 17) << "counted by the size";
    EXPECT_EQ(storage.elementAddr(2) - storage.elementAddr(0), 48);
}

struct MappedStreamTest : testing::Test {
    void set(const Index& index, int number) {
        ASSERT_TRUE(stream.setElement(index, item(*structure, number, nullptr)));
    }

    RefPtr<Structure> structure = numberAndText();
    Stream stream{*structure, "items"};
};

TEST_F(MappedStreamTest, WithoutStorageIsAnEmptyStreamOfItsOwn) {
    Stream one = StreamAccess::unnamed();
    EXPECT_TRUE(!one.makeUnique() && one.clear() && one == Stream(one));
    EXPECT_EQ(one.name() + '/' + one.indexType(), "Stream/numeric");
    EXPECT_FALSE(one.setElement(0u, Handle(StreamAccess::unnamed().structure(), nullptr)));
}

TEST_F(MappedStreamTest, KeepsTypedIndicesInOrderAndIndependentOfTheCallers) {
    Index index{IndexString("z")};
    set(index, 6);
    dynamic_cast<IndexString&>(*index.complexIndex()) = std::string("b");
    set(9, 2);
    set(IndexPair(2, 1), 4);
    set(IndexPair(1, 2), 3);
    set(IndexString("a"), 5);
    EXPECT_TRUE(stream.reindexElement(IndexPair(1, 2), IndexString("m")));
    EXPECT_TRUE(stream.removeElement(IndexPair(1, 3)));
    EXPECT_EQ(words(stream), "9=2 ~|2 1=4 ~|a=5 ~|m=3 ~|z=6 ~|");
}

TEST_F(MappedStreamTest, ChangesIndexTypeOnlyWhileEmpty) {
    stream.useDenseStorage(true);
    EXPECT_TRUE(stream.setIndexType("pair"));
    EXPECT_TRUE(stream.useDenseStorage(false)) << "typed indices need mapped storage";
    EXPECT_EQ(stream.name() + ' ' + stream.indexType(), "items pair");
    set(0, 1);
    EXPECT_FALSE(stream.setIndexType("pair"));
    stream.clear();
    EXPECT_THROW(stream.setIndexType("nobody's"), Index::eCreationErrors);
    EXPECT_TRUE(StreamAccess::setIndexType(stream, "nobody's"));
    const IndexType::IndexRegistration null("null", nullptr);
    EXPECT_FALSE(stream.setIndexType("null"));
    EXPECT_EQ(stream.indexType(), "nobody's");
}

TEST_F(MappedStreamTest, StaysMappedWhereDenseStorageWouldLoseElements) {
    set(1, 1);
    for (const Index& index : {Index(IndexPair(0, 0)), Index(4294967295u)}) {
        set(index, 2);
        EXPECT_FALSE(stream.useDenseStorage(true));
        EXPECT_EQ(words(stream), "1=1 ~|" + index.asString() + "=2 ~|");
        stream.removeElement(index);
    }
}

TEST_F(MappedStreamTest, CarriesLargeElementsPastTheGrowthSteps) {
    stream.setStructure(*bytesStructure(5000));
    for (const unsigned int k : {0U, 1U}) stream.setElement(k, Handle(stream.structure()));
    const Stream sharing(stream);
    EXPECT_FALSE(stream.useDenseStorage(true));
    EXPECT_FALSE(stream == sharing) << "others keep the storage that one leaves";
    EXPECT_TRUE(stream.useDenseStorage(true)) << "it is dense";
    EXPECT_EQ(stream.elementCount(), 2u);
}

}  // namespace

}  // namespace orbo::Data
