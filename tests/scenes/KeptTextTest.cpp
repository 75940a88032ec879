// A write formats only what has changed, and the file says what the model has.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <functional>

#include "scenes/BinaryScene.h"
#include "scenes/SceneTest.h"
#include "scenes/text/TextStatement.h"
#include "scenes/writing/ModelCompare.h"

namespace orbo::Data {
namespace {

const std::string kStructure = "name=F:double=w:string=s";

/// A stream in words that the library would not choose: "1.50" for 1.5.
struct OddStream {
    std::string name;
    std::string indexType;
    std::vector<std::string> elements;

    [[nodiscard]] std::string text() const {
        std::string all = "stream\nname " + name + "\nindexType " + indexType + "\nstructure F\n";
        for (const std::string& element : elements) all += element;
        return all + "endStream\n";
    }
};

std::string element(const std::string& index, unsigned int number) {
    return index + '\n' + std::to_string(number) + R"(.50 "a \"b\" c\\)" + "\"\n";
}

template <typename SceneAccessor>
class KeptText : public SceneTestOf<SceneAccessor> {
  protected:
    static constexpr bool kIsText = SceneTestOf<SceneAccessor>::kIsText;

    /// How a text scene has its texts: as the library escapes them, with line feeds as octal
    /// numbers that are as short as can be, or in a statement of several lines.
    enum class Words { kUsual, kOctal, kSplit };

    static std::string escapedBy(Words words, const std::string& text) {
        std::string escaped;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (words == Words::kOctal && text[i] == '\n') {
                const char next = i + 1 < text.size() ? text[i + 1] : 'x';
                escaped += next >= '0' && next <= '7' ? "\\012" : "\\12";
            } else {
                TextStatement::appendEscaped(escaped, text.substr(i, 1));
            }
        }
        return escaped;
    }
    static std::string statementIn(Words words, const std::string& node, const std::string& text) {
        std::string statement = nodeStatement(node, escapedBy(words, text));
        if (words == Words::kSplit) statement.replace(statement.find("name ") + 4, 1, " \t\n");
        return statement;
    }

    void make(const std::vector<std::string>& nodes, Words words = Words::kUsual) {
        std::string section = kIsText ? structureStatement(kStructure) : structureChunk(kStructure);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const std::string name = "n" + std::to_string(i);
            section += kIsText ? statementIn(words, name, nodes[i]) : nodeChunk(name, nodes[i]);
        }
        this->file() = kIsText ? sceneFront() + section + kLastLine : BinaryScene(section).bytes();
        this->setPolicy(WritePolicy::careful());
    }
    [[nodiscard]] std::string unescapedFile() {
        std::string bytes = this->file();
        if (kIsText) TextStatement::unescape(bytes);
        return bytes;
    }
    [[nodiscard]] bool has(const std::string& text) {
        return unescapedFile().find(text) != std::string::npos;
    }
    /// How many elements still have their odd words.
    [[nodiscard]] std::size_t oddElements() {
        const std::string all = unescapedFile();
        std::size_t count = 0;
        for (std::size_t at = 0; (at = all.find(".50 ", at)) != std::string::npos; ++at) ++count;
        return count;
    }
    void writeAndCompare(const std::string& what) {
        ASSERT_TRUE(this->fAccessor.isEdited()) << what;
        ASSERT_TRUE(this->write()) << what << '\n' << this->fErrors;
        SceneAccessor other;
        std::string errors;
        ASSERT_TRUE(other.read(this->fName, errors)) << what << '\n' << errors;
        const auto& ours = this->fAccessor.associations();
        ASSERT_EQ(other.associations().size(), ours.size());
        for (const auto& [name, node] : ours) {
            ASSERT_TRUE(isSame(node, other.associations().at(name))) << what << ", " << name;
        }
        const auto written = this->fSystem.files;
        ASSERT_FALSE(this->fAccessor.isEdited()) << what;
        ASSERT_TRUE(this->write()) << what;
        ASSERT_EQ(this->fSystem.files, written) << what;
    }
};

template <typename SceneAccessor>
class KeptTextLaws : public KeptText<SceneAccessor> {
  protected:
    using Words = typename KeptText<SceneAccessor>::Words;

    OddStream randomStream(const std::string& name) {
        const std::string type =
            fPicks.anyOf<const char*>({"numeric", "numeric", "pair", "string"});
        OddStream stream{name, type, {}};
        const unsigned int count = fPicks.anyOf<unsigned int>({0, 1, 3, 256, 257, 700});
        for (unsigned int i = 0, number = 0; i < count; ++i) {
            number += 1 + fPicks.below(3);
            const std::string digits = std::to_string(100000 + number);
            stream.elements.push_back(element(type == "numeric" ? std::to_string(number)
                                              : type == "pair"  ? digits + " 7"
                                                                : "i" + digits,
                                              number));
        }
        if (fPicks.below(4) == 0) std::reverse(stream.elements.begin(), stream.elements.end());
        return stream;
    }
    /// False when nothing was changed.
    bool edit(Stream& stream) {
        const unsigned int size = stream.elementCount();
        StreamIterator at = stream.begin();
        for (unsigned int i = size == 0 ? 0 : fPicks.below(size); i > 0; --i) ++at;
        switch (size == 0 ? 0 : fPicks.below(4)) {
            case 1:
                *at->asDouble() += 1;
                return true;
            case 2:
                stream.removeElement(at.index());
                return true;
            case 3:
                if (stream.indexType() != Index::theTypeName()) return false;
                setElement(stream, fPicks.below(3000));
                return true;
            default:
                return false;
        }
    }
    static void setElement(Stream& stream, unsigned int index) {
        Handle element(stream.structure());
        *element.asDouble() = 0.125;
        stream.setElement(index, element);
    }

