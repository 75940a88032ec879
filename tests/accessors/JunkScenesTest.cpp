// Random scenes of good, broken and foreign lines: whatever is not readable metadata survives.
// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

class JunkScenes : public SceneTest {
  protected:
    unsigned int pick(unsigned int below) { return static_cast<unsigned int>(fRandom() % below); }
    const char* anyOf(std::initializer_list<const char*> texts) {
        return texts.begin()[pick(static_cast<unsigned int>(texts.size()))];
    }

    /// Each holds tokens of its own, for "@", and cannot become part of a text that is readable.
    std::string junk() {
        std::string lines;
        for (unsigned int count = pick(3); count > 0; --count) {
            fTokens.push_back("tok" + std::to_string(fTokens.size()) + "_");
            const std::string form = anyOf(
                {"@;", "\t@", "// @;", "\"@", "setAttr @", "setAttr @;", "\tsetAttr @;",
                 "dataStructure @;", "dataStructure -fmt \"raw\" -as \"@",
                 "dataStructure -fmt \"raw\" -as \"name=@\";",
                 "dataStructure -fmt \"@\" -as \"name=A:int32=x\";",
                 "applyMetadata -fmt \"raw\" -v \"@\"", "applyMetadata -fmt \"raw\" -v \"@\" n1;",
                 "applyMetadata \"\" \"\" n1; @;"});
            lines += std::regex_replace(form, std::regex("@"), fTokens.back()) +
                     (pick(5) == 0 ? "\r\n" : "\n");
        }
        return lines;
    }
    /// Junk between any two lines, those inside statements included.
    std::string randomSection() {
        std::string section;
        for (unsigned int count = pick(12); count > 0; --count) {
            section += junk();
            for (const char c : statement(anyOf({"A", "A", "A2", "B", "n1", "n2=8", "own=9"}))) {
                section += c;
                if (c == '\n' && pick(8) == 0) section += pick(2) == 0 ? junk() : "\n";
            }
        }
        return section + junk();
    }

    std::mt19937 fRandom{24};
    std::vector<std::string> fTokens;
};

TEST_F(JunkScenes, LoseNothingThatWasNotUnderstood) {
    for (int round = 0; round < 1000; ++round) {
        fTokens.clear();
        const std::string before = randomSection();
        file() = sceneFront() + before + kTrailer;
        SCOPED_TRACE("round " + std::to_string(round) + "\n" + before);
        ASSERT_TRUE(read(std::string(anyOf({"*", "*", "*", "A n1"})) + "|" +
                         anyOf({"*", "*", "*", "A n1"})));
        edit(anyOf({"", "-n1", "-A", "n2=n1"}));
        ASSERT_TRUE(write()) << fErrors;
        const std::string once = section();  // checks what lies around it
        for (const std::string& token : fTokens) {
            const std::size_t at = once.find(token);
            ASSERT_NE(at, std::string::npos) << token << " is lost in\n" << once;
            ASSERT_EQ(once.find(token, at + 1), std::string::npos) << token << " twice in\n"
                                                                   << once;
        }
        ASSERT_TRUE(write()) << fErrors;
        ASSERT_EQ(section(), once) << "second write";
    }
}

}  // namespace
}  // namespace orbo::Data
