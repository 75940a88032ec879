// Elements by plain indices, walks over pairs, and edits that say why they were not made.
// SPDX-License-Identifier: Apache-2.0
#include <data/MemberRef.h>

#include <array>
#include <cstddef>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "streams/Elements.h"

namespace orbo::Data {

namespace {

class ElementsTest : public testing::Test {
  protected:
    Handle number(int value) const { return item(*structure, value, nullptr); }

    RefPtr<Structure> structure = numberAndText();
    Stream stream{*structure, "items"};
};

std::string pairs(const Stream& stream) {
    std::string result;
    for (auto [index, element] : stream.elements()) {
        const auto value = element.tryGet<int>("number");
        result += index.asString() + '=' + (value ? std::to_string(*value) : "-") + '|';
    }
    return result;
}

TEST_F(ElementsTest, AreFoundByWhatProgramsHave) {
    EXPECT_TRUE(stream.setElement(0, number(1)));
    EXPECT_TRUE(stream.setElement(5U, number(2)));
    EXPECT_TRUE(stream.setElement(std::size_t{6}, number(3)));
    EXPECT_TRUE(stream.setElement({3, 7}, number(4)));
    EXPECT_TRUE(stream.setElement("x", number(5)));
    EXPECT_TRUE(stream.setElement(std::string_view("y"), number(6)));
    EXPECT_THROW(stream.setElement(std::string("y"), number(6)), Index::eCreationErrors);
    stream.emplaceElement(std::string_view("z")).set("number", 7);
    EXPECT_EQ(pairs(stream), "0=1|5=2|6=3|3 7=4|x=5|y=6|z=7|");

    const Stream& look = stream;
    EXPECT_EQ(look.element(0).get<int>("number"), 1);
    EXPECT_EQ(look.element(5L).get<int>("number"), 2);
    EXPECT_EQ(look.element(std::string(" 5 ")).get<int>("number"), 2);
    EXPECT_EQ(look.element({3, 7}).get<int>("number"), 4);
    EXPECT_EQ(stream.element("x").get<int>("number"), 5);
    EXPECT_EQ(look.element(std::string_view("y")).get<int>("number"), 6);
    EXPECT_TRUE(look.hasElement({3, 7}) && look.hasElement("z") && !look.hasElement("5"));
    EXPECT_TRUE(stream.reindexElement("x", 9) && stream.swapElements(IndexPair(3, 7), "y"));
    EXPECT_TRUE(stream.removeElement("z") && stream.removeElement({0, 7}));
    EXPECT_EQ(pairs(stream), "0=1|5=2|6=3|9=5|3 7=6|y=4|");
}

TEST_F(ElementsTest, AreNotThoseOfNumbersThatWrap) {
    stream.setElement(5, number(1));
    const long long wraps = (1LL << 32) + 5;
    EXPECT_FALSE(stream.hasElement(wraps) || stream.hasElement(-1));
    EXPECT_FALSE(stream.element(wraps).hasData());
    EXPECT_FALSE(std::as_const(stream).element(-1L).hasData());
    EXPECT_THROW(stream.setElement(wraps, number(2)), std::out_of_range);
    EXPECT_THROW(stream.removeElement(-1), std::out_of_range);
    EXPECT_THROW(Index(3, -7), std::out_of_range);
    try {
        (void)Index::of(std::numeric_limits<long long>::min());
        ADD_FAILURE();
    } catch (const std::out_of_range& problem) {
        EXPECT_STREQ(problem.what(), "No index can have the number -9223372036854775808.");
    }
}

TEST_F(ElementsTest, HaveIndicesThatCompareWithPlainValues) {
    const Index five(5U), edge(3, 7), joint = IndexString("lid");
    EXPECT_TRUE(five == 5U && 5 == five && five == std::size_t{5} && five != 6L && five != "5");
    EXPECT_TRUE(edge == IndexPair(3, 7) && IndexPair(7, 3) != edge && edge != 0 && edge != "3 7");
    EXPECT_TRUE(joint == "lid" && five == std::string("5") && joint != std::string_view("lids"));
    EXPECT_TRUE(joint != 0 && joint == IndexString("lid") && five != -1 && Index() == 0);

    stream.setElement(5, number(1));
    stream.setElement("lid", number(2));
    stream.setElement({3, 7}, number(3));
    std::vector<std::string> found;
    for (auto [index, element] : stream.elements()) {
        if (index == 5U && index == five && index != "5") found.push_back("number");
        if (index == "lid" && joint == Index(index) && index != edge) found.push_back("text");
        if (index == IndexPair(3, 7) && index == edge && index == index) found.push_back("pair");
    }
    EXPECT_THAT(found, testing::ElementsAre("number", "pair", "text"));
}

TEST_F(ElementsTest, AreWalkedAsTheIteratorWalksThem) {
    std::set<unsigned int> gaps{3, 64, 65, 200, 1000};
    for (unsigned int k = 0; k < 1500; ++k) {
        if (gaps.count(k) == 0) stream.setElement(1499 - k, number(static_cast<int>(k)));
    }
    stream.setElement(~0U, number(-1));
    for (const char* text : {"b", "a", "c"}) stream.setElement(text, number(1));
    Stream dense = denseStream(*structure);
    for (int k = 0; k < 500; ++k) dense.setElement(k, number(k));
    Stream cleared = dense;
    cleared.makeUnique();
    cleared.clear();
    const Stream empty(*structure, "empty");
    for (const Stream& each : {stream, dense, cleared, empty}) {
        StreamIterator it = each.begin();
        for (auto [index, element] : each.elements()) {
            ASSERT_TRUE(it.valid() && index == it.index());
            ASSERT_EQ(words(*it),
                      element.hasData() ? std::to_string(*element.asInt32()) + " ~" : "-");
            ++it;
        }
        EXPECT_FALSE(it.valid());
    }
}

TEST_F(ElementsTest, ChangeWhileTheyAreWalkedAndOutliveTheWalk) {
    for (int k = 0; k < 3; ++k) stream.setElement(k, number(k));
    stream.setElement("lid", number(3));
    const MemberRef<int> value(*structure, "number");
    std::vector<ElementHandle> kept;
    std::vector<Index> indices;
    for (auto& [index, element] : stream.elements()) {
        value.set(element, 10 * value(element));
        element.set("texts", std::array<const char*, 2>{"a", "b"});
        kept.push_back(element);
        indices.push_back(index);
    }
    for (auto it = stream.begin(); it != stream.end(); ++it) value.set(it, value(it) + 1);
    EXPECT_EQ(pairs(stream), "0=1|1=11|2=21|lid=31|");
    EXPECT_EQ(value(kept[2]), 21);
    EXPECT_TRUE(indices[3] == "lid");
    Handle handle = kept[1];
    *handle.asInt32() = 5;
    EXPECT_EQ(value(stream.element(1)), 5);
    const auto temporary = [&] { return Stream(stream); };
    int sum = 0;
    for (auto [index, element] : temporary().elements()) sum += value(element);
    EXPECT_EQ(sum, 1 + 5 + 21 + 31);
}

TEST_F(ElementsTest, TellWhyAnEditWasNotMade) {
    const RefPtr<Structure> twin = numberAndText();
    const RefPtr<Structure> other(new Structure("Other"));
    other->addMember(Member::kInt32, 1, "number");
    Stream dense = denseStream(*structure);
    Stream large = denseStream(*bytesStructure(5000));
    Stream typed(*structure, "typed");
    typed.setElement("lid", number(1));
    stream.setElement(2, number(1));
    Stream last(*structure, "last");
    last.setElement(~0U, number(1));
    const struct {
        EditResult result;
        const char* reason;
    } kCases[] = {
        {stream.trySetElement(1, Handle(*other)),
         "The handle is of structure \"Other\", and the stream of \"Item\"."},
        {stream.trySetElement("x", Handle(*twin)),
         "The handle's structure is not the stream's, though both are named \"Item\"."},
        {dense.trySetElement(1, Handle(*structure, nullptr)),
         "Dense storage takes no handle without data."},
        {dense.trySetElement(~0U, number(1)), "Dense storage has no element 4294967295."},
        {large.trySetElement(0, Handle(large.structure())),
         "Dense storage grows to element 0 of more than 4096 bytes only after `reserve`."},
        {stream.tryReindexElement(7, 8), "There is no element 7."},
        {stream.tryReindexElement("lid", 8), "There is no element \"lid\"."},
        {stream.trySwapElements(2, IndexPair(3, 7)), "There is no element \"3 7\"."},
        {stream.trySetStructure(*twin),
         "The stream has 1 element, and only an empty one changes its structure."},
        {stream.trySetIndexType("string"),
         "The stream has 1 element, and only an empty one changes its index type."},
        {Stream(*structure, "new").trySetIndexType("uv"), "There is no index type \"uv\"."},
        {typed.tryUseDenseStorage(true),
         "Dense storage takes numbers only, and there is element \"lid\"."},
        {last.tryUseDenseStorage(true), "Dense storage has no element 4294967295."},
        {Stream(*twin, "new").tryMergeStream(dense), ""},
        {stream.tryUseDenseStorage(true), ""},
        {stream.trySetElement(4, number(1)), ""},
        {typed.tryReindexElement("lid", 3), ""},
        {Stream(*structure, "new").trySetIndexType("pair"), ""},
    };
    for (const auto& row : kCases) {
        EXPECT_EQ(row.result.reason(), row.reason);
        EXPECT_EQ(row.result, row.result.reason().empty());
    }
    EXPECT_TRUE(stream.isDense() && !typed.isDense());
    const EditResult merged = Stream(*twin, "new").tryMergeStream(stream);
    EXPECT_EQ(merged.reason().substr(0, 24), "Element 0 was not set. T");
}

}  // namespace

}  // namespace orbo::Data
