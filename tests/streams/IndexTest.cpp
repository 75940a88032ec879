// Indices: parsing, order, dense space, sharing, and the registry of types.
// SPDX-License-Identifier: Apache-2.0

#include <data/Index.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "streams/IndexTypes.h"

namespace orbo::Data {

namespace {

// "type:text" of the index made, or "error N".
std::string made(const std::string& type, const std::string& text) {
    try {
        Index index = Index::doCreate(type, text);
        return index.typeName() + ':' + index.asString();
    } catch (Index::eCreationErrors error) {
        return "error " + std::to_string(error);
    }
}

TEST(IndexTest, CreatesFromText) {
    const struct {
        const char* type;
        std::string text;
        const char* result;
    } rows[] = {
        {"numeric", "12", "numeric:12"},
        {"numeric", " \t17\r", "numeric:17"},
        {"numeric", "007", "numeric:7"},
        {"numeric", "4294967295", "numeric:4294967295"},
        {"numeric", "4294967296", "error 1"},
        {"numeric", "99999999999999999999 3", "error 1"},
        {"numeric", "", "error 1"},
        {"numeric", "  ", "error 1"},
        {"numeric", "-1", "error 1"},
        {"numeric", "1.5", "error 1"},
        {"numeric", "17\n", "error 1"},
        {"numeric", "17 x", "error 1"},  // the characters are judged before the numbers
        {"numeric", std::string("17\0", 3), "error 1"},
        {"numeric", "17 18", "error 2"},
        {"pair", "3 7", "pair:3 7"},
        {"pair", " 5\t6\r ", "pair:5 6"},
        {"pair", "0 4294967295", "pair:0 4294967295"},
        {"pair", "5", "error 1"},
        {"pair", "5 4294967296", "error 1"},
        {"pair", "3,7", "error 1"},
        {"pair", "5 6 7", "error 2"},
        {"string", "", "string:"},
        {"string", " a b\n", "string: a b\n"},
        {"nobody's", "1", "error 0"},
        {"Numeric", "1", "error 0"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(made(row.type, row.text), row.result) << row.type << " '" << row.text << "'";
    }
}

TEST(IndexTest, OrdersNumbersBeforeTypedValuesAndTypesByName) {
    // Ascending; every pair of rows is compared both ways.
    const std::vector<Index> ascending{
        Index(0u),
        Index(5u),
        Index(4294967295u),
        Index(IndexText("aged", "9")),
        Index(IndexText("pair", "1 1")),  // kept from before "pair" was known
        Index(IndexPair(0, 0)),
        Index(IndexPair(0, 9)),
        Index(IndexPair(1, 0)),
        Index(IndexString("")),
        Index(IndexString("B")),
        Index(IndexString("a")),
        Index(IndexString("\xc3\xa4")),
        Index(IndexText("unknown", "a")),
        Index(IndexText("unknown", "b")),
    };
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t k = 0; k < ascending.size(); ++k) {
            const Index& a = ascending[i];
            const Index& b = ascending[k];
            EXPECT_EQ(a < b, i < k) << i << ' ' << k;
            EXPECT_EQ(a == b, i == k) << i << ' ' << k;
            EXPECT_EQ(a != b, i != k) << i << ' ' << k;
            const bool sameNameOtherClass =
                (i == 4 && k >= 5 && k <= 7) || (k == 4 && i >= 5 && i <= 7);
            if (sameNameOtherClass) continue;
            EXPECT_EQ(a <= b, i <= k) << i << ' ' << k;
            EXPECT_EQ(a > b, i > k) << i << ' ' << k;
            EXPECT_EQ(a >= b, i >= k) << i << ' ' << k;
        }
    }
}

TEST(IndexTest, MeasuresDenseSpace) {
    const struct {
        Index from, to;
        unsigned int space;
    } rows[] = {
        {Index(3u), Index(3u), 1},
        {Index(2u), Index(9u), 8},
        {Index(9u), Index(2u), 8},
        {Index(0u), Index(4294967295u), 0},  // 2^32, modulo 2^32
        {IndexPair(1, 1), IndexPair(3, 4), 12},
        {IndexPair(3, 1), IndexPair(1, 4), 12},
        {IndexPair(0, 0), IndexPair(65535, 65535), 0},
        {Index(1u), IndexPair(1, 1), 0},
        {IndexPair(1, 1), Index(1u), 0},
        {IndexPair(1, 1), IndexString("a"), 0},
        {IndexString("a"), IndexString("a"), 0},
    };
    int row = 0;
    for (const auto& [from, to, space] : rows) {
        EXPECT_EQ(from.denseSpaceBetween(to), space) << "row " << row++;
    }
    EXPECT_TRUE(Index(1u).supportsDenseMode());
    EXPECT_TRUE(Index(IndexPair(1, 1)).supportsDenseMode());
    EXPECT_FALSE(Index(IndexString("a")).supportsDenseMode());
}

TEST(IndexTest, TypedIndexHasNoNumber) {
    Index index(7u);
    index = Index(IndexPair(3, 7));
    EXPECT_EQ(index.index(), 0u);
    EXPECT_EQ(static_cast<unsigned int>(index), 0u);
    EXPECT_EQ(index.asString(), "3 7");
    unsigned int first = 0;
    unsigned int second = 0;
    dynamic_cast<const IndexPair&>(*index.complexIndex()).getIndexPair(first, second);
    EXPECT_EQ(first * 10 + second, 37u);
    index = 5u;
    EXPECT_EQ(index.complexIndex(), nullptr);
    EXPECT_EQ(index.asString(), "5");
}

TEST(IndexTest, CopiesOwnTheirValueAndAssignedOnesKeepItAlive) {
    const auto before = IndexString::objectsAlive();
    {
        Index shared(1u);
        {
            Index original(IndexString("text"));
            shared = original;
            const Index copy(original);
            EXPECT_EQ(IndexString::objectsAlive(), before + 2);
        }
        EXPECT_EQ(shared.asString(), "text");
        EXPECT_EQ(IndexString::objectsAlive(), before + 1);
    }
    EXPECT_EQ(IndexString::objectsAlive(), before);
}

TEST(IndexTest, CountsItsObjects) {
    const auto created = Index::objectsCreated();
    const auto alive = Index::objectsAlive();
    {
        const Index number(1u);
        const Index text(std::string("2"));
        const Index pair(IndexPair(1, 2));
        const Index copy(pair);
        EXPECT_EQ(Index::objectsCreated(), created + 4);
        EXPECT_EQ(Index::objectsAlive(), alive + 4);
    }
    EXPECT_EQ(Index::objectsAlive(), alive);
    EXPECT_THROW(Index(std::string("x")), Index::eCreationErrors);
    EXPECT_EQ(Index::objectsAlive(), alive);
}

// What a plug-in would bring along.
class IndexLetter : public CRTP_IndexType<IndexLetter> {
  public:
    explicit IndexLetter(const std::string& text) : fLetter(text.empty() ? '?' : text[0]) {}
    using CRTP_IndexType<IndexLetter>::operator==;
    using CRTP_IndexType<IndexLetter>::operator!=;
    using CRTP_IndexType<IndexLetter>::operator<;
    using CRTP_IndexType<IndexLetter>::operator<=;
    using CRTP_IndexType<IndexLetter>::operator>;
    using CRTP_IndexType<IndexLetter>::operator>=;
    bool operator==(const IndexLetter& other) const { return fLetter == other.fLetter; }
    bool operator!=(const IndexLetter& other) const { return fLetter != other.fLetter; }
    bool operator<(const IndexLetter& other) const { return fLetter < other.fLetter; }
    bool operator<=(const IndexLetter& other) const { return fLetter <= other.fLetter; }
    bool operator>(const IndexLetter& other) const { return fLetter > other.fLetter; }
    bool operator>=(const IndexLetter& other) const { return fLetter >= other.fLetter; }
    [[nodiscard]] std::string asString() const override { return std::string(1, fLetter); }
    [[nodiscard]] bool supportsDenseMode() const override { return false; }
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType&) const override { return 0; }
    static const std::string myTypeName;

