// Streams: what they refuse, change of structure, layout, index type and storage.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>
#include <data/Stream.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "streams/Elements.h"
#include "streams/IndexTypes.h"
#include "streams/StreamAccess.h"

namespace orbo::Data {

namespace {

// Each test runs on mapped and on dense storage, on "0=1 one|1=2 two|".
class StreamTest : public testing::TestWithParam<bool> {
  protected:
    StreamTest() : structure(numberAndText()), stream(*structure, "items") {
        stream.useDenseStorage(GetParam());
        stream.setElement(0, item(*structure, 1, "one"));
        stream.setElement(1, item(*structure, 2, "two"));
    }

    RefPtr<Structure> structure;
    Stream stream;
};

TEST_P(StreamTest, RefusesElementsOfEqualStructures) {
    const RefPtr<Structure> equal(new Structure(*structure));
    Stream other(*equal, "other");
    EXPECT_TRUE(stream.mergeStream(other)) << "nothing to merge";
    EXPECT_TRUE(other.setElement(0, item(*equal, 3, "three")));
    EXPECT_FALSE(stream.mergeStream(other));
    EXPECT_FALSE(stream.setElement(0, item(*equal, 3, "three")));
    EXPECT_FALSE(StreamAccess::adoptElement(stream, 0, item(*equal, 3, "three")));
    EXPECT_FALSE(stream.setElement(0, Handle()));
    EXPECT_EQ(words(stream), "0=1 one|1=2 two|");
}

TEST_P(StreamTest, ChangesStructureOnlyWhileEmptyAndKeepsItAlive) {
    EXPECT_FALSE(stream.setStructure(*structure));
    stream.clear();
    EXPECT_EQ(stream.setStructure(*structure), !GetParam()) << "dense storage still counts";
    stream.setElementRange(0, ~0U);
    EXPECT_TRUE(stream.setStructure(*RefPtr<Structure>(new Structure(*bytesStructure(5000)))));
    EXPECT_FALSE(stream.setElement(0, item(*structure, 1, "one")));
    EXPECT_TRUE(stream.setElement(3, Handle(stream.structure())));
    EXPECT_EQ(stream.element(3).str(4999), "0");
}

TEST_P(StreamTest, IteratorsWalkOnWithNewMembersWhichAreDefault) {
    StreamIterator it = stream.begin();
    structure->addMember(Member::kDouble, 1, "weight");
    ++it;
    EXPECT_EQ(words(*it), "2 two");
    EXPECT_TRUE(it->setPositionByMemberName("weight"));
    EXPECT_EQ(it->str(0), "0");
}

TEST_P(StreamTest, AssignedStructureKeepsWhatItShares) {
    const auto assign = [this](unsigned int length) {
        const RefPtr<Structure> next(new Structure("next"));
        next->addMember(Member::kString, 2, "texts");
        next->addMember(Member::kFloat, length, "number");
        *structure = *next;
        return words(stream.element(1));
    };
    EXPECT_EQ(assign(1), "0 two") << "another type is lost";
    Handle handle = stream.element(1);
    handle.setPositionByMemberName("number");
    *handle.asFloat() = 0.5F;
    EXPECT_EQ(assign(1), "0.5 two");
    EXPECT_EQ(assign(2), "0 two") << "another length is lost";
}

TEST_P(StreamTest, ElementsOfAnEmptyStructureGetData) {
    stream.clear();
    *structure = *bytesStructure(0);
    for (const unsigned int k : {0U, 1U}) ASSERT_TRUE(stream.setElement(k, Handle(*structure)));
    EXPECT_EQ(words(stream), "0=-|1=-|");
    *structure = *numberAndText();
    EXPECT_EQ(words(stream), "0=0 ~|1=0 ~|");
}

TEST_P(StreamTest, StaysAsItIsWithoutMemoryForTheNewLayout) {
    makeGigantic(*structure);
    EXPECT_FALSE(stream.setElement(0, stream.element(1)));
    EXPECT_FALSE(stream.useDenseStorage(!GetParam())) << "new storage takes no old layout";
    Stream copy(stream);
    EXPECT_TRUE(copy.makeUnique());
    EXPECT_TRUE(copy.swapElements(0, 1));
    EXPECT_EQ(words(copy) + words(stream), "0=2 two|1=1 one|0=1 one|1=2 two|");
    *structure = *numberAndText();
    EXPECT_TRUE(stream.setElement(0, stream.element(1)));
    EXPECT_EQ(words(stream), "0=2 two|1=2 two|");
}

INSTANTIATE_TEST_SUITE_P(Storages, StreamTest, testing::Bool(),
                         [](const auto& storage) { return storage.param ? "Dense" : "Mapped"; });

class MappedStreamTest : public testing::Test {
  protected:
    void set(const Index& index, int number) {
        ASSERT_TRUE(stream.setElement(index, item(*structure, number, nullptr)));
    }

