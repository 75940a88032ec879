// Where the statements of a scene lie, and what finding them costs.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextSceneScanner.h"

#include <gtest/gtest.h>

#include "accessors/SceneTest.h"
#include "files/MemoryFile.h"

namespace orbo::Data {
namespace {

using Result = TextSceneScanner::Result;

// The statements from first to last as "[text]", unclosed ones as "[text...", line feeds as "|".
std::string found(const std::string& text) {
    Files::MemoryFile file(text);
    TextSceneScanner scanner(file, 0, text.size());
    std::string all;
    Result result = scanner.findTrailer();
    while (result == Result::kDone || result == Result::kTrailer || result == Result::kStatement) {
        TextStatementRange range;
        result = scanner.next(range);
        if (result == Result::kDone) break;
        if (result == Result::kTrailer) all.clear();
        if (result != Result::kStatement) continue;
        const auto bytes = text.substr(range.begin, range.end - range.begin);
        all = "[" + bytes + (range.closed ? "]" : "...") + all;
    }
    for (char& c : all) c = c == '\n' ? '|' : c;
    return all;
}

TEST(TextSceneScanner, FindsStatements) {
    const std::string s = "dataStructure S;\n";
    const std::string m = "applyMetadata M \n\t\tnode;\n";
    struct Row {
        const char* name;
        std::string text;
        const char* found;
    };
    const Row rows[] = {
        {"plain", kHeader + "select x;\n" + s + m + "// End of\n",
         "[dataStructure S;|][applyMetadata M |\t\tnode;|]"},
        {"directly behind the header", kHeader + s + "// End of\n", "[dataStructure S;|]"},
        {"behind an open scene statement", kHeader + "foo\n" + s + "// End of\n",
         "[dataStructure S;|]"},
        {"none", kHeader + "select x;\n// End of\n", ""},
        {"not in column 0", kHeader + " " + s + "// End of\n", ""},
        {"no trailer, no last line feed", kHeader + s + "dataStructure T;",
         "[dataStructure S;|][dataStructure T;]"},
        {"behind the trailer", kHeader + s + "// End of\n" + m, "[dataStructure S;|]"},
        {"last of two trailers", kHeader + s + "// End of\n" + m + "// End of\n",
         "[dataStructure S;|][applyMetadata M |\t\tnode;|]"},
        {"far from its trailer's end", kHeader + s + "// End of\n" + m + std::string(70000, '\n'),
         "[dataStructure S;|]"},
        {"comments and blank lines", kHeader + s + "// x;\n\n" + "applyMetadata\n\n// ;\nM;\n",
         "[dataStructure S;|][applyMetadata||// ;|M;|]"},
        {"unclosed", kHeader + "dataStructure S\n" + m + "dataStructure T\nx\n// End of\n",
         "[dataStructure S|...[applyMetadata M |\t\tnode;|][dataStructure T|x|..."},
        {"runs over a command", kHeader + "dataStructure S\nselect -ne x;\n" + s,
         "[dataStructure S|select -ne x;|][dataStructure S;|]"},
        {"closed by a name like a command", kHeader + "applyMetadata M\nselection;\n",
         "[applyMetadata M|selection;|]"},
        {"a command ends the scan", kHeader + s + "connectAttr a b;\n" + m,
         "[applyMetadata M |\t\tnode;|]"},
        {"only where a statement begins", kHeader + s + "x\nselect a;\n" + m,
         "[dataStructure S;|][applyMetadata M |\t\tnode;|]"},
        {"over comments and blank lines", kHeader + s + "// x\n \nsetAttr a;\n" + m,
         "[applyMetadata M |\t\tnode;|]"},
        {"other statements do not", kHeader + s + "\tsetAttr a;\nrequires b;\n" + m,
         "[dataStructure S;|][applyMetadata M |\t\tnode;|]"},
    };
    for (const Row& row : rows) EXPECT_EQ(found(row.text), row.found) << row.name;
}

class ScanCost : public SceneTest {};

// The scene's last statement is read, by its length, to know that it is no metadata.
TEST_F(ScanCost, LongLastStatementCostsItsLengthAndNoMemory) {
    std::string last = "setAttr \".x\" -type \"doubleArray\"\n";
    for (int line = 0; line < 1'000'000; ++line) last += "\t0 1 2\n";
    file() = kHeader + std::string(1'000'000, '\n') + "createNode a;\n" + last + ";\n" + kTrailer;
    ASSERT_TRUE(read());
    const std::uint64_t fixed = 3 * Files::BackwardLineReader::kBlockSize;
    EXPECT_LE(fSystem.bytesRead, last.size() + fixed);
    EXPECT_LE(fSystem.largestRead, Files::BackwardLineReader::kBlockSize);

    fSystem.bytesRead = 0;
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_LE(fSystem.bytesRead, last.size() + fixed);
    EXPECT_LE(fSystem.largestRead, Files::BackwardLineReader::kBlockSize);
}

TEST_F(ScanCost, StopsAtTheSceneAndOnceEverythingIsFound) {
    const std::string filler = "// " + std::string(500'000, 'x') + "\n";
    const std::string a = structureStatement("name=A:int32=x");
    const std::string b = structureStatement("name=B:int32=x");
    file() = kHeader + filler + "createNode a;\nselect a;\n" + a + filler + b + kTrailer;
    ASSERT_TRUE(read());
    EXPECT_EQ(model(), "A B |");
    EXPECT_LT(fSystem.bytesRead, 700'000U) << "one filler";

    fSystem.bytesRead = 0;
    const Names onlyB = {"B"};
    const Names none;
    ASSERT_TRUE(read(&onlyB, &none));
    EXPECT_EQ(model(), "B |");
    EXPECT_LT(fSystem.bytesRead, 200'000U) << "no filler";
}

}  // namespace
}  // namespace orbo::Data
