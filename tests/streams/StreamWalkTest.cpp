// Walks over elements that come and go, lie elsewhere or change their members on the way.
// SPDX-License-Identifier: Apache-2.0
#include <data/StreamIterator.h>

#include <functional>
#include <random>

#include "streams/Elements.h"

namespace orbo::Data {

namespace {

constexpr unsigned int kCount = 3000;  // more than a step takes without a look at the storage

Stream countingStream(const Structure& structure, bool dense, unsigned int count) {
    Stream stream(structure, "stream");
    stream.useDenseStorage(dense);
    for (unsigned int k = 0; k < count; ++k) *stream.emplaceElement(k).asInt32() = int(k);
    return stream;
}

TEST(StreamWalkTest, IsNotToldFromOneThatLooksAtEachElement) {
    for (const bool dense : {false, true}) {
        const auto structure = numberAndText();
        const auto other = numberAndText();
        Stream stream = countingStream(*structure, dense, kCount);
        std::mt19937 random(2);
        const auto below = [&](unsigned int limit) { return unsigned(random() % limit); };
        unsigned int number = 0;
        const std::function<void(Handle&)> changes[] = {
            [&](Handle&) { stream.setElement(number + below(4), item(*structure, 7, "new")); },
            [&](Handle&) { stream.swapElements(number + 1, number + 2 + below(kCount)); },
            [&](Handle&) { stream.reindexElement(number + 1 + below(3), number + 1 + below(80)); },
            [&](Handle&) { stream.removeElement(number + 1 + below(2)); },
            [&](Handle&) { stream.removeElement(below(number + 1)); },
            [&](Handle& handle) { handle.makeUnique(); },
            [&](Handle& handle) { handle = Handle(*numberAndText()); },
            [&](Handle& handle) { handle = item(*structure, 8, "own"); },
            [&](Handle& handle) { handle.pointToData(nullptr, false); },
            [&](Handle& handle) { handle = Handle(*other, handle.asInt32()); },
            [&](Handle&) {
                const std::string name = "more" + std::to_string(structure->memberCount());
                structure->addMember(Member::kInt8, 1, name.c_str());
            },
            [&](Handle&) { stream.setElementRange(0, stream.elementCount() - 2); }};
        StreamIterator it = stream.begin();
        unsigned int visited = 0;
        for (; it != stream.end(); ++it, ++visited) {
            number = it.index();
            ASSERT_EQ(words(*it), words(stream.element(number))) << number << " dense " << dense;
            ASSERT_TRUE(it->usesStructure(*structure));
            if (below(40) == 0) changes[below(std::size(changes))](*it);
            unsigned int next = number + 1;
            while (next < 2 * kCount && !stream.hasElement(next)) ++next;
            StreamIterator ahead = it;
            ++ahead;
            ASSERT_EQ(ahead.valid(), next < 2 * kCount);
            ASSERT_TRUE(!ahead.valid() || ahead.index() == Index(next)) << number;
        }
        EXPECT_GT(visited, kCount / 2);
    }
}

TEST(StreamWalkTest, KeepsItsMemberAlsoWhereTheMembersChange) {
    for (const bool dense : {false, true}) {
        const auto structure = numberAndText();
        Stream stream = countingStream(*structure, dense, 5);
        StreamIterator it = stream.begin();
        it->setPositionByMemberName("texts");
        structure->addMember(Member::kFloat, 1, "more");
        ++it;
        ASSERT_NE(it->asString(), nullptr);
        EXPECT_EQ(it->asInt32(), nullptr);
        EXPECT_FALSE(it->setPositionByMemberName("none"));
        EXPECT_EQ(it->asType(Member::kInvalid), nullptr);
        ++it;
        EXPECT_EQ(it->asType(Member::kString), nullptr);
        EXPECT_TRUE(it->setPositionByMemberName("number"));
        ++it;
        EXPECT_EQ(*it->asInt32(), 3);
    }
}

}  // namespace

}  // namespace orbo::Data
