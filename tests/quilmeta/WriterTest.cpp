// Elements as JSON and as tables, and files that appear complete or not at all.
// SPDX-License-Identifier: Apache-2.0
#include "Captured.h"
#include "JsonDocument.h"
#include "NewFile.h"
#include "TableWriter.h"
#include "Trouble.h"

#include <data/IndexPair.h>
#include <data/IndexText.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace orbo::Quilmeta {
namespace {

using Data::Member;
namespace fs = std::filesystem;

/// A stream whose elements are given as member texts.
class Model {
  public:
    void member(Member::eDataType type, unsigned int length, const char* name) {
        EXPECT_TRUE(fStructure->addMember(type, length, name));
    }
    /// Values in member order, one for each part; a null text leaves the default.
    void element(const Data::Index& index, std::initializer_list<const char*> texts) {
        Data::Handle handle(*fStructure);
        std::string errors;
        auto text = texts.begin();
        for (const Member& member : *fStructure) {
            EXPECT_TRUE(handle.setPositionByMemberName(member.name()));
            for (unsigned int k = 0; k < member.length() && text != texts.end(); ++k, ++text)
                if (*text) handle.fromStr(*text, k, errors);
        }
        EXPECT_EQ(errors, "");
        EXPECT_TRUE(fStream.setElement(index, handle));
    }
    Data::Stream& stream() { return fStream; }
    Data::Structure& structure() { return *fStructure; }
    std::string json() {
        const SceneView view{{fStructure.get()}, {{"", {{Data::Channel("c"), {fStream}}}}}};
        return captured([&](Output& output) { JsonDocument(output).write(view); });
    }
    std::string table() {
        return captured([&](Output& output) { TableWriter(output, fStream, 2).write(); });
    }

  private:
    RefPtr<Data::Structure> fStructure{new Data::Structure("S")};
    Data::Stream fStream{*fStructure, "s"};
};

/// The lines of the elements alone.
std::string elementLines(const std::string& document) {
    std::string result;
    for (size_t at = 0; (at = document.find("{ \"index\"", at)) != std::string::npos;) {
        const size_t end = document.find('\n', at);
        result += document.substr(at, end - at) + '\n';
        at = end;
    }
    return result;
}

TEST(JsonDocument, HasItsKeysInOrder) {
    Model model;
    model.member(Member::kInt32, 1, "n");
    model.element(3u, {"-5"});
    EXPECT_EQ(model.json(), R"({
  "quilmeta": 1,
  "structures": [
    { "name": "S", "members": [
      { "name": "n", "type": "int32", "length": 1 }
    ] }
  ],
  "associations": [
    { "name": "", "channels": [
      { "name": "c", "streams": [
        { "name": "s", "structure": "S", "indexType": "numeric", "elements": [
          { "index": 3, "values": { "n": -5 } }
        ] }
      ] }
    ] }
  ]
}
)");
}

