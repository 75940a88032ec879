// The registries of formats, as loading fills them and as plug-ins change them.
// SPDX-License-Identifier: Apache-2.0
#include <data/SerializerFamily.h>

#include <data/AssociationsSerializerRaw.h>
#include <data/ChannelSerializerRaw.h>
#include <data/Index.h>
#include <data/SerializerRaw.h>
#include <data/StreamSerializerRaw.h>
#include <data/StructureSerializerRaw.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace orbo::Data {
namespace {

template <typename Raw>
class RawFormatTest : public testing::Test {};
using RawFormats = testing::Types<AssociationsSerializerRaw, ChannelSerializerRaw,
                                  StreamSerializerRaw, StructureSerializerRaw>;
TYPED_TEST_SUITE(RawFormatTest, RawFormats);

TYPED_TEST(RawFormatTest, IsTheDefaultAndFoundByName) {
    const auto* format = &TypeParam::theFormat();
    EXPECT_EQ(format, &TypeParam::theFormat());
    EXPECT_STREQ("raw", format->formatType());
    EXPECT_EQ(format, TypeParam::defaultFormat());
    EXPECT_EQ(format, TypeParam::formatByName("raw"));
    EXPECT_EQ(nullptr, TypeParam::formatByName("Raw"));
    EXPECT_EQ(nullptr, TypeParam::formatByName(""));
    EXPECT_EQ(1U, TypeParam::allFormats().size());
}

TEST(Registration, KnowsTheIndexTypes) {
    EXPECT_EQ("pair", Index::doCreate("pair", "3 7").typeName());
    EXPECT_EQ("string", Index::doCreate("string", "joint").typeName());
}

/// What a plug-in brings.
class OwnFormat : public StructureSerializer {
  public:
    const char* formatType() const override { return "own"; }
    Structure* read(std::istream&, std::string&) const override { return nullptr; }
    int write(const Structure&, std::ostream&) const override { return 0; }
    void getFormatDescription(std::ostream&) const override {}
};

class PlugInTest : public testing::Test {
  protected:
    PlugInTest() {
        for (const OwnFormat& format : formats) StructureSerializer::registerFormat(format);
    }
    ~PlugInTest() override {
        for (const OwnFormat& format : formats) StructureSerializer::deregisterFormat(format);
        StructureSerializer::registerFormat(raw);
        StructureSerializer::setDefaultFormat(&raw);
    }
    const StructureSerializer& raw = StructureSerializerRaw::theFormat();
    const OwnFormat formats[2];
};

TEST_F(PlugInTest, RegisteringLeavesTheDefaultAlone) {
    StructureSerializer::registerFormat(formats[0]);
    EXPECT_EQ(3U, StructureSerializer::allFormats().size());
    EXPECT_EQ(&formats[0], StructureSerializer::formatByName("own")) << "the lowest address";
    EXPECT_EQ(&raw, StructureSerializer::defaultFormat());
    StructureSerializer::setDefaultFormat(nullptr);
    EXPECT_EQ(nullptr, StructureSerializer::defaultFormat());
    EXPECT_EQ(&raw, StructureSerializer::formatByName("raw"));
}

TEST_F(PlugInTest, TheLowestAddressInheritsTheDefault) {
    StructureSerializer::setDefaultFormat(&formats[1]);
    StructureSerializer::deregisterFormat(raw);
    EXPECT_EQ(&formats[1], StructureSerializer::defaultFormat()) << "it was not the default";
    StructureSerializer::deregisterFormat(formats[1]);
    EXPECT_EQ(&formats[0], StructureSerializer::defaultFormat());
    StructureSerializer::deregisterFormat(formats[0]);
    EXPECT_EQ(nullptr, StructureSerializer::defaultFormat());
    StructureSerializer::deregisterFormat(formats[0]);
    EXPECT_TRUE(StructureSerializer::allFormats().empty());
}

struct Helpers : SerializerRaw {
    using SerializerRaw::collapseWhitespace;
    using SerializerRaw::keyword;
    using SerializerRaw::splitString;
    using SerializerRaw::standardizeSeparators;
};

TEST(SerializerRaw, Keywords) {
    const char* const words[] = {
        "=",   "endAssociations", "endChannel", "channel", "name",      "indexType", ":",
        "raw", "endStream",       "stream",     "name",    "structure", "name",      "????",
        "????"};
    int number = 0;
    for (const char* word : words) {
        EXPECT_STREQ(word, Helpers::keyword(static_cast<SerializerRaw::eKeyword>(number++)));
    }
}

TEST(SerializerRaw, TextHelpersChangeInPlaceAndReturnACopy) {
    const struct {
        std::string (*change)(std::string&);
        const char* text;
        const char* expected;
    } cases[] = {
        {Helpers::collapseWhitespace, "  a  b \n", "a  b"},
        {Helpers::collapseWhitespace, "\t\v\f\r \n", ""},
        {Helpers::collapseWhitespace,
         "\xA0"
         "a\x85",
         "\xA0"
         "a\x85"},
        {Helpers::standardizeSeparators, "a\n\n:b\nc", "a:b:c"},
        {Helpers::standardizeSeparators, "\n:a b: \n", ":a b: :"},
        {Helpers::standardizeSeparators, "", ""},
    };
    for (const auto& row : cases) {
        std::string text = row.text;
        EXPECT_EQ(row.expected, row.change(text)) << row.text;
        EXPECT_EQ(row.expected, text);
    }
}

TEST(SerializerRaw, SplittingAddsNoEmptyLastPiece) {
    const struct {
        const char* text;
        std::vector<std::string> pieces;
    } cases[] = {
        {"", {}},
        {":", {""}},
        {"a", {"a"}},
        {"a:b:", {"a", "b"}},
        {"a::b", {"a", "", "b"}},
        {":a", {"", "a"}},
    };
    for (const auto& row : cases) {
        std::vector<std::string> pieces = {"kept"};
        EXPECT_EQ(&pieces, &Helpers::splitString(row.text, ':', pieces));
        pieces.erase(pieces.begin());
        EXPECT_EQ(row.pieces, pieces) << row.text;
    }
}

TEST(FormatDescriptions, AreTheDocumentedOnes) {
    const auto expect = [](const auto& format, const std::string& file) {
        std::ifstream in(METADATA_SOURCE_DIR "/tests/formats/data/" + file, std::ios::binary);
        ASSERT_TRUE(in.is_open()) << file;
        const std::string expected(std::istreambuf_iterator<char>(in), {});
        std::ostringstream out;
        out.width(4000);
        format.getFormatDescription(out);
        EXPECT_EQ(expected, out.str()) << file;
    };
    expect(AssociationsSerializerRaw::theFormat(), "associations-description.txt");
    expect(ChannelSerializerRaw::theFormat(), "channel-description.txt");
    expect(StructureSerializerRaw::theFormat(), "structure-description.txt");
}

}  // namespace
}  // namespace orbo::Data
