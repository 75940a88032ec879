// Iterators over both kinds of storage.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <data/StreamIterator.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "streams/Elements.h"
#include "streams/StreamDenseIteratorImpl.h"
#include "streams/StreamMappedIteratorImpl.h"

namespace orbo::Data {

namespace {

template <typename Access>
std::string thrown(Access access) {
    try {
        access();
    } catch (const std::out_of_range& error) {
        return std::string("range: ") + error.what();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

class StreamIteratorTest : public testing::TestWithParam<bool> {
  protected:
    StreamIteratorTest() : structure(numberAndText()), stream(*structure, "items") {
        stream.useDenseStorage(GetParam());
        for (const int k : {0, 1, 2}) {
            stream.setElement(static_cast<unsigned int>(k), item(*structure, k * 10, "text"));
        }
    }

    RefPtr<Structure> structure;
    Stream stream;
};

TEST_P(StreamIteratorTest, VisitsAllAndStaysAtTheEnd) {
    StreamIterator it = stream.begin();
    EXPECT_EQ(it, stream.begin());
    for (int k = 0; k < 3; ++k, ++it) {
        ASSERT_TRUE(it.valid());
        EXPECT_EQ(it.index(), Index(static_cast<unsigned int>(k)));
        EXPECT_EQ(it->str(0), std::to_string(k * 10));
    }
    EXPECT_FALSE(it.valid());
    EXPECT_EQ(it, stream.end());
    EXPECT_EQ(++it, stream.cend());
    EXPECT_FALSE(it->hasData());
    EXPECT_TRUE(it->usesStructure(*structure));
    EXPECT_EQ(it.index(), Index(GetParam() ? 4294967295u : 0u));
}

TEST_P(StreamIteratorTest, CopiesStandByThemselves) {
    StreamIterator it = stream.begin();
    ++it;
    const StreamIterator copy(it);
    StreamIterator assigned = stream.end();
    assigned = it;
    ++it;
    EXPECT_EQ(copy.index(), Index(1u));
    EXPECT_EQ((*copy).str(0) + copy->str(0), "1010");
    EXPECT_EQ(assigned, copy);
    EXPECT_NE(it, copy);
    const StreamIterator& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned->str(0), "10");
    StreamIterator moved(std::move(assigned));
    EXPECT_EQ(moved->str(0), "10");
    const StreamIterator end = stream.end();
    EXPECT_EQ(StreamIterator(end), end);
}

TEST_P(StreamIteratorTest, IteratorsOfOtherStreamsAreDifferent) {
    Stream copy(stream);
    EXPECT_EQ(copy.begin(), stream.begin());
    copy.makeUnique();
    EXPECT_NE(copy.begin(), stream.begin());
    EXPECT_NE(copy.end(), stream.end());
    EXPECT_NE(stream.begin(), StreamIterator());
    EXPECT_NE(StreamIterator(), stream.begin());
}

TEST_P(StreamIteratorTest, KeepsItsMemberWhileItWalks) {
    StreamIterator it = stream.begin();
    it->setPositionByMemberName("texts");
    ++it;
    ASSERT_NE(it->asString(), nullptr);
    EXPECT_STREQ(it->asString()[1], "text");
    const StreamIterator copy(it);
    EXPECT_EQ(copy->dataType(), Member::kString);
    EXPECT_EQ(stream.begin()->dataType(), Member::kInt32);
}

TEST_P(StreamIteratorTest, WhatIsAssignedToItsHandleNeverReachesTheStorage) {
    const RefPtr<Structure> foreign = bytesStructure(4);
    const Handle other(*foreign);
    StreamIterator it = stream.begin();
    *it = item(*structure, 77, "gone");
    EXPECT_EQ(it->str(0), "77");
    ++it;
    EXPECT_EQ(it->str(0), "10");
    *it = other;
    ++it;
    EXPECT_EQ(words(*it), "20 text");
    EXPECT_TRUE(it->usesStructure(*structure));
    // A copy that the handle made for itself is its own, not that of the iterator's copy.
    it->makeUnique();
    *it->asInt32() = 5;
    EXPECT_EQ(StreamIterator(it)->str(0), "20");
    EXPECT_EQ(words(stream), "0=0 text|1=10 text|2=20 text|");
    *stream.begin()->asInt32() = 3;
    EXPECT_EQ(words(stream.element(0)), "3 text");
}

INSTANTIATE_TEST_SUITE_P(Storages, StreamIteratorTest, testing::Bool(),
                         [](const auto& storage) { return storage.param ? "Dense" : "Mapped"; });

TEST(EmptyStreamIteratorTest, SaysThatItWalksNothing) {
    StreamIterator it;
    const StreamIterator& constant = it;
    const std::string none = "No Stream Iterator implementation";
    const std::string constNone = "No const Stream Iterator implementation";
    EXPECT_FALSE(it.valid());
    EXPECT_EQ(it, StreamIterator());
    EXPECT_EQ(thrown([&] { *it; }), none);
    EXPECT_EQ(thrown([&] { static_cast<void>(it->hasData()); }), none);
    EXPECT_EQ(thrown([&] { ++it; }), none);
    EXPECT_EQ(thrown([&] { static_cast<void>(it++); }), none);
    EXPECT_EQ(thrown([&] { *constant; }), constNone);
    EXPECT_EQ(thrown([&] { static_cast<void>(constant->hasData()); }), constNone);
    EXPECT_EQ(thrown([&] { static_cast<void>(it.index()); }), constNone);
}

TEST(EmptyStreamIteratorTest, ImplementationWithoutStorageHasNoHandle) {
    StreamDenseIteratorImpl dense;
    StreamMappedIteratorImpl mapped;
    const std::string invalid = "range: Iterator not at a valid position";
    EXPECT_EQ(thrown([&] { static_cast<void>(dense.handle()); }), invalid);
    EXPECT_EQ(thrown([&] { static_cast<void>(mapped.clone()->handle()); }), invalid);
    dense.advance();
    EXPECT_FALSE(dense.valid());
    EXPECT_EQ(dense.index(), Index(0u));
    EXPECT_EQ(mapped.index(), Index(0u));
    EXPECT_EQ(dense, *dense.clone());
}

}  // namespace

}  // namespace orbo::Data
