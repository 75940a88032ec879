// Iterators over both kinds of storage.
// SPDX-License-Identifier: Apache-2.0

#include <data/StreamIterator.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include "streams/Elements.h"
#include "streams/StreamDenseIteratorImpl.h"
#include "streams/StreamMappedIteratorImpl.h"

namespace orbo::Data {

namespace {

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

TEST_P(StreamIteratorTest, CopiesStandByThemselvesAndKeepTheMember) {
    StreamIterator it = stream.begin();
    it->setPositionByMemberName("texts");
    ++it;
    const StreamIterator copy(it);
    StreamIterator assigned = stream.end();
    assigned = it;
    ++it;
    const StreamIterator& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned, copy);
    EXPECT_NE(it, copy);
    EXPECT_EQ(words(*copy) + words(*StreamIterator(std::move(assigned))), "10 text10 text");
    EXPECT_EQ(copy->dataType(), Member::kString);
    EXPECT_EQ(stream.begin()->dataType(), Member::kInt32);
    Stream detached(stream);
    detached.makeUnique();
    EXPECT_NE(detached.begin(), stream.begin());
    EXPECT_NE(detached.end(), stream.end());
    EXPECT_NE(stream.begin(), StreamIterator());
    for (int k = 0; k < 5; ++k) ++it;
    EXPECT_EQ(it, stream.cend());
    EXPECT_EQ(StreamIterator(it), it);
    EXPECT_TRUE(!it->hasData() && it->usesStructure(*structure));
}

TEST_P(StreamIteratorTest, WhatIsAssignedToItsHandleNeverReachesTheStorage) {
    StreamIterator it = stream.begin();
    *it = item(*structure, 77, "gone");
    ++it;
    EXPECT_EQ(words(*it), "10 text");
    *it = Handle(*bytesStructure(4));
    ++it;
    EXPECT_EQ(words(*it), "20 text");
    // A copy that the handle made for itself is its own, not that of the iterator's copy.
    it->makeUnique();
    *it->asInt32() = 5;
    EXPECT_EQ(words(*StreamIterator(it)), "20 text");
    *stream.begin()->asInt32() = 3;
    EXPECT_EQ(words(stream), "0=3 text|1=10 text|2=20 text|");
}

INSTANTIATE_TEST_SUITE_P(Storages, StreamIteratorTest, testing::Bool(),
                         [](const auto& storage) { return storage.param ? "Dense" : "Mapped"; });

TEST(EmptyStreamIteratorTest, SaysThatItWalksNothing) {
    StreamIterator it;
    const StreamIterator& constant = it;
    const auto thrown = [](const std::function<void()>& access) -> std::string {
        try {
            access();
        } catch (const std::exception& error) {
            return error.what();
        }
        return "nothing";
    };
    const std::string none = "No Stream Iterator implementation";
    const std::string constNone = "No const Stream Iterator implementation";
    EXPECT_EQ(it, StreamIterator());
    EXPECT_EQ(thrown([&] { *it; }), none);
    EXPECT_EQ(thrown([&] { ++it; }), none);
    EXPECT_EQ(thrown([&] { *constant; }), constNone);
    EXPECT_EQ(thrown([&] { static_cast<void>(it.index()); }), constNone);
    StreamDenseIteratorImpl dense;
    dense.advance();
    EXPECT_EQ(dense.index(), Index(0u));
    EXPECT_THROW(static_cast<void>(dense.handle()), std::out_of_range);
    EXPECT_EQ(thrown([] { static_cast<void>(StreamMappedIteratorImpl().clone()->handle()); }),
              "Iterator not at a valid position");
}

}  // namespace

}  // namespace orbo::Data
