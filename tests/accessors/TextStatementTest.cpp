// Metadata statements taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextStatement.h"

#include <gtest/gtest.h>

#include <random>

namespace orbo::Data {
namespace {

using Kind = SceneRecord::Kind;

std::string unescaped(std::string text) {
    TextStatement::unescape(text);
    return text;
}

std::string escaped(std::string_view text) {
    std::string out;
    TextStatement::appendEscaped(out, text);
    return out;
}

std::string parsed(const std::string& statement) {
    const auto kind = TextStatement::kindOf(statement);
    if (!kind) return "none";
    const char* message = nullptr;
    const auto record = TextStatement::parse(*kind, statement, message);
    if (!record) return message;
    return record->format + "|" + record->name + "|" + record->text;
}

struct Row {
    const char* statement;
    const char* expected;
};

const char* const kBadStructure = "Error tokenizing format/value for structure.";
const char* const kBadAssociations = "Error tokenizing format/value for associations.";

TEST(TextStatement, Parses) {
    const Row rows[] = {
        {"dataStructure -fmt \"raw\" -as \"name=A:int32=x\";\n", "raw||name=A:int32=x"},
        {"dataStructure -fmt \"raw\" -as \"a\\nb\\\\n\" ; \t\r\n", "raw||a\nb\\n"},
        {"dataStructure\n-fmt \"raw\"  \r\n\n// note\n  -as\n\"a\n b\"\n;", "raw||a  b"},
        {"dataStructure \"odd\"\"\";", "odd||"},
        {"dataStructure -fmt \"raw\" -as \"a\"b\"\"c\";", "raw||a\"b\"\"c"},
        {"dataStructure -fmt \"raw\" -as \"a\\\";", "raw||a\\"},
        {"applyMetadata -fmt \"raw\" -v \"t\" \n\t\tnode1;\n", "raw|node1|t"},
        {"applyMetadata -fmt \"raw\" -v \"t\" -scn;", "raw||t"},
        {"applyMetadata -fmt \"raw\" -v \"a;\\\"b\\\";\\nc\" ns:n[1];", "raw|ns:n[1]|a;\"b\";\nc"},
        {"applyMetadata -fmt \"\" -v \"\" n;", "|n|"},
        {"setAttr \".x\" 1;", "none"},
        {" dataStructure -fmt \"raw\" -as \"a\";", "none"},
    };
    for (const Row& row : rows) EXPECT_EQ(parsed(row.statement), row.expected) << row.statement;
}

// Whatever is more or less than the two forms could be lost by writing it back.
TEST(TextStatement, UnderstandsNothingElse) {
    const Row rows[] = {
        {"dataStructure;", kBadStructure},
        {"dataStructure -fmt;", kBadStructure},
        {"dataStructure -fmt \";", kBadStructure},
        {"dataStructure -fmt \"raw;", kBadStructure},
        {"dataStructure -fmt \"raw\";", kBadStructure},
        {"dataStructure -fmt \"raw\" -as;", kBadStructure},
        {"dataStructure -fmt \"raw\" -as \";", kBadStructure},
        {"dataStructure -fmt \"raw\" -as \"a;", kBadStructure},
        {"dataStructure -fmt \"raw\" -as \"a\"", kBadStructure},
        {"dataStructure -fmt \"raw\" -as \"a\" -lock;", kBadStructure},
        {"dataStructure -lock -fmt \"raw\" -as \"a\";", kBadStructure},
        {"dataStructure -fmt \"raw\" on -as \"a\";", kBadStructure},
        {"dataStructureX -fmt \"raw\" -as \"a\";", kBadStructure},
        {"dataStructure -fmt \"raw\" -as \"a\"; select -ne \"b\";", kBadStructure},
        {"dataStructure -fmt \"raw\" -as \"a\"; // note;", kBadStructure},
        {"dataStructure -fmt \"raw\" -as \"a\"\nselect -ne \"b\";", kBadStructure},
        {"applyMetadata -fmt \"raw\" -v \"t\";", "Could not find Associations name."},
        {"applyMetadata -fmt \"raw\" -scn -v \"t\" ;", kBadAssociations},
        {"applyMetadata -fmt \"raw\" -v \"t\" -ed n;", kBadAssociations},
        {"applyMetadata -fmt \"raw\" -v \"t\" n; m;", kBadAssociations},
        {"applyMetadata -fmt \"raw\" -v \"t\" n;m;", kBadAssociations},
        {"applyMetadata -fmt \"raw\" -v \"t\" n; setAttr \"x\" m;", kBadAssociations},
        {"applyMetadata -fmt \"raw\" -v \"t n;", kBadAssociations},
    };
    for (const Row& row : rows) EXPECT_EQ(parsed(row.statement), row.expected) << row.statement;
}

TEST(TextStatement, WritesTheTwoForms) {
    std::string out;
    TextStatement::append(out, {Kind::kStructure, "raw", "A", "name=A\n\\:int32=\"x\""});
    TextStatement::append(out, {Kind::kAssociations, "raw", "node1", "say \"a\\b\"\n"});
    TextStatement::append(out, {Kind::kAssociations, "raw", "", ""});
    EXPECT_EQ(out,
              "dataStructure -fmt \"raw\" -as \"name=A\\n\\\\:int32=\"x\"\";\n"
              "applyMetadata -fmt \"raw\" -v \"say \\\"a\\\\b\\\"\\n\" \n\t\tnode1;\n"
              "applyMetadata -fmt \"raw\" -v \"\" \n\t\t-scn;\n");
}

TEST(TextStatement, EscapesBytes) {
    const Row rows[] = {
        {"plain \x80\xff", "plain \x80\xff"},
        {"\a\b\t\n\v\f\r", "\\a\\b\\t\\n\\v\\f\\r"},
        {"\x01\x06\x0e\x1f", "\\001\\006\\016\\037"},
        {"\x7f", "\\177"},
        {"\"\\", "\\\"\\\\"},
    };
    for (const Row& row : rows) EXPECT_EQ(escaped(row.statement), row.expected);
    EXPECT_EQ(escaped(std::string_view("\0", 1)), "\\000");
}

TEST(TextStatement, UnescapesBytes) {
    const Row rows[] = {
        {"\\a\\b\\t\\n\\v\\f\\r", "\a\b\t\n\v\f\r"},
        {"\\\\n", "\\n"},
        {"\\q\\\"\\8\\9", "q\"89"},
        {"\\1\\12\\1234\\777",
         "\1\12\123"
         "4\xff"},
        {"\\418", "!8"},
        {"end\\", "end\\"},
        {"\\\\", "\\"},
    };
    for (const Row& row : rows) EXPECT_EQ(unescaped(row.statement), row.expected) << row.statement;
}

TEST(TextStatement, ReadsBackEveryRecordItWrites) {
    std::mt19937 random(22);
    for (int round = 0; round < 2000; ++round) {
        SceneRecord record{round % 2 == 0 ? Kind::kAssociations : Kind::kStructure, "raw", "", ""};
        if (round % 4 == 0) record.name = "node" + std::to_string(round);
        for (auto left = random() % 40; left > 0; --left) {
            const char odd[] = {'\\', '\n', ';', ' ', '/', 'n', '0', static_cast<char>(random())};
            const char c = odd[random() % sizeof odd];
            record.text += c == '"' && record.kind == Kind::kStructure ? 'q' : c;
        }
        std::string statement;
        TextStatement::append(statement, record);
        ASSERT_EQ(parsed(statement), "raw|" + record.name + "|" + record.text) << statement;
    }
}

TEST(TextStatement, KnowsWhichNamesItCarries) {
    for (const char* good :
         {"", "node1", "|a|b", "ns:n", "a//b", "-x", "\xc3\xa4", "a\\b", "a\x7f"}) {
        EXPECT_TRUE(TextStatement::canBeTarget(good)) << good;
    }
    for (const char* bad : {" ", "a b", "a\tb", "a\nb", "a;", "\"a", "-scn", "//a"}) {
        EXPECT_FALSE(TextStatement::canBeTarget(bad)) << bad;
    }
}

}  // namespace
}  // namespace orbo::Data
