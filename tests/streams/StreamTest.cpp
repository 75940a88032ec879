// Streams: sharing, change of structure, index type and storage, merging.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>
#include <data/Stream.h>
#include <debug/Count.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "streams/Elements.h"
#include "streams/IndexTypes.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

class StreamTest : public testing::Test {
  protected:
    StreamTest() : structure(numberAndText()), stream(*structure, "items") {}

    void set(Stream& target, const Index& index, int number, const char* text = nullptr) const {
        ASSERT_TRUE(target.setElement(index, item(*structure, number, text)));
    }

    RefPtr<Structure> structure;
    Stream stream;
};

TEST_F(StreamTest, StartsMappedNumericAndEmpty) {
    EXPECT_EQ(stream.name(), "items");
    EXPECT_EQ(&stream.structure(), structure.get());
    EXPECT_EQ(stream.indexType(), "numeric");
    EXPECT_FALSE(stream.useDefaults());
    EXPECT_TRUE(stream.empty());
    EXPECT_EQ(stream.begin(), stream.end());
    EXPECT_FALSE(stream.element(0u).hasData());
    EXPECT_TRUE(stream.element(0u).usesStructure(*structure));
    EXPECT_TRUE(stream.useDenseStorage(false));
}

TEST_F(StreamTest, WithoutStorageIsAnEmptyStreamOfItsOwn) {
    Stream one = StreamAccess::unnamed();
    Stream other = StreamAccess::unnamed();
    EXPECT_FALSE(one.makeUnique());
    EXPECT_TRUE(one.clear());
    EXPECT_EQ(one.name() + '/' + one.indexType() + '/' + one.structure().name(),
              "Stream/numeric/structure");
    EXPECT_TRUE(one.empty());
    EXPECT_FALSE(one == other);
    EXPECT_TRUE(one == Stream(one));
    EXPECT_FALSE(one.setElement(0u, Handle(other.structure(), nullptr)));
    EXPECT_TRUE(one.setElement(0u, Handle(one.structure(), nullptr)));
}

TEST_F(StreamTest, CopiesShareUntilMadeUnique) {
    Stream copy(stream);
    set(copy, 3, 1, "one");
    EXPECT_TRUE(copy == stream);
    EXPECT_EQ(words(stream), "3=1 one|");

    EXPECT_TRUE(copy.makeUnique());
    EXPECT_FALSE(copy.makeUnique());
    EXPECT_FALSE(stream.makeUnique());
    EXPECT_FALSE(copy == stream);
    set(copy, 3, 2, "two");
    EXPECT_EQ(words(stream), "3=1 one|");
    EXPECT_EQ(words(copy), "3=2 two|");
    copy = stream;
    EXPECT_EQ(words(copy), "3=1 one|");
}

TEST_F(StreamTest, RefusesHandlesOfAnotherStructure) {
    const RefPtr<Structure> equal(new Structure(*structure));
    const Handle foreign = item(*equal, 1, "one");
    EXPECT_EQ(*equal, *structure);
    for (const bool dense : {false, true}) {
        stream.useDenseStorage(dense);
        EXPECT_FALSE(stream.setElement(0u, foreign));
        EXPECT_FALSE(StreamAccess::adoptElement(stream, 0u, item(*equal, 1, "one")));
        EXPECT_FALSE(stream.setElement(0u, Handle()));
        EXPECT_TRUE(stream.empty());
    }
}

TEST_F(StreamTest, StoresIntoTheElementThatTheHandleIsOn) {
    for (const bool dense : {false, true}) {
        stream.useDenseStorage(dense);
        set(stream, 1, 1, "one");
        EXPECT_TRUE(stream.setElement(1, stream.element(1)));
        for (StreamIterator it = stream.begin(); it.valid(); ++it) {
            EXPECT_TRUE(stream.setElement(it.index(), *it));
        }
        EXPECT_EQ(words(stream.element(1)), "1 one");
        EXPECT_TRUE(stream.reindexElement(1, 1));
        EXPECT_EQ(words(stream.element(1)), "1 one");
        EXPECT_TRUE(stream.swapElements(1, 1));
        EXPECT_TRUE(stream.mergeStream(stream));
        EXPECT_EQ(words(stream.element(1)), "1 one");
    }
}

