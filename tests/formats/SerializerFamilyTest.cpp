// The registries of formats, as loading fills them and as plug-ins change them; what raw formats
// share.
// SPDX-License-Identifier: Apache-2.0
#include <data/AssociationsSerializerRaw.h>
#include <data/ChannelSerializerRaw.h>
#include <data/SerializerRaw.h>
#include <data/StreamSerializerRaw.h>
#include <data/Structure.h>
#include <data/StructureSerializerDebug.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>

#include <fstream>
#include <sstream>
#include <tuple>

#include "debug/Printed.h"

namespace orbo::Data {
namespace {

template <typename Raw>
void checkRawFormat(const std::string& descriptionFile) {
    const auto* format = &Raw::theFormat();
    EXPECT_STREQ(format->formatType(), "raw");
    EXPECT_EQ(Raw::defaultFormat(), format);
    EXPECT_EQ(Raw::formatByName("raw"), format);
    EXPECT_EQ(Raw::formatByName("Raw"), nullptr);
    EXPECT_EQ(Raw::allFormats().size(), 1U);
    std::ostringstream expected;
    expected << std::ifstream(METADATA_SOURCE_DIR "/tests/formats/data/" + descriptionFile).rdbuf();
    ASSERT_NE(expected.str(), "") << descriptionFile;
    std::ostringstream out;
    out.width(4000);
    format->getFormatDescription(out);
    EXPECT_EQ(out.str(), expected.str());
}

TEST(RawFormats, AreDefaultsFoundByNameAndDescribed) {
    checkRawFormat<AssociationsSerializerRaw>("associations-description.txt");
    checkRawFormat<ChannelSerializerRaw>("channel-description.txt");
    checkRawFormat<StreamSerializerRaw>("stream-description.txt");
    checkRawFormat<StructureSerializerRaw>("structure-description.txt");
}

/// What a plug-in brings.
class OwnFormat : public StructureSerializer {
  public:
    const char* formatType() const override { return "own"; }
    Structure* read(std::istream&, std::string&) const override { return nullptr; }
    int write(const Structure&, std::ostream&) const override { return 0; }
    void getFormatDescription(std::ostream&) const override {}
};

TEST(Formats, TheLowestAddressInheritsTheDefault) {
    using Family = StructureSerializer;
    const Family& raw = StructureSerializerRaw::theFormat();
    const OwnFormat formats[2];
    for (int i : {0, 1, 1}) Family::registerFormat(formats[i]);
    EXPECT_EQ(Family::allFormats().size(), 3U);
    EXPECT_EQ(Family::formatByName("own"), &formats[0]);
    EXPECT_EQ(Family::defaultFormat(), &raw) << "registering leaves it alone";
    Family::setDefaultFormat(&formats[1]);
    Family::deregisterFormat(raw);
    EXPECT_EQ(Family::defaultFormat(), &formats[1]) << "it was not the default";
    Family::deregisterFormat(formats[1]);
    EXPECT_EQ(Family::defaultFormat(), &formats[0]);
    Family::deregisterFormat(formats[0]);
    EXPECT_EQ(Family::defaultFormat(), nullptr);
    Family::registerFormat(raw);
    Family::setDefaultFormat(&raw);
}

using Format = StructureSerializerDebug;

TEST(StructureSerializerDebug, IsFoundOnceRegisteredWritesTheDumpAndReadsNothing) {
    EXPECT_EQ(Format::formatByName("debug"), nullptr);
    const StructureSerializer* const before = Format::defaultFormat();
    Format::registerFormat(Format::theFormat());
    EXPECT_EQ(Format::formatByName("debug"), &Format::theFormat());
    EXPECT_EQ(Format::defaultFormat(), before);
    Format::deregisterFormat(Format::theFormat());

    const RefPtr<Structure> structure(new Structure("Tag"));
    structure->addMember(Member::kInt16, 1, "member");
    std::stringstream dump;
    EXPECT_EQ(Format::theFormat().write(*structure, dump), 0);
    EXPECT_EQ(structure->refCount(), 1) << "writing leaves it alone";
    EXPECT_EQ(dump.str(), Debug::printed(structure.get()));
    std::string errors = "earlier";
    EXPECT_EQ(Format::theFormat().read(dump, errors), nullptr);
    EXPECT_EQ(errors, "Cannot read the debug format");
    EXPECT_EQ(dump.tellg(), 0);
    std::ostringstream description;
    Format::theFormat().getFormatDescription(description);
    EXPECT_EQ(description.str(),
              "\nThe Debug format will be self-explanatory\nas it dumps all of the  information "
              "about\nthe structure in a verbose format.");
}

struct Helpers : SerializerRaw {
    using SerializerRaw::collapseWhitespace;
    using SerializerRaw::keyword;
    using SerializerRaw::splitString;
    using SerializerRaw::standardizeSeparators;
};

TEST(SerializerRaw, TextHelpersChangeInPlaceAndReturnACopy) {
    EXPECT_STREQ(Helpers::keyword(static_cast<SerializerRaw::eKeyword>(13)), "????");
    const std::tuple<std::string (*)(std::string&), std::string, std::string> rows[] = {
        {Helpers::collapseWhitespace, "\t\v\f\r a  b \n", "a  b"},
        {Helpers::collapseWhitespace, "\xA0 a\x85", "\xA0 a\x85"},
        {Helpers::standardizeSeparators, "\na\n\n:b\nc: \n", ":a:b:c: :"},
    };
    for (auto [change, text, expected] : rows) {
        EXPECT_EQ(change(text), expected);
        EXPECT_EQ(text, expected);
    }
    std::vector<std::string> found;
    EXPECT_EQ(Helpers::splitString(":a::b:", ':', found),
              std::vector<std::string>({"", "a", "", "b"}))
        << "no empty last piece";
}

}  // namespace
}  // namespace orbo::Data
