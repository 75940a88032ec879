// Indices: parsing, order, dense space, and the registry of types.
// SPDX-License-Identifier: Apache-2.0

#include <data/Index.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>
#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "streams/IndexTypes.h"
#include "support/Cases.h"

namespace orbo::Data {

namespace {

// "type:text" of an index, or "error N".
std::string shown(const std::variant<Index, Index::eCreationErrors>& made) {
    if (const auto* const index = std::get_if<Index>(&made))
        return index->typeName() + ':' + index->asString();
    return "error " + std::to_string(std::get<Index::eCreationErrors>(made));
}

// Readers make indices as programs do.
std::string made(const std::string& type, const std::string& text) {
    std::variant<Index, Index::eCreationErrors> byProgram;
    try {
        byProgram = Index::doCreate(type, text);
    } catch (Index::eCreationErrors error) {
        byProgram = error;
    }
    try {
        const auto byReader = IndexTypes::maker(type).make(text);
        EXPECT_EQ(byReader, byProgram) << shown(byReader);
    } catch (Index::eCreationErrors error) {
        EXPECT_EQ(shown(error), shown(byProgram));
    }
    return shown(byProgram);
}

TEST(IndexTest, CreatesFromText) {
    for (const auto& row : rowsOf("streams/data/indices.txt"))
        EXPECT_EQ(made(row.at(0), row.at(1)), row.at(2)) << row[0] << " '" << row[1] << "'";
}

TEST(IndexTest, OrdersNumbersBeforeTypedValuesAndTypesByName) {
    // Ascending; every pair of rows is compared both ways.
    const std::vector<Index> ascending{
        Index(0u), Index(4294967295u), Index(IndexText("aged", "9")),
        // kept from before "pair" was known
        Index(IndexText("pair", "1 1")), Index(IndexPair(0, 9)), Index(IndexPair(1, 0)),
        Index(IndexString("B")), Index(IndexString("a")), Index(IndexString("\xc3\xa4")),
        Index(IndexText("unknown", "a")), Index(IndexText("unknown", "b"))};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t k = 0; k < ascending.size(); ++k) {
            SCOPED_TRACE(std::to_string(i) + ' ' + std::to_string(k));
            const Index& a = ascending[i];
            const Index& b = ascending[k];
            EXPECT_TRUE((a < b) == (i < k) && (a == b) == (i == k) && (a != b) == (i != k));
            const bool sameNameOtherClass = a.typeName() == b.typeName() && (i == 3 || k == 3);
            if (sameNameOtherClass && i != k) continue;
            EXPECT_TRUE((a <= b) == (i <= k) && (a > b) == (i > k) && (a >= b) == (i >= k));
        }
    }
}

TEST(IndexTest, TextsOfAnyLengthAreTheIndexesOwn) {
    for (const std::size_t length : {0, 8, 25, 4000}) {
        const std::string text(length, 'x');
        const Index made = Index::doCreate("string", text);
        IndexString value("before");
        value = text;
        const IndexString copy(value);
        const Index index{copy};
        const IndexString& same = value;
        value = same;
        value = std::string("other");
        EXPECT_TRUE(index == made && Index(made) == index && value < IndexString("p")) << length;
        EXPECT_EQ(copy.indexString() + index.asString() + made.asString(), text + text + text);
        *static_cast<IndexString*>(Index(made).complexIndex()) = std::string("changed alone");
        EXPECT_EQ(made.asString(), text);
    }
}

TEST(IndexTest, MeasuresDenseSpace) {
    const Index pair(IndexPair(3, 1));
    const Index text(IndexString("a"));
    EXPECT_EQ(Index(2u).denseSpaceBetween(9u), 8u);
    EXPECT_EQ(Index(9u).denseSpaceBetween(2u), 8u);
    EXPECT_EQ(Index(0u).denseSpaceBetween(~0u), 0u) << "2^32, modulo 2^32";
    EXPECT_EQ(pair.denseSpaceBetween(IndexPair(1, 4)), 12u);
    EXPECT_EQ(pair.denseSpaceBetween(text) + Index(1u).denseSpaceBetween(pair), 0u);
    EXPECT_TRUE(pair.supportsDenseMode() && !text.supportsDenseMode());
}

TEST(IndexTest, KnowsTypesWhileTheyAreRegisteredAndKeepsOthersAsTextOnRequest) {
    {
        const IndexType::IndexRegistration first("alias", &IndexString::doCreate);
        EXPECT_TRUE(first.registered());
        EXPECT_FALSE(IndexType::IndexRegistration("alias", nullptr).registered());
        EXPECT_EQ(made("alias", "x"), "string:x");
    }
    EXPECT_EQ(made("alias", "x"), "error 0");
    const IndexType::IndexRegistration null("null", nullptr);
    EXPECT_TRUE(IndexTypes::maker("null").isNull());
    EXPECT_EQ(made("null", "1"), "error 0");
    EXPECT_THROW(static_cast<void>(Index::doCreate("null", "1")), Index::eCreationErrors);
    {
        const auto asText = IndexTypes::Unknown::kAsText;
        EXPECT_EQ(std::get<Index>(IndexTypes::maker("foreign", asText).make(" 1/2 ")),
                  Index(IndexText("foreign", " 1/2 ")));
        EXPECT_EQ(std::get<Index>(IndexTypes::maker("pair", asText).make("1 2")),
                  Index(IndexPair(1, 2)));
    }
    EXPECT_EQ(made("foreign", "1"), "error 0");
}

}  // namespace

}  // namespace orbo::Data
