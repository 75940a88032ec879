// Random scenes of good, broken and foreign lines: whatever is not readable metadata survives.
// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

class JunkScenes : public SceneTest {
  protected:
    unsigned int pick(unsigned int below) { return static_cast<unsigned int>(fRandom() % below); }

    /// Each holds a token of its own and cannot become part of a text that is readable.
    std::string junkLine() {
        const std::string token = "tok" + std::to_string(fTokens.size()) + "_";
        fTokens.push_back(token);
        const std::string forms[] = {
            token + ";",
            "\t" + token,
            "// " + token + ";",
            "\"" + token,
            "setAttr " + token,
            "setAttr " + token + ";",
            "\tsetAttr " + token + ";",
            "dataStructure " + token + ";",
            "dataStructure -fmt \"raw\" -as \"" + token,
            "dataStructure -fmt \"raw\" -as \"name=" + token + "\";",
            "dataStructure -fmt \"" + token + "\" -as \"name=A:int32=x\";",
            "applyMetadata -fmt \"raw\" -v \"" + token + "\"",
            "applyMetadata -fmt \"raw\" -v \"" + token + "\" n1;",
            "applyMetadata \"\" \"\" n1; " + token + ";",
        };
        return forms[pick(std::size(forms))] + (pick(5) == 0 ? "\r\n" : "\n");
    }

    /// Junk between any two lines, those inside statements included.
    std::string randomSection() {
        std::string section;
        const std::string a = structureStatement("name=A:int32=x");
        const std::string statements[] = {
            a,
            a,
            structureStatement("name=A:float=y"),
            structureStatement("name=B:string=s"),
            nodeStatement("n1", oneStream("A", "0\n7\n")),
            nodeStatement("n2", oneStream("A", "1\n8\n")),
            nodeStatement("-scn", oneStream("A", "2\n9\n")),
        };
        for (unsigned int count = pick(12); count > 0; --count) {
            for (unsigned int junk = pick(3); junk > 0; --junk) section += junkLine();
            for (const char c : statements[pick(std::size(statements))]) {
                section += c;
                if (c == '\n' && pick(8) == 0) section += pick(2) == 0 ? junkLine() : "\n";
            }
        }
        for (unsigned int junk = pick(3); junk > 0; --junk) section += junkLine();
        return section;
    }

    void randomEdit() {
        switch (pick(4)) {
            case 0:
                fAccessor.associations().erase("n1");
                break;
            case 1:
                removeStructure(fAccessor, "A");
                break;
            case 2:
                fAccessor.associations()["n2"] = fAccessor.associations()["n1"];
                break;
            default:
                break;
        }
    }

    std::mt19937 fRandom{24};
    std::vector<std::string> fTokens;
};

TEST_F(JunkScenes, LoseNothingThatWasNotUnderstood) {
    for (int round = 0; round < 1000; ++round) {
        fTokens.clear();
        makeScene(randomSection());
        const std::string before = file();
        SCOPED_TRACE("round " + std::to_string(round) + "\n" + before.substr(sceneFront().size()));
        const Names some = {"A", "n1"};
        ASSERT_TRUE(read(pick(4) == 0 ? &some : nullptr, pick(4) == 0 ? &some : nullptr));
        randomEdit();
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