    RefPtr<Structure> structure = numberAndText();
    Stream stream{*structure, "items"};
};

TEST_F(MappedStreamTest, WithoutStorageIsAnEmptyStreamOfItsOwn) {
    Stream one = StreamAccess::unnamed();
    EXPECT_TRUE(!one.makeUnique() && one.clear());
    EXPECT_EQ(one.name() + '/' + one.indexType(), "Stream/numeric");
    EXPECT_TRUE(one == Stream(one));
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

// An index that counts how often it is compared.
struct CountingIndex : IndexText {
    explicit CountingIndex(unsigned int number)
        : IndexText("counting", std::to_string(10000 + number)) {}
    [[nodiscard]] IndexType* clone() const override { return new CountingIndex(*this); }
    bool operator<(const IndexType& other) const override {
        return ++comparisons, IndexText::operator<(other);
    }
    static inline unsigned int comparisons = 0;
};

TEST_F(MappedStreamTest, StoringInOrderAndWalkingTakeConstantTimePerElement) {
    const auto comparisons = [this](unsigned int first, unsigned int end) {
        CountingIndex::comparisons = 0;
        for (unsigned int k = first; k < end; ++k) set(CountingIndex(k), 1);
        for (StreamIterator it = stream.begin(); it != stream.end(); ++it) continue;
        return CountingIndex::comparisons;
    };
    EXPECT_LE(comparisons(0, 1000), 5 * 1000u);
    EXPECT_LE(comparisons(1000, 3000), 5 * 2000u);
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
    const IndexTypes::KeepUnknown keep;
    EXPECT_TRUE(stream.setIndexType("nobody's"));
    const IndexType::IndexRegistration null("null", nullptr);
    EXPECT_FALSE(stream.setIndexType("null"));
    EXPECT_EQ(stream.indexType(), "nobody's");
}

TEST_F(MappedStreamTest, StaysMappedWhereDenseStorageWouldLoseElements) {
    set(1, 1);
    for (const Index& index : {Index(IndexPair(0, 0)), Index(4294967295u)}) {
        set(index, 2);
        EXPECT_FALSE(stream.useDenseStorage(true));
        EXPECT_EQ(words(stream), "1=1 ~|" + Index(index).asString() + "=2 ~|");
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

TEST_F(MappedStreamTest, AdoptsChunksWithoutCopyingThem) {
    Handle handle = item(*structure, 1, "one");
    const void* chunk = handle.asInt32();
    EXPECT_TRUE(StreamAccess::adoptElement(stream, 3, std::move(handle)));
    EXPECT_TRUE(StreamAccess::adoptElement(stream, 4, stream.element(3))) << "borrowed: copied";
    EXPECT_EQ(stream.element(3).asInt32(), chunk);
    EXPECT_NE(stream.element(4).asInt32(), chunk);
}

}  // namespace

}  // namespace orbo::Data