    void run() {
        for (int round = 0; round < 60; ++round) {
            std::vector<std::string> nodes;
            std::map<std::string, std::string> texts;  // of streams, by node and stream
            for (const std::string node : {"n0", "n1", "n2"}) {
                std::string text;
                for (const std::string channel : {"b", "a"}) {
                    text += "channel\nname " + channel + "\n";
                    for (const std::string name : {"t", "s"}) {
                        const std::string stream = randomStream(name).text();
                        texts[node + channel + name] = stream;
                        text += stream;
                    }
                    text += "endChannel\n";
                }
                nodes.push_back(text + "endAssociations\n");
            }
            this->make(nodes, fPicks.anyOf<Words>({Words::kUsual, Words::kOctal, Words::kSplit}));
            ASSERT_TRUE(this->read()) << this->fErrors;
            ASSERT_EQ(this->fAccessor.associations().size(), nodes.size()) << this->fErrors;
            std::set<std::string> editedBefore;  // nodes; a write makes their texts anew
            for (int write = 0; write < 3; ++write) {
                std::set<std::string> edited;
                for (auto& [node, associations] : this->fAccessor.associations()) {
                    for (const std::string channel : {"a", "b"}) {
                        for (const std::string name : {"s", "t"}) {
                            if (fPicks.below(6) != 0) continue;
                            Stream& stream =
                                *associations.findChannel(channel)->findDataStream(name);
                            if (!edit(stream)) continue;
                            texts.erase(node + channel + name);
                            edited.insert(node);
                        }
                    }
                }
                if (edited.empty()) continue;
                this->writeAndCompare(std::to_string(round));
                if (this->HasFatalFailure()) return;
                for (const auto& [place, text] : texts) {
                    if (editedBefore.count(place.substr(0, 2)) > 0) continue;
                    ASSERT_TRUE(this->has(text)) << round << ' ' << place;
                }
                editedBefore.insert(edited.begin(), edited.end());
            }
        }
    }

    Picks fPicks;
};

using KeptTextLawsText = KeptTextLaws<QuilAsciiFileAccessor>;
using KeptTextLawsBinary = KeptTextLaws<QuilBinaryFileAccessor>;

TEST_F(KeptTextLawsText, HoldForRandomEdits) { run(); }
TEST_F(KeptTextLawsBinary, HoldForRandomEdits) { run(); }

using KeptTextText = KeptText<QuilAsciiFileAccessor>;

// Of a stream in order, only the 256 elements around a change are made anew.
TEST_F(KeptTextText, IsThatOfOtherBlocks) {
    OddStream stream{"s", "numeric", {}};
    for (unsigned int i = 0; i < 2000; ++i) {
        stream.elements.push_back(element(std::to_string(2 * i), i));
    }
    const std::string front = "channel\nname c\n" + stream.text();
    const struct {
        const char* what;
        std::function<void(Stream&)> edit;
        std::size_t odd;
    } rows[] = {
        {"first", [](Stream& s) { *s.element(0).asDouble() = 7; }, 2000 - 256},
        {"end of a block", [](Stream& s) { *s.element(510).asDouble() = 7; }, 2000 - 256},
        {"last", [](Stream& s) { *s.element(3998).asDouble() = 7; }, 1792},
        {"string", [](Stream& s) { s.element(6).set("s", "x"); }, 2000 - 256},
        {"added behind", [](Stream& s) { s.setElement(5000, s.element(0)); }, 1792},
        {"removed", [](Stream& s) { s.removeElement(3998); }, 1792},
    };
    for (const auto& row : rows) {
        for (const Words words : {Words::kUsual, Words::kOctal, Words::kSplit}) {
            make({front + "endChannel\nendAssociations\n"}, words);
            ASSERT_TRUE(read()) << fErrors;
            row.edit(*fAccessor.associations().at("n0").findChannel("c")->findDataStream("s"));
            writeAndCompare(row.what);
            EXPECT_EQ(oddElements(), row.odd) << row.what;
        }
    }
}

// What is kept was read from the very bytes that the file still has.
TEST_F(KeptTextText, IsNotThatOfAnotherFile) {
    const auto text = [](const std::string& elements) {
        return std::vector<std::string>{"channel\nname c\nstream\nname s\nstructure F\n" +
                                        elements + "endStream\nstream\nname t\nstructure F\n" +
                                        element("1", 1) +
                                        "endStream\nendChannel\nendAssociations\n"};
    };
    make(text(element("3", 3) + element("1", 1)));
    ASSERT_TRUE(read());
    make(text(element("1", 1) + element("3", 3)));
    fAccessor.associations().at("n0").findChannel("c")->removeDataStream("t");
    EXPECT_FALSE(write());
    EXPECT_TRUE(fAccessor.metConflict());
}

}  // namespace
}  // namespace orbo::Data
