// Metadata statements taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextStatement.h"

#include <gtest/gtest.h>

#include <random>

namespace orbo::Data {
namespace {

using Kind = SceneRecord::Kind;
using Rows = std::initializer_list<std::pair<std::string, std::string>>;

std::string parsed(const std::string& statement) {
    const auto kind = TextStatement::kindOf(statement);
    if (!kind) return "none";
    const char* message = nullptr;
    const auto record = TextStatement::parse(*kind, statement, message);
    if (!record) return message;
    return record->format + "|" + record->name + "|" + record->text;
}

TEST(TextStatement, Parses) {
    for (const auto& [statement, expected] :
         Rows{{"dataStructure -fmt \"raw\" -as \"a\\nb\\\\n\" ; \t\r\n", "raw||a\nb\\n"},
              {"dataStructure\n-fmt \"raw\"  \r\n\n// note\n  -as\n\"a\n b\"\n;", "raw||a  b"},
              {"dataStructure \"odd\"\"\";", "odd||"},
              {"dataStructure -fmt \"raw\" -as \"a\"b\"\"c\";", "raw||a\"b\"\"c"},
              {"dataStructure -fmt \"raw\" -as \"a\\\";", "raw||a\\"},
              {"applyMetadata -fmt \"\" -v \"a;\\\"b\\\";\\nc\" ns:n[1];", "|ns:n[1]|a;\"b\";\nc"},
              {"applyMetadata -fmt \"raw\" -v \"t\";", "Could not find Associations name."},
              {"setAttr \".x\" 1;", "none"},
              {" dataStructure -fmt \"raw\" -as \"a\";", "none"}})
        EXPECT_EQ(parsed(statement), expected) << statement;
    std::string out;
    TextStatement::append(out, {Kind::kStructure, "raw", "A", "name=A\n\\:int32=\"x\""});
    EXPECT_EQ(out, "dataStructure -fmt \"raw\" -as \"name=A\\n\\\\:int32=\"x\"\";\n");
}

// Whatever is more or less than the two forms could be lost by writing it back.
TEST(TextStatement, UnderstandsNothingElse) {
    for (const std::string end :
         {";", " -fmt;", " -fmt \";", " -fmt \"raw;", " -fmt \"raw\";", " -fmt \"raw\" -as;",
          " -fmt \"raw\" -as \";", " -fmt \"raw\" -as \"a;", " -fmt \"raw\" -as \"a\"",
          " -fmt \"raw\" -as \"a\" -lock;", " -lock -fmt \"raw\" -as \"a\";",
          " -fmt \"raw\" on -as \"a\";", "X -fmt \"raw\" -as \"a\";",
          " -fmt \"raw\" -as \"a\"; select -ne \"b\";", " -fmt \"raw\" -as \"a\"; // note;",
          " -fmt \"raw\" -as \"a\"\nselect -ne \"b\";"})
        EXPECT_EQ(parsed("dataStructure" + end), "Error tokenizing format/value for structure.")
            << end;
    for (const std::string end : {"-scn -v \"t\" ;", "-v \"t\" -ed n;", "-v \"t\" n; m;",
                                  "-v \"t\" n;m;", "-v \"t\" n; setAttr \"x\" m;", "-v \"t n;"})
        EXPECT_EQ(parsed("applyMetadata -fmt \"raw\" " + end),
                  "Error tokenizing format/value for associations.")
            << end;
}

TEST(TextStatement, EscapesAndUnescapesBytes) {
    for (const auto& [bytes, expected] : Rows{{"plain \x80\xff", "plain \x80\xff"},
                                              {"\a\b\t\n\v\f\r", "\\a\\b\\t\\n\\v\\f\\r"},
                                              {"\x01\x06\x0e\x1f\x7f", "\\001\\006\\016\\037\\177"},
                                              {std::string("\"\\\0", 3), "\\\"\\\\\\000"}}) {
        std::string text;
        TextStatement::appendEscaped(text, bytes);
        EXPECT_EQ(text, expected);
        TextStatement::unescape(text);
        EXPECT_EQ(text, bytes);
    }
    for (auto [text, expected] : Rows{{"\\\\n", "\\n"},
                                      {"\\q\\\"\\8\\9", "q\"89"},
                                      {"\\1\\12\\1234\\777", "\1\12S4\xff"},
                                      {"\\418", "!8"},
                                      {"end\\", "end\\"}}) {
        TextStatement::unescape(text);
        EXPECT_EQ(text, expected);
    }
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
    for (const char* good : {"", "|a|b", "ns:n", "a//b", "-x", "\xc3\xa4", "a\\b", "a\x7f"})
        EXPECT_TRUE(TextStatement::canBeTarget(good)) << good;
    for (const char* bad : {" ", "a b", "a\tb", "a\nb", "a;", "\"a", "-scn", "//a"})
        EXPECT_FALSE(TextStatement::canBeTarget(bad)) << bad;
}

}  // namespace
}  // namespace orbo::Data
