// What a plug-in registers works while it is loaded, and is gone behind it.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

using namespace orbo::Data;

namespace {

class Plugin {
  public:
    Plugin() : fLibrary(dlopen(METADATA_TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_TRUE(fLibrary) << dlerror();
    }
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;
    ~Plugin() {
        if (fLibrary) dlclose(fLibrary);
        EXPECT_FALSE(dlopen(METADATA_TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD)) << "still loaded";
    }

  private:
    void* fLibrary;
};

/// Everything that the registries hold.
std::string registered() {
    std::ostringstream out;
    for (const char* type : {"numeric", "pair", "string", "triple"}) {
        try {
            Index::creator(type);
            out << type << ' ';
        } catch (Index::eCreationErrors error) {
            EXPECT_EQ(error, Index::eCreatorNotFound);
        }
    }
    for (const StructureSerializer* format : StructureSerializer::allFormats())
        out << format->formatType() << ' ' << format << ' ';
    out << StructureSerializer::defaultFormat();
    for (const std::string& extension : Accessor::supportedExtensions()) out << ' ' << extension;
    return out.str();
}

struct PluginTest : testing::Test {
    void TearDown() override { EXPECT_EQ(registered(), fBefore); }

    const std::string fBefore = registered();
    std::string fErrors;
};

TEST_F(PluginTest, ComesAndGoesAnyNumberOfTimes) {
    for (int i = 0; i < 3; ++i) {
        const Plugin plugin;
        EXPECT_EQ(registered().substr(0, 27), "numeric pair string triple ");
        EXPECT_TRUE(StructureSerializer::formatByName("words"));
        EXPECT_EQ(Accessor::supportedExtensions().count("memo"), 1u);
    }
}

TEST_F(PluginTest, IndexTypeAddressesElements) {
    const Plugin plugin;
    const orbo::RefPtr<Structure> structure(new Structure("Voxel"));
    structure->addMember(Member::kFloat, 1, "density");
    Structure::registerStructure(*structure);
    const std::string head = "name fog\nindexType triple\nstructure Voxel\n";
    std::istringstream in(head + "1 10 3\n0.25\n1 2 3\n0.5\nendStream\n");
    const std::unique_ptr<Stream> stream(StreamSerializer::defaultFormat()->read(in, fErrors));
    Structure::deregisterStructure(*structure);
    ASSERT_TRUE(stream) << fErrors;

    EXPECT_EQ(stream->element(Index::doCreate("triple", " 1 10\t3")).str(0), "0.25");
    EXPECT_FALSE(stream->hasElement(Index(1)));
    EXPECT_FALSE(Index::doCreate("triple", "0 0 0") == Index::doCreate("string", "0 0 0"));
    EXPECT_THROW(Index::doCreate("triple", "1 2"), Index::eCreationErrors);
    // Ordered as numbers, not as text.
    std::ostringstream out;
    EXPECT_EQ(StreamSerializer::defaultFormat()->write(*stream, out, fErrors), 0) << fErrors;
    EXPECT_EQ(out.str(), head + "1 2 3\n0.5\n1 10 3\n0.25\nendStream\n");
}

TEST_F(PluginTest, FormatReadsAStatementOfAScene) {
    const Plugin plugin;
    const std::string scene = testing::TempDir() + "words.kx";
    std::ofstream(scene) << "//Quil ASCII 2016 scene\n"
                            "dataStructure -fmt \"words\" -as \"Point x y z\";\n";
    const std::unique_ptr<Accessor> accessor = Accessor::readFile(scene, fErrors);
    std::remove(scene.c_str());
    ASSERT_TRUE(accessor) << fErrors;
    ASSERT_EQ(accessor->structures().size(), 1u);
    const Structure& point = **accessor->structures().begin();
    EXPECT_STREQ(point.name(), "Point");
    EXPECT_EQ(point.memberCount(), 3u);
}

TEST_F(PluginTest, AccessorServesItsExtensionAndTheDefaultFormatGoesWithIt) {
    const Plugin plugin;
    StructureSerializer::setDefaultFormat(StructureSerializer::formatByName("words"));
    const std::unique_ptr<Accessor> accessor = Accessor::readFile("note.MEMO", fErrors);
    ASSERT_TRUE(accessor) << fErrors;
    EXPECT_TRUE(accessor->associations()[""].findChannel("note.MEMO"));
    EXPECT_FALSE(accessor->write(fErrors));
}

}  // namespace
