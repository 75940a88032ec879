// A small language for tests of scenes: make one of words, read, edit, write, look.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cctype>
#include <initializer_list>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "files/ScriptedFileSystem.h"
#include "scenes/LiteralModel.h"
#include "scenes/binary/QuilBinaryFileAccessor.h"
#include "scenes/text/QuilAsciiFileAccessor.h"

namespace orbo::Data {

inline const std::string kHeader = "//Quil ASCII 2016 scene\n";
inline const std::string kLastLine = "// End of scene.kx\n";

/// What stands in front of the metadata, large enough for a first section.
inline std::string sceneFront() {
    std::string front = kHeader + "requires quil \"2016\";\n";
    while (front.size() < 1100) front += "createNode transform -n \"node\";\n\tsetAttr \".t\" 1;\n";
    return front + "select -ne :time1;\n\tsetAttr \".o\" 1;\n";
}
inline WritePolicy inPlace() {
    WritePolicy policy;
    policy.durable = false;
    return policy;
}

inline RefPtr<Structure> makeStructure(const std::string& name,
                                       Member::eDataType type = Member::kInt32,
                                       const std::string& member = "x", unsigned int length = 2) {
    RefPtr<Structure> structure(Structure::create());
    structure->setName(name.c_str());
    structure->addMember(type, length, member.c_str());
    return structure;
}

inline std::string replaced(const std::string& text, const std::string& from,
                            const std::string& to) {
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = 0; (at = text.find(from, done)) != std::string::npos;) {
        result.append(text, done, at - done).append(to);
        done = at + from.size();
    }
    return result.append(text, done);
}

/// As the library writes them, for texts that need no escapes but line feeds.
inline std::string structureStatement(const std::string& text) {
    return "dataStructure -fmt \"raw\" -as \"" + text + "\";\n";
}
inline std::string nodeStatement(const std::string& name, const std::string& text) {
    return "applyMetadata -fmt \"raw\" -v \"" + replaced(text, "\n", "\\n") + "\" \n\t\t" + name +
           ";\n";
}
/// Associations with one channel "c" of one stream "s".
inline std::string oneStream(const std::string& structure, const std::string& elements,
                             const std::string& indexType = "numeric") {
    return "channel\nname c\nstream\nname s\nindexType " + indexType + "\nstructure " + structure +
           "\n" + elements + "endStream\nendChannel\nendAssociations\n";
}

inline std::string node(const std::string& name, const std::string& number) {
    return nodeStatement(name == "own" ? "-scn" : name, oneStream("A", "0\n" + number + "\n"));
}

/// The one of this word; any other word is a line.
inline std::string statement(const std::string& word) {
    static const std::map<std::string, std::string> kWords = {
        {"A", structureStatement("name=A:int32=x")},
        {"B", structureStatement("name=B:string=s")},
        {"Z", structureStatement("name=Z:int8=z")},
        // Other structures of the name, and texts that are none.
        {"A2", structureStatement("name=A:float=y")},
        {"A3", structureStatement("name=A:int32=x:int32=z")},
        {"A!", structureStatement("name=A:bogus=x")},
        // Both hold more than readers take from them.
        {"B+", structureStatement("name=B:int32=b:int32[0]=a")},
        {"n2+", nodeStatement("n2", oneStream("A", "0\n7 and more\n0\n8\n"))},
        {"n1//", "applyMetadata\n//b\n" + node("n1", "7").substr(14)},
        {"n1-", replaced(node("n1", "7"), "\n\t", "\t")},
        {"n1\"", replaced(node("n1", "7"), "n1;", "n1\n// \"n2\n;")},
        // Other words than the library writes.
        {"A~", "dataStructureX -lock -fmt \"raw\" -as \"name=A:int32=x\" -on;\n"},
        {"n1~", replaced(replaced(node("n1", "7"), "-fmt", "-ed -fmt"), "\tn1", "\t-x n1")},
        {"noTarget", "applyMetadata -fmt \"raw\" -v \"\" \n\t\t;\n"},
        {"open", "applyMetadata -fmt \"raw\" -v \"\"\n"},
        {"blank", "\n"},
        {"end", kLastLine},
        // An index type that nobody registered.
        {"odd", nodeStatement("n3", oneStream("A", "ab\n1\n", "odd"))},
    };
    if (const auto found = kWords.find(word); found != kWords.end()) return found->second;
    // Associations of a node or of the scene, with one number: "n1", "own=9"; "n1!" is unreadable.
    const std::string name = word.substr(0, word.find_first_of("=!"));
    const bool isNode =
        name == "own" || (name.size() == 2 && name[0] == 'n' && std::isdigit(name[1]));
    const std::string rest = word.substr(name.size());
    if (!isNode) return word + "\n";
    if (rest == "!") return nodeStatement(name, "nonsense");
    return rest.empty() || rest[0] == '=' ? node(name, rest.empty() ? "7" : rest.substr(1))
                                          : word + "\n";
}

inline std::vector<std::string> split(const std::string& text, char separator = ' ') {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
    return parts;
}
inline std::string statements(const std::string& words) {
    std::string all;
    for (const std::string& word : split(words)) all += statement(word);
    return all;
}

/// Random picks, the same in every run.
class Picks {
  public:
    unsigned int below(std::size_t limit) { return static_cast<unsigned int>(fBits() % limit); }
    template <typename Choice>
    Choice anyOf(std::initializer_list<Choice> choices) {
        return choices.begin()[below(choices.size())];
    }

