// The debug dump as a format.
// SPDX-License-Identifier: Apache-2.0
#include <data/Structure.h>
#include <data/StructureSerializerDebug.h>
#include <debug/Print.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <sstream>

namespace orbo::Data {
namespace {

using Format = StructureSerializerDebug;

TEST(StructureSerializerDebug, IsFoundByNameOnceSomebodyRegistersIt) {
    EXPECT_STREQ(Format::theFormat().formatType(), "debug");
    EXPECT_EQ(Format::formatByName("debug"), nullptr);
    const StructureSerializer* const before = Format::defaultFormat();
    Format::registerFormat(Format::theFormat());
    EXPECT_EQ(Format::formatByName("debug"), &Format::theFormat());
    EXPECT_EQ(Format::defaultFormat(), before);
    Format::deregisterFormat(Format::theFormat());
}

TEST(StructureSerializerDebug, WritesTheDumpAndReadsNothing) {
    const struct {
        const char* name;
        Member::eDataType type;
        const char* part;
    } rows[] = {
        {"Empty", Member::kInvalid, "Total Size = 0"},
        {"Tag", Member::kInt16, "Total Size = 2"},
    };
    for (const auto& row : rows) {
        Structure* const structure = Structure::create();
        structure->setName(row.name);
        structure->addMember(row.type, 1, "member");
        std::stringstream dump;
        EXPECT_EQ(Format::theFormat().write(*structure, dump), 0);
        EXPECT_EQ(structure->refCount(), 0) << "writing leaves it alone";
        for (const char* part : {row.name, row.part})
            EXPECT_NE(dump.str().find(part), std::string::npos) << dump.str();
        std::ostringstream expected;
        Debug::Print print(expected);
        Structure::Debug(structure, print);
        EXPECT_EQ(dump.str(), expected.str());
        const RefPtr<Structure> owner(structure);

        std::string errors = "earlier";
        EXPECT_EQ(Format::theFormat().read(dump, errors), nullptr);
        EXPECT_EQ(errors, "Cannot read the debug format");
        EXPECT_EQ(dump.tellg(), 0);
    }
    std::ostringstream description;
    Format::theFormat().getFormatDescription(description);
    EXPECT_EQ(description.str(),
              "\nThe Debug format will be self-explanatory\nas it dumps all of the  information "
              "about\nthe structure in a verbose format.");
}

}  // namespace
}  // namespace orbo::Data
