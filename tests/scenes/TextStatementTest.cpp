// Metadata statements taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/EscapedText.h"
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

// What the end of a statement tells of its node, if it tells anything, is what `parse` finds.
void expectNodeAtEnd(const std::string& statement) {
    const char* message = nullptr;
    const auto record = TextStatement::parse(Kind::kAssociations, statement, message);
    for (std::size_t size = 0; record && size <= statement.size(); ++size) {
        const auto node = TextStatement::nodeAtEnd(statement.substr(statement.size() - size));
        EXPECT_EQ(node.value_or(record->name), record->name) << statement << size;
    }
}

TEST(TextStatement, Parses) {
    for (const auto& row : rowsOf("scenes/data/statements.txt")) {
        EXPECT_EQ(parsed(row.at(0)), row.at(1)) << row[0];
        if (TextStatement::kindOf(row[0]) == Kind::kAssociations) expectNodeAtEnd(row[0]);
    }
    EXPECT_EQ(TextStatement::nodeAtEnd("endChannel\\n\" \n\t\t|a|b;\n"), "|a|b");
    EXPECT_EQ(TextStatement::nodeAtEnd("\" -scn ;"), "");
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

// What stands between the outer quotes of a statement, looked at character by character.
std::string expected(Kind kind, const std::string& value) {
    bool quoted = true, endsEarly = false;
    for (std::size_t at = 0; at < value.size(); ++at) {
        const char c = value[at], next = at + 1 < value.size() ? value[at + 1] : '\0';
        const bool closes = kind == Kind::kAssociations || next == ';' || next == ' ';
        if (quoted && c == '\\') {
            ++at;
        } else if (c == '"') {
            quoted = !quoted || !closes;
            endsEarly = endsEarly || !quoted;
        } else if (c == ';' && !quoted) {
            return "several";
        }
    }
    return endsEarly ? "more" : "plain";
}

TEST(TextStatement, FindsWhereTextEndsEarly) {
    std::mt19937 random(2);
    for (int round = 0; round < 20000; ++round) {
        const Kind kind = round % 2 == 0 ? Kind::kStructure : Kind::kAssociations;
        // Short and full of quotes, or long with backslashes in rows.
        const bool isLong = round % 4 < 2;
        const std::string alphabet = isLong ? "\\\\\\\\ab" : "\\\"; abcdefghijk";
        std::string value(random() % (isLong ? 300 : 30), '\0');
        for (char& c : value) {
            c = isLong && random() % 100 == 0 ? '"' : alphabet[random() % alphabet.size()];
        }
        const std::string statement = kind == Kind::kStructure
                                          ? "dataStructure -fmt \"raw\" -as \"" + value + "\";"
                                          : "applyMetadata -fmt \"raw\" -v \"" + value + "\" n;";
        const char* message = nullptr;
        const auto record = TextStatement::parse(kind, statement, message);
        const std::string found = !record ? "several" : record->plain ? "plain" : "more";
        ASSERT_EQ(found, expected(kind, value)) << statement;
    }
}

TEST(TextStatement, UnescapesWhatItEscapesWhereverItStands) {
    std::mt19937 random(1);
    const std::string alphabet =
        "\\\\\"\"\n\a\x01\x7f"
        "7nabcdefghijklmn\xc3";
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % (round % 2 == 0 ? 40 : 400), '\0');
        for (char& c : text) c = alphabet[random() % alphabet.size()];
        const std::size_t front = random() % 20;
        std::string escaped(front, '\\');
        TextStatement::appendEscaped(escaped, text);
        TextStatement::unescape(escaped, front);
        ASSERT_EQ(escaped, text);
    }
}

std::string unescaped(std::string text) {
    TextStatement::unescape(text);
    return text;
}

// Whether the two parts of an escaped text mean the same when something is put between them.
bool canBeCut(const std::string& escaped, std::size_t place, const std::string& text,
              std::size_t offset) {
    const std::string front = escaped.substr(0, place);
    return unescaped(front + "7") == text.substr(0, offset) + "7" &&
           unescaped(escaped.substr(place)) == text.substr(offset);
}

TEST(TextStatement, FindsCharactersInEscapedText) {
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        const std::string alphabet = round % 2 == 0 ? "\\\\\\n\"ab17" : "\\abcdefghijklmnopqrstuvw";
        std::string escaped(random() % 300, '\0');
        for (char& c : escaped) c = alphabet[random() % alphabet.size()];
        const std::string text = unescaped(escaped);
        TextStatement::EscapedText walk(escaped);
        for (std::size_t offset = 0; offset < text.size() + 2; offset += random() % 100) {
            const bool found = walk.goTo(offset);
            if (found) {
                ASSERT_TRUE(canBeCut(escaped, walk.place(), text, offset)) << escaped << offset;
            } else if (offset <= text.size()) {
                for (std::size_t place = 0; place <= escaped.size(); ++place)
                    ASSERT_FALSE(canBeCut(escaped, place, text, offset)) << escaped << offset;
            }
        }
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