  private:
    std::mt19937 fBits{24};
};

/// One scene in memory, "scene.kx" or "scene.ky", and an accessor for it.
template <typename SceneAccessor>
class SceneTestOf : public testing::Test {
  protected:
    using Names = std::set<std::string>;

    static std::string nodeName(const std::string& word) { return word == "own" ? "" : word; }
    static Names namesOf(const std::string& words) {
        Names names;
        for (const std::string& word : split(words)) names.insert(nodeName(word));
        return names;
    }

    [[nodiscard]] std::string& file() { return fSystem.files[fName]; }

    /// Names as `model()` gives them; "*" means all.
    bool read(const std::string& filter = "*|*") {
        fErrors.clear();
        const std::size_t bar = filter.find('|');
        const Names structures = namesOf(filter.substr(0, bar));
        const Names associations = namesOf(filter.substr(bar + 1));
        return fAccessor.read(fName, structures.count("*") > 0 ? nullptr : &structures,
                              associations.count("*") > 0 ? nullptr : &associations, fErrors);
    }
    bool write() {
        fErrors.clear();
        const auto before = fSystem.files;
        const bool done = fAccessor.write(fErrors);
        if (kIsText && done && fSystem.files != before) expectOthersReadTheSame();
        return done;
    }
    /// Whoever knows no comments, and whoever does.
    void expectOthersReadTheSame() {
        const auto fails = std::exchange(fSystem.fails, [](Files::Call) { return false; });
        EXPECT_EQ(difference(literalModelOf(file()), modelOf(fName)), "") << file();
        fSystem.fails = fails;
    }
    /// Nothing but the messages that begin so.
    void expectRefusal(const std::string& message) {
        const std::string before = file();
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors.substr(0, message.size()), message);
        EXPECT_EQ(file(), before);
    }
    /// Each of the tokens is there once, however often one writes.
    void writeKeeping(const std::vector<std::string>& tokens) {
        ASSERT_TRUE(write()) << fErrors;
        const std::string once = file();
        for (const std::string& token : tokens) {
            const std::size_t at = once.find(token);
            ASSERT_NE(at, std::string::npos) << token << " is lost in\n" << once;
            ASSERT_EQ(once.find(token, at + 1), std::string::npos) << token << " twice in " << once;
        }
        ASSERT_TRUE(write()) << fErrors;
        ASSERT_EQ(file(), once) << "second write";
    }
    void setPolicy(const WritePolicy& policy) { fAccessor.setWritePolicy(policy); }
    /// "A B|own n1 n2": structures, then associations.
    [[nodiscard]] std::string model() const {
        std::string names;
        for (const Structure* s : fAccessor.structures()) names += s->name() + std::string(" ");
        if (!names.empty()) names.pop_back();
        names += "| ";
        for (const auto& [node, associations] : fAccessor.associations()) {
            names += (node.empty() ? "own" : node) + " ";
        }
        names.pop_back();
        return replaced(names, "| ", "|");
    }

    [[nodiscard]] Stream& stream(const std::string& node) {
        return *fAccessor.associations().at(node).findChannel("c")->findDataStream("s");
    }
    void addStructure(const Structure& structure) {
        Accessor::StructureSet structures = fAccessor.structures();
        structures.insert(&structure);
        fAccessor.setStructures(structures);
    }
    void setNumber(const std::string& node, const Index& index, int value) {
        Handle handle(stream(node).structure());
        *handle.asInt32() = value;
        stream(node).setElement(index, handle);
    }
    /// In words: "n1=9" sets the number, "n2=n1" copies, "n2" only touches, "-n1" and "-A" remove,
    /// "+Z" adds the structure.
    void edit(const std::string& words) {
        Accessor::AssociationsMap& nodes = fAccessor.associations();
        for (const std::string& word : split(words)) {
            const std::vector<std::string> sides = split(word, '=');
            if (sides.size() == 2 && std::isdigit(sides[1][0])) {
                setNumber(sides[0], 0, std::stoi(sides[1]));
            } else if (word[0] == '+') {
                addStructure(*makeStructure(word.substr(1), Member::kInt8, "z", 1));
            } else if (word[0] == '-') {
                nodes.erase(nodeName(word.substr(1)));
                Accessor::StructureSet left;
                for (const Structure* structure : fAccessor.structures()) {
                    if (structure->name() != word.substr(1)) left.insert(structure);
                }
                fAccessor.setStructures(left);
            } else {
                nodes[sides[0]] = nodes[sides.back()];
            }
        }
    }

    static constexpr bool kIsText = std::is_same_v<SceneAccessor, QuilAsciiFileAccessor>;
    const std::string fName = kIsText ? "scene.kx" : "scene.ky";
    Files::ScriptedFileSystem fSystem;
    Files::FileSystem::Replacement fReplaced{fSystem};
    SceneAccessor fAccessor;
    std::string fErrors;
};

class SceneTest : public SceneTestOf<QuilAsciiFileAccessor> {
  protected:
    void makeScene(const std::string& words) {
        file() = sceneFront() + statements(words) + kLastLine;
    }
    /// What lies between the front and the trailer.
    [[nodiscard]] std::string section() {
        const std::string front = sceneFront();
        EXPECT_EQ(file().substr(0, front.size()), front);
        const std::size_t end = file().size() - kLastLine.size();
        EXPECT_EQ(file().substr(end), kLastLine);
        return file().substr(front.size(), end - front.size());
    }
};

}  // namespace orbo::Data