TEST_F(StreamTest, WritesThroughHandlesAndStartsThemAtTheFirstMember) {
    set(stream, 1, 1, "one");
    Handle handle = stream.element(1);
    handle.setPositionByMemberName("texts");
    Handle another = stream.element(1);
    ASSERT_NE(another.asInt32(), nullptr);
    *another.asInt32() = 5;
    EXPECT_EQ(words(stream), "1=5 one|");
    // New content leaves the element where it is.
    set(stream, 1, 6, "six");
    EXPECT_EQ(words(handle), "6 six");
}

TEST_F(StreamTest, KeepsTypedIndicesInOrder) {
    ASSERT_TRUE(stream.setIndexType("pair"));
    set(stream, IndexString("z"), 6);
    set(stream, 9, 2);
    set(stream, IndexPair(2, 1), 4);
    set(stream, IndexPair(1, 2), 3);
    set(stream, 2, 1);
    set(stream, IndexString("a"), 5);
    EXPECT_EQ(words(stream), "2=1 ~|9=2 ~|1 2=3 ~|2 1=4 ~|a=5 ~|z=6 ~|");
    EXPECT_TRUE(stream.hasElement(IndexPair(1, 2)));
    EXPECT_FALSE(stream.hasElement(IndexPair(1, 3)));
    EXPECT_TRUE(stream.reindexElement(IndexPair(1, 2), IndexString("m")));
    EXPECT_TRUE(stream.removeElement(IndexString("z")));
    EXPECT_TRUE(stream.removeElement(IndexString("nobody")));
    EXPECT_EQ(words(stream), "2=1 ~|9=2 ~|2 1=4 ~|a=5 ~|m=3 ~|");
}

// An index that counts how often it is compared.
class CountingIndex : public IndexText {
  public:
    explicit CountingIndex(unsigned int number)
        : IndexText("counting", std::string(1, static_cast<char>('A' + number / 50)) +
                                    static_cast<char>('A' + number % 50)) {}
    [[nodiscard]] IndexType* clone() const override { return new CountingIndex(*this); }
    bool operator<(const IndexType& other) const override {
        ++comparisons;
        return IndexText::operator<(other);
    }
    static inline unsigned int comparisons = 0;
};

TEST_F(StreamTest, StoringInOrderAndWalkingTakeConstantTimePerElement) {
    const auto comparisons = [this](unsigned int count) {
        CountingIndex::comparisons = 0;
        Stream filled(*structure, "filled");
        const Handle handle = item(*structure, 1, nullptr);
        for (unsigned int k = 0; k < count; ++k) filled.setElement(CountingIndex(k), handle);
        for (StreamIterator it = filled.begin(); it != filled.end(); ++it) {
        }
        EXPECT_EQ(filled.elementCount(), count);
        return CountingIndex::comparisons;
    };
    const unsigned int once = comparisons(1000);
    EXPECT_LE(once, 5 * 1000u);
    EXPECT_LE(comparisons(2000), 2 * once + 10);
}

TEST_F(StreamTest, StoredIndicesAreIndependentOfTheCallers) {
    Index index{IndexString("a")};
    set(stream, index, 1);
    dynamic_cast<IndexString&>(*index.complexIndex()) = std::string("b");
    EXPECT_EQ(words(stream), "a=1 ~|");
}