TEST(JsonDocument, ShapesValuesByTheirLength) {
    Model model;
    model.member(Member::kFloat, 2, "two");
    model.member(Member::kFloatMatrix4x4, 1, "one matrix");
    model.member(Member::kString, 2, "texts");
    model.element(0u, {"0.1", "1e30", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", "\xFF", nullptr});
    EXPECT_EQ(elementLines(model.json()),
              "{ \"index\": 0, \"values\": { \"two\": [0.1, 1e+30], \"one matrix\": "
              "[1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16], "
              "\"texts\": [{ \"base64\": \"/w==\" }, null] } }\n");

    Model matrices;
    matrices.member(Member::kDoubleMatrix4x4, 2, "m");
    matrices.element(0u, {});
    EXPECT_EQ(elementLines(matrices.json()),
              "{ \"index\": 0, \"values\": { \"m\": "
              "[[0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0], "
              "[0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]] } }\n");
}

/// A key cannot be an object, so the values become a list.
TEST(JsonDocument, CarriesMemberNamesThatAreNoUtf8) {
    Model model;
    model.member(Member::kInt8, 1, "a\xFF");
    model.member(Member::kBoolean, 1, "b");
    model.element(0u, {"1", "t"});
    EXPECT_EQ(elementLines(model.json()), "{ \"index\": 0, \"values\": [ 1, true ] }\n");
    EXPECT_NE(model.json().find("{ \"name\": { \"base64\": \"Yf8=\" }, \"type\": \"int8\""),
              std::string::npos);
}

TEST(JsonDocument, WritesIndicesByTheirType) {
    Model pairs;
    ASSERT_TRUE(pairs.stream().setIndexType("pair"));
    pairs.element(Data::IndexPair(3, 7), {});
    EXPECT_EQ(elementLines(pairs.json()), "{ \"index\": [3, 7], \"values\": { } }\n");

    Model texts;
    texts.element(Data::IndexText("uv", "0.5 \"1\""), {});
    EXPECT_EQ(elementLines(texts.json()), "{ \"index\": \"0.5 \\\"1\\\"\", \"values\": { } }\n");
}

TEST(TableWriter, AlignsByWhatIsSeen) {
    Model model;
    model.member(Member::kFloat, 2, "at");
    model.member(Member::kString, 1, "label");
    model.member(Member::kUInt8, 1, "a long title");
    model.element(5u, {"0.25", "-1", "\xE8\x8C\xB6", "7"});
    model.element(12345678u, {"100", "2", nullptr, "255"});
    EXPECT_EQ(model.table(), R"(     index  at       label  a long title
         5  0.25 -1  "茶"              7
  12345678   100  2  null            255
)");
}

TEST(TableWriter, LetsOneLongTextStickOut) {
    Model model;
    model.member(Member::kString, 1, "text");
    model.member(Member::kInt8, 1, "n");
    const std::string text(100, 'x');
    model.element(0u, {text.c_str(), "1"});
    model.element(1u, {"y", "2"});
    const std::string gap(37 + 2, ' ');
    EXPECT_EQ(model.table(), "  index  text" + std::string(36 + 2, ' ') + "n\n      0  \"" + text +
                                 "\"  1\n      1  \"y\"" + gap + "2\n");
}

class NewFileTest : public testing::Test {
  protected:
    NewFileTest() {
        std::string pattern = (fs::temp_directory_path() / "quilmetaXXXXXX").string();
        fFolder = ::mkdtemp(pattern.data());
        write("scene", "the scene");
    }
    ~NewFileTest() override { fs::remove_all(fFolder); }
    std::string path(const std::string& name) const { return (fFolder / name).string(); }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name)) << text;
    }
    std::string content(const std::string& name) const {
        std::ifstream in(path(name));
        return {std::istreambuf_iterator<char>(in), {}};
    }
    size_t fileCount() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(fFolder), {}));
    }
    void create(const std::string& name, const std::string& text) const {
        NewFile file(path(name), path("scene"));
        file.output().write(text);
        file.commit();
    }
    std::string refusal(const std::string& name) const {
        try {
            create(name, "new");
        } catch (const Trouble& trouble) {
            const std::string what = trouble.what();
            return what.substr(what.find("\" ") + 2);
        }
        return "was written";
    }

    fs::path fFolder;
};

TEST_F(NewFileTest, AppearsWhenItIsComplete) {
    write("old", "old");
    {
        NewFile file(path("old"), path("scene"));
        file.output().write("new");
        file.output().flush();
        EXPECT_EQ(content("old"), "old");
    }
    EXPECT_EQ(content("old"), "old");
    EXPECT_EQ(fileCount(), 2u);
    fs::permissions(path("old"), fs::perms::owner_read | fs::perms::owner_write);
    create("old", "new");
    EXPECT_EQ(content("old"), "new");
    EXPECT_EQ(fs::status(path("old")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fileCount(), 2u);
}

TEST_F(NewFileTest, NeverReplacesTheScene) {
    fs::create_symlink("scene", path("link"));
    fs::create_hard_link(path("scene"), path("hard"));
    for (const char* name : {"scene", "link", "hard", "./scene"})
        EXPECT_EQ(refusal(name), "is the scene itself") << name;
    EXPECT_EQ(content("scene"), "the scene");
    EXPECT_EQ(fileCount(), 3u);
}

TEST_F(NewFileTest, KeepsLinksAndRefusesWhatIsNoFile) {
    write("target", "old");
    fs::create_symlink("target", path("link"));
    create("link", "new");
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(content("target"), "new");

    fs::create_symlink("nowhere", path("dangling"));
    fs::create_directory(path("folder"));
    EXPECT_EQ(refusal("dangling"), "is a symbolic link that leads nowhere");
    EXPECT_EQ(refusal("folder"), "is not a regular file");
    EXPECT_THROW(create("absent/file", ""), Trouble);
    EXPECT_THROW(NewFile("/dev/null", path("scene")), Trouble);
}

TEST(Output, NoticesAFullDisk) {
    const int full = ::open("/dev/full", O_WRONLY);
    Output output(full, "results");
    output.write("lost");
    try {
        output.flush();
        ADD_FAILURE() << "nobody noticed";
    } catch (const OutputTrouble& trouble) {
        EXPECT_STREQ(trouble.what(), "results: No space left on device");
    }
    ::close(full);
}

}  // namespace
}  // namespace orbo::Quilmeta
