// What must hold for every text scene: nothing that was not understood, or not asked for, is lost.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/Structure.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>

namespace orbo::Data {
namespace {

using Names = std::set<std::string>;

const std::string kHeader = "//Quil ASCII 2016 scene\n";
const std::string kScene =
    "createNode transform -n \"a\";\n\tsetAttr \".t\" 1 ;\nselect -ne :time1;\n";
const std::string kTrailer = "// End of scene.kx\n";
const std::string kTag = "dataStructure -fmt \"raw\" -as \"name=Tag:int32=id\";\n";
const std::string kLabel = "dataStructure -fmt \"raw\" -as \"name=Label:string=text\";\n";

std::string textOf(const std::string& structure, const std::string& values) {
    return "channel\\nname c\\nstream\\nname s\\nindexType numeric\\nstructure " + structure +
           "\\n0\\n" + values + "\\nendStream\\nendChannel\\nendAssociations\\n";
}

std::string applyTo(const std::string& node, const std::string& text) {
    return "applyMetadata -fmt \"raw\" -v \"" + text + "\" \n\t\t" + node + ";\n";
}

class TextSceneLaws : public testing::Test {
  protected:
    TextSceneLaws() : fPath(testing::TempDir() + "scene" + std::to_string(getpid()) + ".kx") {}
    ~TextSceneLaws() override { std::filesystem::remove(fPath); }

    void save(const std::string& bytes) const { std::ofstream(fPath, std::ios::binary) << bytes; }
    [[nodiscard]] std::string saved() const {
        std::ostringstream bytes;
        bytes << std::ifstream(fPath, std::ios::binary).rdbuf();
        return bytes.str();
    }

    std::unique_ptr<Accessor> read(const Names* structures = nullptr,
                                   const Names* associations = nullptr) {
        auto accessor = Accessor::accessorByExtension(fPath);
        fMessages.clear();
        EXPECT_TRUE(accessor->read(fPath, structures, associations, fMessages)) << fMessages;
        accessor->setWritePolicy(WritePolicy::careful());
        return accessor;
    }
    void write(const Accessor& accessor) {
        std::string errors;
        EXPECT_TRUE(accessor.write(errors)) << errors;
    }
    static void setId(Accessor& accessor, const std::string& node, int id) {
        Stream* stream = accessor.associations().at(node).findChannel("c")->findDataStream("s");
        Handle element = stream->element(0);
        *element.asInt32() = id;
    }

    // Reads, edits, writes, and writes once more, which must change nothing.
    template <typename Edit>
    std::string rewritten(const std::string& bytes, Edit edit) {
        save(bytes);
        const auto accessor = read();
        edit(*accessor);
        write(*accessor);
        const std::string once = saved();
        write(*accessor);
        EXPECT_EQ(saved(), once) << "writing twice";
        write(*read());
        EXPECT_EQ(saved(), once) << "reading and writing again";
        return once;
    }
    std::string rewritten(const std::string& bytes) {
        return rewritten(bytes, [](Accessor&) {});
    }