TEST_F(StreamTest, MergesTheNumbersBelowTheOthersCount) {
    const struct {
        const char* what;
        unsigned int first, second;
        const char* result;
    } rows[] = {
        {"all from 0", 0, 1, "0=1 ~|1=2 ~|5=9 ~|"},
        {"one beyond the count", 0, 7, "0=1 ~|5=9 ~|"},
        {"all beyond the count", 6, 7, "5=9 ~|"},
    };
    for (const auto& row : rows) {
        stream.clear();
        set(stream, 5, 9);
        Stream other(*structure, "other");
        set(other, row.first, 1);
        set(other, row.second, 2);
        EXPECT_TRUE(stream.mergeStream(other)) << row.what;
        EXPECT_EQ(words(stream), row.result) << row.what;
    }
    const RefPtr<Structure> foreign = numberAndText();
    Stream other(*foreign, "foreign");
    EXPECT_TRUE(stream.mergeStream(other));
    ASSERT_TRUE(other.setElement(0, item(*foreign, 1, nullptr)));
    EXPECT_FALSE(stream.mergeStream(other));
}

TEST_F(StreamTest, ChangesStructureOnlyWhileEmpty) {
    const RefPtr<Structure> next = bytesStructure(5000);
    for (const bool dense : {false, true}) {
        Stream changed(*structure, "changed");
        changed.useDenseStorage(dense);
        changed.setElementRange(0, 0);
        changed.setElementRange(0, ~0U);  // none again, the block stays
        EXPECT_TRUE(changed.setStructure(*next));
        EXPECT_EQ(&changed.structure(), next.get());
        EXPECT_FALSE(changed.setElement(0, item(*structure, 1, "one")));
        EXPECT_TRUE(changed.setElement(3, Handle(*next)));
        EXPECT_FALSE(changed.setStructure(*structure));
        EXPECT_NE(changed.element(3).asUInt8(), nullptr);
    }
}

TEST_F(StreamTest, KeepsItsStructureAlive) {
    Stream orphan(stream);
    {
        const RefPtr<Structure> temporary = numberAndText();
        orphan.setStructure(*temporary);
        orphan.setElement(0, item(*temporary, 1, "one"));
    }
    EXPECT_EQ(words(orphan), "0=1 one|");
}

TEST_F(StreamTest, ChangesIndexTypeOnlyWhileEmpty) {
    Stream dense = denseStream(*structure);
    EXPECT_TRUE(dense.setIndexType("numeric"));
    EXPECT_TRUE(dense.useDenseStorage(true));
    EXPECT_TRUE(dense.setIndexType("pair"));
    EXPECT_TRUE(dense.useDenseStorage(false)) << "typed indices need mapped storage";
    EXPECT_EQ(dense.indexType(), "pair");
    EXPECT_EQ(dense.name(), "dense");

    set(stream, 0, 1);
    EXPECT_FALSE(stream.setIndexType("numeric"));
    EXPECT_FALSE(stream.setIndexType("pair"));
    EXPECT_THROW(stream.setIndexType("nobody's"), Index::eCreationErrors);
    EXPECT_EQ(words(stream), "0=1 ~|");
    stream.clear();
    {
        const IndexTypes::KeepUnknown keep;
        EXPECT_TRUE(stream.setIndexType("nobody's"));
    }
    const IndexType::IndexRegistration null("null", nullptr);
    EXPECT_FALSE(stream.setIndexType("null"));
    EXPECT_EQ(stream.indexType(), "nobody's");
}

TEST_F(StreamTest, CarriesElementsBetweenStorages) {
    set(stream, 2, 2, "two");
    set(stream, 5, 5, "five");
    Stream sharing(stream);
    EXPECT_FALSE(stream.useDenseStorage(true));
    EXPECT_TRUE(stream.useDenseStorage(true));
    EXPECT_EQ(words(stream), "0=0 ~|1=0 ~|2=2 two|3=0 ~|4=0 ~|5=5 five|");
    EXPECT_EQ(stream.name(), "items");
    EXPECT_EQ(words(sharing), "2=2 two|5=5 five|") << "keeps the old storage";
    EXPECT_FALSE(stream.useDenseStorage(false));
    EXPECT_EQ(stream.elementCount(), 6u);
    EXPECT_EQ(words(stream.element(5)), "5 five");
}

