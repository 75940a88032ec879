// Metadata statements taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextStatement.h"

#include <gtest/gtest.h>

#include <random>

#include "support/Cases.h"

namespace orbo::Data {
namespace {

using Kind = SceneRecord::Kind;

std::string parsed(const std::string& statement) {
    const auto kind = TextStatement::kindOf(statement);
    if (!kind) return "none";
    const char* message = nullptr;
    const auto record = TextStatement::parse(*kind, statement, message);
    if (!record) return message;
    const std::string all = record->format + "|" + record->name + "|" + record->text;
    return record->plain ? all : "more: " + all;
}

TEST(TextStatement, Parses) {
    for (const auto& row : rowsOf("scenes/data/statements.txt"))
        EXPECT_EQ(parsed(row.at(0)), row.at(1)) << row[0];
    std::string out;
    TextStatement::append(out, {Kind::kStructure, "raw", "A", "name=A\n\\:int32=\"x\""});
    EXPECT_EQ(out, "dataStructure -fmt \"raw\" -as \"name=A\\n\\\\:int32=\"x\"\";\n");
}

TEST(TextStatement, EscapesAndUnescapesBytes) {
    for (const auto& row : rowsOf("scenes/data/escapes.txt")) {
        std::string text = row.at(0);
        TextStatement::unescape(text);
        EXPECT_EQ(text, row.at(1)) << row[0];
        std::string escaped;
        TextStatement::appendEscaped(escaped, text);
        EXPECT_EQ(escaped, row.size() == 3 ? row[2] : row[0]);
    }
}

TEST(TextStatement, UnescapesWhatItEscapesWhereverItStands) {
    std::mt19937 random(1);
    const std::string alphabet =
        "\\\\\"\"\n\a\x01\x7f"
        "7nabcdefghijklmn\xc3";
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 40, '\0');
        for (char& c : text) c = alphabet[random() % alphabet.size()];
        const std::size_t front = random() % 20;
        std::string escaped(front, '\\');
        TextStatement::appendEscaped(escaped, text);
        TextStatement::unescape(escaped, front);
        ASSERT_EQ(escaped, text);
    }
}

TEST(TextStatement, KnowsWhichNamesItCarries) {
    for (const char* good : {"", "|a|b", "ns:n", "a//b", "-x", "\xc3\xa4", "a\\b", "a\x7f"})
        EXPECT_TRUE(TextStatement::canBeTarget(good)) << good;
    for (const char* bad : {" ", "a b", "a\tb", "a\nb", "a;", "\"a", "-scn", "//a"})
        EXPECT_FALSE(TextStatement::canBeTarget(bad)) << bad;
}

}  // namespace
}  // namespace orbo::Data
