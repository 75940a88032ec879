// Streams on both kinds of storage: refusals, new structures and layouts, iterators.
// SPDX-License-Identifier: Apache-2.0

#include <exception>

#include "streams/Elements.h"
#include "streams/StreamAccess.h"
#include "streams/StreamDenseIteratorImpl.h"
#include "streams/StreamMappedIteratorImpl.h"

namespace orbo::Data {

namespace {

const char* const kWords = "0=0 text|1=1 text|2=2 text|";

class StreamTest : public testing::TestWithParam<bool> {
  protected:
    StreamTest() {
        stream.useDenseStorage(GetParam());
        for (const int k : {0, 1, 2}) stream.setElement(Index(k), item(*structure, k, "text"));
    }

    RefPtr<Structure> structure = numberAndText();
    Stream stream{*structure, "items"};
};

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

TEST_P(StreamTest, GivesColumnsOfDenseStorage) {
    const StreamColumn<int> numbers = stream.column<int>("number");
    EXPECT_EQ(numbers.problem(), GetParam() ? "" : "The stream's storage is not dense.");
    EXPECT_EQ(numbers.size(), GetParam() ? 3U : 0U);
    const StreamColumn<char*> texts = stream.column<char*>("texts");
    for (unsigned int k = 0; k < texts.size(); ++k) {
        EXPECT_EQ(*numbers[k] += 10, static_cast<int>(k) + 10);
        EXPECT_STREQ(texts[k][texts.valuesPerElement() - 1], "text");
    }
    EXPECT_EQ(words(stream), GetParam() ? "0=10 text|1=11 text|2=12 text|" : kWords);
    EXPECT_EQ(stream.column<float>("number").problem(), "Member 'number' is of type int32.");
    EXPECT_EQ(stream.column<int>("no such").problem(), "There is no member 'no such'.");
    EXPECT_EQ(stream.column<int>(nullptr).problem(), "There is no member ''.");
}

TEST_P(StreamTest, AssignedStructureKeepsWhatItShares) {
    const auto assign = [this](unsigned int length) {
        const RefPtr<Structure> next(new Structure("next"));
        next->addMember(Member::kString, 2, "texts");
        next->addMember(Member::kFloat, length, "number");
        *structure = *next;
        return words(stream.element(1));
    };
    EXPECT_EQ(assign(1), "0 text") << "another type is lost";
    Handle handle = stream.element(1);
    handle.setPositionByMemberName("number");
    *handle.asFloat() = 0.5F;
    EXPECT_EQ(assign(1), "0.5 text");
    EXPECT_EQ(assign(2), "0 text") << "another length is lost";
}

TEST_P(StreamTest, ElementsOfAnEmptyStructureGetData) {
    stream.clear();
    *structure = *bytesStructure(0);
    for (const int k : {0, 1, 2}) ASSERT_TRUE(stream.setElement(Index(k), Handle(*structure)));
    EXPECT_EQ(words(stream), "0=-|1=-|2=-|");
    *structure = *numberAndText();
    EXPECT_EQ(words(stream), "0=0 ~|1=0 ~|2=0 ~|");
}

TEST_P(StreamTest, StaysAsItIsWithoutMemoryForTheNewLayout) {
    for (int i = 0; i < 1024; ++i) {
        structure->addMember(Member::kDoubleMatrix4x4, ~0U, ("huge" + std::to_string(i)).c_str());
    }
    EXPECT_FALSE(stream.setElement(0, stream.element(1)));
    EXPECT_FALSE(stream.useDenseStorage(!GetParam())) << "new storage takes no old layout";
    Stream copy(stream);
    EXPECT_TRUE(copy.makeUnique() && copy.swapElements(0, 1));
    EXPECT_EQ(words(copy) + words(stream), std::string("0=1 text|1=0 text|2=2 text|") + kWords);
    *structure = *numberAndText();
    EXPECT_TRUE(stream.setElement(0, stream.element(1)));
    EXPECT_EQ(words(stream), "0=1 text|1=1 text|2=2 text|");
}

TEST_P(StreamTest, IteratorCopiesStandByThemselvesAndKeepTheMember) {
    StreamIterator it = stream.begin();
    it->setPositionByMemberName("texts");
    structure->addMember(Member::kDouble, 1, "weight");
    ++it;
    const StreamIterator copy(it);
    StreamIterator assigned = stream.end();
    assigned = it;
    ++it;
    const StreamIterator& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned, copy);
    EXPECT_NE(it, copy);
    EXPECT_EQ(copy->dataType(), Member::kString);
    EXPECT_EQ(words(*copy) + words(*StreamIterator(std::move(assigned))), "1 text1 text");
    EXPECT_TRUE(it->setPositionByMemberName("weight") && it->str(0) == "0") << "the new member";
    for (int k = 0; k < 5; ++k) ++it;
    EXPECT_TRUE(it == stream.cend() && StreamIterator(it) == it);
    EXPECT_TRUE(!it->hasData() && it->usesStructure(*structure));
    Stream detached(stream);
    detached.makeUnique();
    EXPECT_NE(detached.begin(), stream.begin());
    EXPECT_NE(detached.end(), stream.end());
    EXPECT_NE(stream.begin(), StreamIterator());
}

TEST_P(StreamTest, WhatIsAssignedToAnIteratorsHandleNeverReachesTheStorage) {
    StreamIterator it = stream.begin();
    *it = item(*structure, 77, "gone");
    ++it;
    EXPECT_EQ(words(*it), "1 text");
    *it = Handle(*bytesStructure(4));
    ++it;
    EXPECT_EQ(words(*it), "2 text");
    // A copy that the handle made for itself is its own, not that of the iterator's copy.
    it->makeUnique();
    *it->asInt32() = 5;
    EXPECT_EQ(words(*StreamIterator(it)), "2 text");
    EXPECT_EQ(words(stream), kWords);
}

INSTANTIATE_TEST_SUITE_P(Storages, StreamTest, testing::Bool(),
                         [](const auto& storage) { return storage.param ? "Dense" : "Mapped"; });

TEST(EmptyStreamIteratorTest, SaysThatItWalksNothing) {
    StreamIterator it;
    StreamDenseIteratorImpl dense;
    dense.advance();
    EXPECT_TRUE(it == StreamIterator() && dense.index() == Index(0u));
    const auto throws = [](const char* message) {
        return testing::ThrowsMessage<std::exception>(message);
    };
    EXPECT_THAT([&] { *it; }, throws("No Stream Iterator implementation"));
    EXPECT_THAT([&] { ++it; }, throws("No Stream Iterator implementation"));
    EXPECT_THAT([&] { *std::as_const(it); }, throws("No const Stream Iterator implementation"));
    EXPECT_THAT([&] { (void)it.index(); }, throws("No const Stream Iterator implementation"));
    EXPECT_THAT([&] { (void)dense.handle(); }, throws("Iterator not at a valid position"));
    EXPECT_THAT(
        [] { (void)OwnedPtr<StreamIteratorImpl>(StreamMappedIteratorImpl().clone())->handle(); },
        throws("Iterator not at a valid position"));
}

}  // namespace

}  // namespace orbo::Data