TEST_F(StreamTest, StaysMappedWhereDenseStorageWouldLoseElements) {
    set(stream, 1, 1, "one");
    const Index lost[] = {IndexPair(0, 0), IndexString("a"), Index(4294967295u)};
    for (const Index& index : lost) {
        set(stream, index, 2);
        const std::string before = words(stream);
        EXPECT_FALSE(stream.useDenseStorage(true));
        EXPECT_EQ(words(stream), before);
        EXPECT_EQ(stream.elementCount(), 2u);
        stream.removeElement(index);
    }
    stream.setElement(2, Handle(*structure, nullptr));
    EXPECT_FALSE(stream.useDenseStorage(true));
    EXPECT_EQ(words(stream), "1=1 one|2=-|");
}

TEST_F(StreamTest, CarriesLargeElementsPastTheGrowthSteps) {
    const RefPtr<Structure> large = bytesStructure(5000);
    Stream mapped(*large, "large");
    for (const unsigned int k : {0U, 1U}) ASSERT_TRUE(mapped.setElement(k, Handle(*large)));
    EXPECT_FALSE(mapped.useDenseStorage(true));
    EXPECT_TRUE(mapped.useDenseStorage(true)) << "it is dense";
    EXPECT_EQ(mapped.elementCount(), 2u);
}

TEST_F(StreamTest, AdoptsChunksWithoutCopyingThem) {
    Handle handle = item(*structure, 1, "one");
    const void* chunk = handle.asInt32();
    EXPECT_TRUE(StreamAccess::adoptElement(stream, 3, std::move(handle)));
    EXPECT_EQ(stream.element(3).asInt32(), chunk);
    // One that is borrowed is copied.
    EXPECT_TRUE(StreamAccess::adoptElement(stream, 4, stream.element(3)));
    EXPECT_NE(stream.element(4).asInt32(), chunk);
    EXPECT_EQ(words(stream), "3=1 one|4=1 one|");
}

TEST_F(StreamTest, NotesChangesOfNames) {
    Stream other(*structure, "other");
    Stream sharing(other);
    const auto before = StreamAccess::nameChanges();
    other = Stream(*structure, "other");
    EXPECT_EQ(StreamAccess::nameChanges(), before);
    other = stream;
    EXPECT_GT(StreamAccess::nameChanges(), before);
    const auto assigned = StreamAccess::nameChanges();
    StreamAccess::setName(stream, "renamed");
    EXPECT_GT(StreamAccess::nameChanges(), assigned);
    EXPECT_EQ(other.name() + ' ' + sharing.name(), "renamed other");
}

TEST_F(StreamTest, CountsItsObjects) {
    const auto created = Stream::objectsCreated();
    const auto alive = Stream::objectsAlive();
    const auto storages = StreamImpl::objectsAlive();
    const auto structures = Structure::objectsAlive();
    {
        Stream one(*structure, "one");
        Stream copy(one);
        Stream unnamed = StreamAccess::unnamed();
        EXPECT_EQ(Structure::objectsAlive(), structures) << "no storage yet";
        EXPECT_TRUE(unnamed.empty());
        EXPECT_EQ(Stream::objectsAlive(), alive + 3);
        EXPECT_EQ(StreamImpl::objectsAlive(), storages + 2);
        Debug::Count count;
        EXPECT_TRUE(Stream::Debug(nullptr, count));
        EXPECT_EQ(count.value(), alive + 3);
        one.useDenseStorage(true);
        one.makeUnique();
        copy = one;
    }
    EXPECT_EQ(Stream::objectsCreated(), created + 3);
    EXPECT_EQ(Stream::objectsAlive(), alive);
    EXPECT_EQ(StreamImpl::objectsAlive(), storages);
    EXPECT_EQ(Structure::objectsAlive(), structures);
}

}  // namespace

}  // namespace orbo::Data
