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

/// Everything that the registries hold, on one line each.
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
    out << '\n';
    for (const StructureSerializer* format : StructureSerializer::allFormats())
        out << format->formatType() << ' ' << format << '\n';
    for (const StreamSerializer* format : StreamSerializer::allFormats())
        out << format->formatType() << ' ' << format << '\n';
    out << StructureSerializer::defaultFormat() << ' ' << StreamSerializer::defaultFormat() << '\n';
    for (const std::string& extension : Accessor::supportedExtensions()) out << extension << ' ';
    return out.str();
}

class PluginTest : public testing::Test {
  protected:
    void SetUp() override { fBefore = registered(); }
    void TearDown() override { EXPECT_EQ(registered(), fBefore); }

    std::string fBefore;
};

std::string errors;

TEST_F(PluginTest, EverythingIsRegisteredWhileLoaded) {
    const Plugin plugin;
    EXPECT_EQ(registered().substr(0, 27), "numeric pair string triple ");
    EXPECT_TRUE(StructureSerializer::formatByName("words"));
    EXPECT_TRUE(StreamSerializer::formatByName("words"));
    EXPECT_EQ(Accessor::supportedExtensions().count("memo"), 1u);
}

TEST_F(PluginTest, IndexTypeAddressesElements) {
    const Plugin plugin;
    orbo::RefPtr<Structure> structure(Structure::create());
    structure->setName("Voxel");
    structure->addMember(Member::kFloat, 1, "density");
    Structure::registerStructure(*structure);

    const std::string text =
        "name fog\nindexType triple\nstructure Voxel\n1 2 3\n0.5\n1 10 3\n0.25\nendStream\n";
    std::istringstream in(text);
    const std::unique_ptr<Stream> stream(StreamSerializer::defaultFormat()->read(in, errors));
    Structure::deregisterStructure(*structure);
    ASSERT_TRUE(stream) << errors;

    EXPECT_EQ(stream->elementCount(), 2u);
    EXPECT_EQ(stream->element(Index::doCreate("triple", " 1 10\t3")).str(0), "0.25");
    EXPECT_FALSE(stream->hasElement(Index(1)));
    EXPECT_THROW(Index::doCreate("triple", "1 2"), Index::eCreationErrors);

    std::ostringstream out;
    EXPECT_EQ(StreamSerializer::defaultFormat()->write(*stream, out, errors), 0) << errors;
    EXPECT_EQ(out.str(), text);
    // The plug-in's format, on the plug-in's indices: ordered as numbers, not as text.
    std::ostringstream words;
    EXPECT_EQ(StreamSerializer::formatByName("words")->write(*stream, words, errors), 0);
    EXPECT_EQ(words.str(), "fog (1 2 3) (1 10 3)");
}

TEST_F(PluginTest, TypedIndicesOfDifferentMakersKeepApart) {
    const Plugin plugin;
    const Index triple = Index::doCreate("triple", "0 0 0");
    const Index text = Index::doCreate("string", "0 0 0");
    EXPECT_FALSE(triple == text);
    EXPECT_TRUE(text < triple);
    EXPECT_TRUE(triple > text);
    EXPECT_EQ(Index(triple).asString(), "0 0 0");
}

TEST_F(PluginTest, FormatReadsAStatementOfAScene) {
    const Plugin plugin;
    const std::string scene = testing::TempDir() + "words.kx";
    std::ifstream bare(METADATA_SCENES_DIR "/bare.kx");
    std::stringstream text;
    text << bare.rdbuf();
    std::string lines = text.str();
    lines.insert(lines.rfind("// End of"), "dataStructure -fmt \"words\" -as \"Point x y z\";\n");
    std::ofstream(scene) << lines;

    const std::unique_ptr<Accessor> accessor = Accessor::readFile(scene, errors);
    std::remove(scene.c_str());
    ASSERT_TRUE(accessor) << errors;
    ASSERT_EQ(accessor->structures().size(), 1u);
    const Structure& point = **accessor->structures().begin();
    EXPECT_STREQ(point.name(), "Point");
    EXPECT_EQ(point.memberCount(), 3u);
}

TEST_F(PluginTest, AccessorServesItsExtension) {
    const Plugin plugin;
    const std::unique_ptr<Accessor> accessor = Accessor::readFile("note.MEMO", errors);
    ASSERT_TRUE(accessor) << errors;
    EXPECT_TRUE(accessor->associations()[""].findChannel("note.MEMO"));
    EXPECT_FALSE(accessor->write(errors));
}

TEST_F(PluginTest, ComesAndGoesAnyNumberOfTimes) {
    for (int i = 0; i < 3; ++i) {
        const Plugin plugin;
        EXPECT_NE(registered(), fBefore);
    }
}

TEST_F(PluginTest, DefaultFormatFallsBackWhenItsPluginGoes) {
    const StructureSerializer* raw = StructureSerializer::defaultFormat();
    {
        const Plugin plugin;
        StructureSerializer::setDefaultFormat(StructureSerializer::formatByName("words"));
    }
    EXPECT_EQ(StructureSerializer::defaultFormat(), *StructureSerializer::allFormats().begin());
    StructureSerializer::setDefaultFormat(raw);
}

}  // namespace