  private:
    char fLetter;
};
const std::string IndexLetter::myTypeName = "letter";

TEST(IndexTest, RegistersTypesWhileTheirRegistrationLives) {
    {
        const IndexType::IndexRegistration letters("letter", &IndexLetter::doCreate);
        EXPECT_TRUE(letters.registered());
        {
            const IndexType::IndexRegistration again("letter", &IndexString::doCreate);
            EXPECT_FALSE(again.registered());
        }
        EXPECT_EQ(made("letter", "xyz"), "letter:x");
        EXPECT_LT(Index(IndexLetter("z")), Index(IndexPair(0, 0)));
    }
    EXPECT_EQ(made("letter", "xyz"), "error 0");
}

TEST(IndexTest, NullCreatorIsAnUnknownName) {
    const IndexType::IndexRegistration registration("null", nullptr);
    EXPECT_EQ(Index::creator("null"), nullptr);
    EXPECT_EQ(made("null", "1"), "error 0");
    EXPECT_TRUE(IndexTypes::maker("null").isNull());
    EXPECT_THROW(static_cast<void>(IndexTypes::maker("null")("1")), Index::eCreationErrors);
}

TEST(IndexTest, KeepsUnknownTypesAsTextOnRequest) {
    EXPECT_THROW(IndexTypes::maker("foreign"), Index::eCreationErrors);
    {
        const IndexTypes::KeepUnknown outer;
        { const IndexTypes::KeepUnknown inner; }
        Index index = IndexTypes::maker("foreign")(" 1/2 ");
        EXPECT_EQ(index.typeName() + ':' + index.asString(), "foreign: 1/2 ");
        EXPECT_EQ(Index(index), index);
        EXPECT_EQ(IndexTypes::maker("pair")("1 2"), Index(IndexPair(1, 2)));
    }
    EXPECT_THROW(IndexTypes::maker("foreign"), Index::eCreationErrors);
}

TEST(IndexTest, Dumps) {
    std::ostringstream out;
    Debug::Print print(out);
    const Index number(1234567u);
    const Index typed(IndexPair(1, 2));
    const IndexPair pair(3, 7);
    const IndexString text("a b");
    EXPECT_TRUE(Index::Debug(&number, print));
    EXPECT_TRUE(Index::Debug(&typed, print));
    EXPECT_TRUE(Index::Debug(nullptr, print));
    out << '|';
    // Through the base, as a visitor without knowledge of the types would.
    const Debug::CRTP_Debug<IndexPair, Debug::Print>& base = pair;
    EXPECT_TRUE(base.debug(print));
    out << '|';
    EXPECT_TRUE(IndexString::Debug(&text, print));
    EXPECT_EQ(out.str(), "1234567|3,7|a b");

    Debug::Footprint footprint;
    EXPECT_TRUE(Index::Debug(&number, footprint));
    EXPECT_TRUE(Index::Debug(nullptr, footprint));
    EXPECT_EQ(footprint.totalSize(), sizeof(Index));
}

}  // namespace

}  // namespace orbo::Data