    std::string fPath;
    std::string fMessages;
};

TEST_F(TextSceneLaws, AnUneditedSceneStaysAsItIs) {
    const std::string block = kLabel + kTag + applyTo("a", textOf("Tag", "7")) +
                              applyTo("-scn", textOf("Label", R"(\"semi; \\\"q\\\" \\\\ x\")"));
    for (const std::string& bytes :
         {kHeader + kScene + block + kTrailer, kHeader + block + kTrailer,
          kHeader + kScene + block + kTrailer + "select -ne x;\n" + kTag + "no end",
          kHeader + "\tunfinished \"command\n" + block + kTrailer,
          "//Quil ASCII 2016 scene\r\nselect -ne a;\r\n" + block + kTrailer}) {
        EXPECT_EQ(rewritten(bytes), bytes);
    }
    // Without its trailer a scene may have lost its end: it is read, but not written.
    save(kHeader + kScene + block);
    std::string errors;
    EXPECT_FALSE(read()->write(errors));
    EXPECT_EQ(errors, "Failed reading line while searching metadata end.");
    EXPECT_EQ(saved(), kHeader + kScene + block);
}

TEST_F(TextSceneLaws, EditAndUndoGiveTheOriginal) {
    const std::string block = kTag + applyTo("a", textOf("Tag", "7"));
    const std::string bytes = kHeader + kScene + block + kTrailer;
    const std::string edited =
        rewritten(bytes, [](Accessor& accessor) { setId(accessor, "a", 123456789); });
    EXPECT_NE(edited.find("\\n0\\n123456789\\n"), std::string::npos);
    EXPECT_EQ(edited.substr(0, edited.find("dataStructure")), kHeader + kScene);
    EXPECT_EQ(rewritten(edited, [](Accessor& accessor) { setId(accessor, "a", 7); }), bytes);

    EXPECT_EQ(rewritten(bytes,
                        [](Accessor& accessor) {
                            accessor.associations().clear();
                            accessor.setStructures({});
                        }),
              kHeader + kScene + kTrailer);
}

struct KeptRow {
    const char* name;
    std::string statement;
    // Where it ends up: in front of the written statements, between, or behind.
    std::string expected;
};

TEST_F(TextSceneLaws, WhatIsNotUnderstoodIsKept) {
    const std::string mine = applyTo("a", textOf("Tag", "7"));
    const std::string unknownFormat = "dataStructure -fmt \"xml\" -as \"<Tag/>\";\n";
    const std::string badType = "dataStructure -fmt \"raw\" -as \"name=Odd:quad=x\";\n";
    const std::string badTag = "dataStructure -fmt \"raw\" -as \"name=Tag:quad=x\";\n";
    const std::string otherTag = "dataStructure -fmt \"raw\" -as \"name=Tag:float=id\";\n";
    const std::string noStructure = applyTo("b", textOf("Missing", "7"));
    const std::string badValue = applyTo("a", textOf("Tag", "x"));
    const std::string noQuote = "dataStructure -fmt \"raw\" -as \"name=X:int32=x;\n";
    const std::string noTarget = "applyMetadata -fmt \"raw\" -v \"" + textOf("Tag", "1") + "\" ;\n";
    const std::string more = "dataStructure -fmt \"raw\" -as \"name=X:int32=x\"; select x;\n";
    const std::string open = "dataStructure -fmt \"raw\" -as \"name=X:int32=x\"\n";
    const std::string foreign = "fileInfo \"k\" \"v\";\n";
    for (const KeptRow& row : {
             KeptRow{"unknown format", unknownFormat, unknownFormat + kTag + mine},
             {"unreadable structure", badType, badType + kTag + mine},
             {"unreadable namesake", badTag, kTag + badTag + mine},
             {"different namesake", otherTag, kTag + otherTag + mine},
             {"unreadable associations", noStructure, kTag + noStructure + mine},
             {"unreadable associations of a written node", badValue, kTag + mine + badValue},
             {"no fourth quote", noQuote, noQuote + kTag + mine},
             {"no target", noTarget, noTarget + kTag + mine},
             {"more behind the end", more, more + kTag + mine},
             {"no end", open, open + kTag + mine},
             {"foreign line", foreign, foreign + kTag + mine},
             {"comment", "// note\n", "// note\n" + kTag + mine},
         }) {
        const auto change = [](Accessor& accessor) { setId(accessor, "a", 7); };
        EXPECT_EQ(rewritten(kHeader + kScene + kTag + row.statement + mine + kTrailer, change),
                  kHeader + kScene + row.expected + kTrailer)
            << row.name;
    }
}

TEST_F(TextSceneLaws, WhatAFilterLeftOutIsKept) {
    const std::string a = applyTo("a", textOf("Tag", "7"));
    const std::string b = applyTo("b", textOf("Label", "\\\"x\\\""));
    save(kHeader + kScene + kLabel + kTag + a + b + kTrailer);
    const Names none;
    const Names onlyA = {"a"};
    const auto accessor = read(&none, &onlyA);
    EXPECT_TRUE(accessor->structures().empty());
    ASSERT_EQ(accessor->associations().size(), 1U);
    setId(*accessor, "a", 9);
    accessor->setWritePolicy(WritePolicy());
    write(*accessor);
    EXPECT_EQ(saved(),
              kHeader + kScene + kLabel + kTag + b + applyTo("a", textOf("Tag", "9")) + kTrailer);
    accessor->associations().erase("a");
    accessor->associations()["b"];  // looked up, but holding nothing
    write(*accessor);
    EXPECT_EQ(saved(), kHeader + kScene + kLabel + kTag + b + kTrailer);
}

TEST_F(TextSceneLaws, WhatSomebodyElseSavedMeanwhileIsKept) {
    const std::string a = applyTo("a", textOf("Tag", "7"));
    save(kHeader + kScene + kTag + a + kTrailer);
    const auto accessor = read();
    const std::string b = applyTo("b", textOf("Tag", "8"));
    const std::string longer = "createNode mesh -n \"new\";\n" + std::string(100000, ' ') + ";\n";
    save(kHeader + kScene + longer + kLabel + kTag + a + b + kTrailer);
    setId(*accessor, "a", 9);
    write(*accessor);
    EXPECT_EQ(saved(), kHeader + kScene + longer + kLabel + kTag + b +
                           applyTo("a", textOf("Tag", "9")) + kTrailer);

    save("somebody's notes\n");
    std::string errors;
    EXPECT_FALSE(accessor->write(errors));
    EXPECT_EQ(saved(), "somebody's notes\n");
}

TEST_F(TextSceneLaws, StatementsMaySpanLinesWithCommentsBetween) {
    EXPECT_EQ(rewritten(kHeader + kScene +
                        "dataStructure -fmt \"raw\"\n// why\n\n   -as \"name=Tag:\n"
                        "int32=id\"\n;\n" +
                        kTrailer),
              kHeader + kScene + "// why\n" + kTag + kTrailer);
}

// Lines of all kinds in any order: each that is not one readable metadata statement is still there.
TEST_F(TextSceneLaws, RandomScenesLoseNoLine) {
    const std::vector<std::string> pieces = {kTag,
                                             kLabel,
                                             applyTo("a", textOf("Tag", "7")),
                                             applyTo("b", textOf("Nope", "7")),
                                             "createNode x;\n",
                                             "\tsetAttr y;\n",
                                             "select z;\n",
                                             "no end \"\n",
                                             "// note\n",
                                             kTrailer,
                                             "\n",
                                             "dataStructure nonsense;\n",
                                             "applyMetadata -fmt \"raw\"\n",
                                             ";\n",
                                             "  \t\r\n",
                                             "applyMetadata -fmt \"xml\" -v \"x\" node;\n",
                                             "\t\tselect -ne x\n",
                                             "x; // y\n"};
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = kHeader;
        std::multiset<std::string> lines;
        for (auto n = random() % 12; n > 0; --n) {
            const std::size_t piece = random() % pieces.size();
            bytes += pieces[piece];
            if (piece >= 3 && pieces[piece].find_first_not_of(" \t\r\n") != std::string::npos) {
                std::istringstream in(pieces[piece]);
                for (std::string line; std::getline(in, line);) lines.insert(line);
            }
        }
        save(bytes);
        const auto accessor = read();
        std::string errors;
        const bool written = accessor->write(errors);
        const std::string result = saved();
        if (!written) {
            ASSERT_EQ(result, bytes) << errors;
        }
        std::istringstream in(result);
        for (std::string line; std::getline(in, line);) {
            const auto found = lines.find(line);
            if (found != lines.end()) lines.erase(found);
        }
        ASSERT_TRUE(lines.empty()) << bytes << "\n-- became --\n"
                                   << result << "\n"
                                   << *lines.begin();
        const auto again = read();
        if (again->write(errors)) {
            ASSERT_EQ(saved(), result) << bytes;
        }
    }
}

}  // namespace
}  // namespace orbo::Data
