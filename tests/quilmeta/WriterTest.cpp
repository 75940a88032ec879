// Elements as JSON, and files that appear complete or not at all.
// SPDX-License-Identifier: Apache-2.0
#include "JsonDocument.h"
#include "NewFile.h"
#include "Trouble.h"

#include <data/StreamSerializerRaw.h>
#include <data/Structure.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

namespace orbo::Quilmeta {
namespace {

namespace fs = std::filesystem;

class WriterTest : public testing::Test {
  protected:
    WriterTest() {
        std::string pattern = testing::TempDir() + "quilmetaXXXXXX";
        fFolder = ::mkdtemp(pattern.data());
        std::ofstream(path("scene")) << "the scene";
    }
    ~WriterTest() override { fs::remove_all(fFolder); }

    std::string path(const char* name) const { return (fFolder / name).string(); }
    std::string content(const char* name) const {
        std::ostringstream out;
        out << std::ifstream(path(name)).rdbuf();
        return out.str();
    }
    /// What is in the file then, or what is said about it.
    std::string create(
        const char* name,
        const std::function<void(Output&)>& write = [](Output& output) { output.write("new"); }) {
        try {
            NewFile file(path(name), path("scene"));
            write(file.output());
            file.commit();
        } catch (const Trouble& trouble) {
            const std::string what = trouble.what();
            return what.substr(what.find("\" ") + 2);
        }
        return content(name);
    }

    fs::path fFolder;
};

/// Both in the text format; the text's last element may lack values.
Data::Stream stream(const std::string& structure, const std::string& elements) {
    std::istringstream in(structure);
    std::string errors;
    const RefPtr<Data::Structure> made(Data::StructureSerializerRaw::theFormat().read(in, errors));
    Data::Structure::registerStructure(*made);
    in = std::istringstream(std::string("name s\nstructure ") + made->name() + "\n" + elements);
    std::unique_ptr<Data::Stream> read(Data::StreamSerializerRaw::theFormat().read(in, errors));
    Data::Structure::deregisterStructure(*made);
    EXPECT_TRUE(read) << errors;
    return *read;
}

TEST_F(WriterTest, JsonShapesValuesByTheirLength) {
    const std::string matrix = "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 ";
    const std::string list = "[1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16]";
    const Data::Stream named =
        stream("name=S:flt4x4=one:dbl4x4[2]=m:string=t:float[2]=two:string[2]=n",
               "0\n" + matrix + matrix + matrix + "\"\xFF\" 0.1 1e30");
    // A key cannot be an object, so the values of names that are no UTF-8 become a list.
    const Data::Stream nameless = stream("name=T:int8=a\xFF:bool=b", "0\n1 t\n");
    const SceneView view{{&nameless.structure()},
                         {{"", {{Data::Channel("c"), {named, nameless}}}}}};
    const std::string text =
        create("out", [&](Output& output) { JsonDocument(output).write(view); });
    for (const std::string& part :
         {"\"one\": " + list + ", \"m\": [" + list + ", " + list +
              "], \"t\": { \"base64\": \"/w==\" }",
          std::string("\"two\": [0.1, 1e+30], \"n\": [null, null] } }\n"),
          std::string("\"values\": [ 1, true ] }\n"),
          std::string("{ \"name\": { \"base64\": \"Yf8=\" }, \"type\": \"int8\"")})
        EXPECT_NE(text.find(part), std::string::npos) << part << text;
}

TEST_F(WriterTest, NewFilesAppearWhenTheyAreComplete) {
    const fs::perms mine = fs::perms::owner_read | fs::perms::owner_write;
    std::ofstream(path("old")) << "old";
    fs::permissions(path("old"), mine);
    {
        NewFile file(path("old"), path("scene"));
        file.output().write("new");
        file.output().flush();
    }
    EXPECT_EQ(content("old"), "old");
    EXPECT_EQ(create("old"), "new");
    EXPECT_EQ(fs::status(path("old")).permissions(), mine);
    EXPECT_EQ(std::distance(fs::directory_iterator(fFolder), {}), 2);

    fs::create_hard_link(path("scene"), path("hard"));
    EXPECT_EQ(create("hard"), "is the scene itself");
    fs::create_symlink("nowhere", path("dangling"));
    EXPECT_EQ(create("dangling"), "is a symbolic link that leads nowhere");
    EXPECT_EQ(content("scene"), "the scene");
}

}  // namespace
}  // namespace orbo::Quilmeta
