// The example of a plug-in adds a kind of scene: it gets all that the library's own kinds have.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>
#include <data/SceneAccessor.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>

using namespace orbo::Data;

namespace {

const std::string kPoint = "structure\traw\tname=Point:int32=x";

/// Associations with one stream of one point.
std::string node(const std::string& name, const std::string& number) {
    return "associations\traw\t" + name +
           "\tchannel\\nname c\\nstream\\nname s\\nindexType numeric\\nstructure Point\\n0\\n" +
           number + "\\nendStream\\nendChannel\\nendAssociations\\n";
}

std::string textOf(const Associations& associations) {
    std::ostringstream out;
    std::string errors;
    AssociationsSerializer::defaultFormat()->write(associations, out, errors);
    return out.str() + errors;
}

class ExamplePluginTest : public testing::Test {
  protected:
    ExamplePluginTest() : fLibrary(dlopen(METADATA_EXAMPLE_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_TRUE(fLibrary) << dlerror();
        fAccessor = Accessor::accessorByExtension(fName);
    }
    ~ExamplePluginTest() override {
        fAccessor.reset();
        std::remove(fName.c_str());
        if (fLibrary) dlclose(fLibrary);
        EXPECT_EQ(Accessor::supportedExtensions().count("meta"), 0u);
    }

    void makeFile(const std::string& bytes) { std::ofstream(fName, std::ios::binary) << bytes; }
    [[nodiscard]] std::string file() const {
        std::ostringstream bytes;
        bytes << std::ifstream(fName, std::ios::binary).rdbuf();
        return bytes.str();
    }
    bool read(const std::set<std::string>* structures = nullptr,
              const std::set<std::string>* nodes = nullptr) {
        fErrors.clear();
        return fAccessor->read(fName, structures, nodes, fErrors);
    }
    bool write() {
        fErrors.clear();
        return fAccessor->write(fErrors);
    }
    void set(const std::string& node, int number) {
        Stream& stream = *fAccessor->associations().at(node).findChannel("c")->findDataStream("s");
        Handle handle(stream.structure());
        *handle.asInt32() = number;
        stream.setElement(Index(0), handle);
    }
    /// Sets the number of n1 and writes, then undoes that.
    void expectUndone(const std::string& changed) {
        const std::string before = file();
        fAccessor->setWritePolicy(WritePolicy::careful());
        ASSERT_TRUE(read()) << fErrors;
        set("n1", 9);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), changed);
        set("n1", 7);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), before);
    }

    void* const fLibrary;
    // Tests run side by side.
    const std::string fName = testing::TempDir() +
                              testing::UnitTest::GetInstance()->current_test_info()->name() +
                              std::to_string(::getpid()) + ".meta";
    std::unique_ptr<Accessor> fAccessor;
    std::string fErrors;
};

TEST_F(ExamplePluginTest, KeepsLinesOfOthersWhereTheyAre) {
    for (const std::string& end : {std::string("\n"), std::string("\r\n")}) {
        const auto lines = [&end](const std::string& number) {
            std::string all = "#meta" + end + "# A comment." + end + kPoint + end + end;
            all += "note\tof another program" + end + node("n1", number) + end;
            all += "associations\tcut off" + end + "# And\rone." + end + node("n2", "8");
            return all;
        };
        for (const std::string& last : {std::string(), end, end + "# The end.", end + end}) {
            makeFile(lines("7") + last);
            expectUndone(lines("9") + last);
        }
    }
}

TEST_F(ExamplePluginTest, TakesOutAndPutsInRecords) {
    for (const std::string last : {"", "\n"}) {
        const std::string lines = "#meta\n" + kPoint + '\n' + node("n1", "7");
        makeFile(lines + '\n' + node("n2", "8") + last);
        ASSERT_TRUE(read()) << fErrors;
        const Associations n2 = fAccessor->associations().at("n2");
        fAccessor->associations().erase("n2");
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), lines + last);
        fAccessor->associations().emplace("n2", n2);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), lines + '\n' + node("n2", "8") + last);
    }
    makeFile("#meta");
    EXPECT_TRUE(read()) << fErrors;
    EXPECT_TRUE(fAccessor->associations().empty());
}

TEST_F(ExamplePluginTest, ReadsWhatIsAskedFor) {
    makeFile("#meta\n" + kPoint + '\n' + node("", "1") + '\n' + node("n1", "7") + '\n');
    const std::set<std::string> none;
    const std::set<std::string> scene{""};
    ASSERT_TRUE(read(&none, &scene)) << fErrors;
    EXPECT_TRUE(fAccessor->structures().empty());
    EXPECT_EQ(fAccessor->associations().size(), 1u);
    const std::set<std::string> point{"Point"};
    ASSERT_TRUE(read(&point, &none)) << fErrors;
    EXPECT_EQ(fAccessor->structures().size(), 1u);
    EXPECT_TRUE(fAccessor->associations().empty());
}

TEST_F(ExamplePluginTest, NoticesWhatOthersWroteMeanwhile) {
    const std::string lines = "#meta\n" + kPoint + '\n' + node("n1", "7") + '\n';
    fAccessor->setWritePolicy(WritePolicy::careful());
    const std::set<std::string> point{"Point"};
    const std::set<std::string> none;
    for (const bool readsAll : {true, false}) {
        makeFile(lines);
        ASSERT_TRUE(readsAll ? read() : read(&point, &none)) << fErrors;
        makeFile(lines + node("n3", "1") + '\n');
        fAccessor->associations()["n4"].channel("c");
        EXPECT_FALSE(write());
        EXPECT_TRUE(fAccessor->metConflict()) << fErrors;
        EXPECT_EQ(file(), lines + node("n3", "1") + '\n');
    }
    // Lines of others are no conflict, wherever a read has ended.
    for (const bool readsAll : {true, false}) {
        makeFile(lines);
        ASSERT_TRUE(readsAll ? read() : read(&point, &none)) << fErrors;
        makeFile(lines + "# Not metadata.\n");
        fAccessor->associations()["n4"].channel("c");
        EXPECT_TRUE(write()) << fErrors;
    }
}

TEST_F(ExamplePluginTest, ChecksWithLines) {
    makeFile("#meta\n\n" + kPoint + "\nassociations\traw\tn2\tbad\\escape\nassociations\traw\n");
    const std::vector<Finding> findings = fAccessor->check(fName);
    ASSERT_EQ(findings.size(), 2u);
    for (std::size_t i = 0; i < findings.size(); ++i) {
        EXPECT_EQ(findings[i].line, 4 + i);
        EXPECT_EQ(findings[i].code, Finding::Code::kStatementUnreadable);
    }
    makeFile("meta\n");
    const std::vector<Finding> none = fAccessor->check(fName);
    ASSERT_EQ(none.size(), 1u);
    EXPECT_EQ(none[0].code, Finding::Code::kNotAScene);
}

TEST_F(ExamplePluginTest, WritesNothingWithoutAnEdit) {
    makeFile("#meta\n" + node("n1", " 7") + "\n# A comment.\n" + kPoint + '\n' + node("n1", "8"));
    fAccessor->setWritePolicy(WritePolicy::careful());
    struct stat before = {};
    struct stat after = {};
    const std::set<std::string> n1{"n1"};
    for (const bool readsAll : {true, false}) {
        ASSERT_TRUE(readsAll ? read() : read(nullptr, &n1)) << fErrors;
        ASSERT_EQ(::stat(fName.c_str(), &before), 0);
        EXPECT_TRUE(write()) << fErrors;
        ASSERT_EQ(::stat(fName.c_str(), &after), 0);
        EXPECT_EQ(before.st_ino, after.st_ino);
        EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
        EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
    }
}

// Names and texts of any characters come back as they were.
TEST_F(ExamplePluginTest, CarriesAnyCharacters) {
    std::mt19937 random(24);
    const std::string characters("\\\n\r\t#anrt \"\0;:\xC3\xA4", 15);
    const auto anyText = [&] {
        std::string text;
        for (auto left = random() % 9 + 1; left > 0; --left) {
            text += characters[random() % characters.size()];
        }
        return text;
    };
    const orbo::RefPtr<Structure> note(new Structure("Note"));
    note->addMember(Member::kString, 1, "text");
    WritePolicy policy;
    policy.durable = false;
    fAccessor->setWritePolicy(policy);
    for (int round = 0; round < 100; ++round) {
        makeFile(round % 2 ? "#meta\r\n# A comment." : "#meta");
        ASSERT_TRUE(read()) << fErrors;
        fAccessor->setStructures({note.get()});
        for (int nodes = 0; nodes < 4; ++nodes) {
            Stream stream(*note, "s");
            Handle handle(*note);
            *handle.asString() = strdup(anyText().c_str());
            stream.setElement(Index(0), handle);
            fAccessor->associations()[anyText()].channel("c").setDataStream(stream);
        }
        const auto model = fAccessor->associations();
        ASSERT_TRUE(write()) << fErrors;
        ASSERT_TRUE(read()) << fErrors;
        ASSERT_EQ(fAccessor->associations().size(), model.size()) << file();
        for (const auto& [name, associations] : model) {
            ASSERT_EQ(fAccessor->associations().count(name), 1u) << name;
            ASSERT_EQ(textOf(fAccessor->associations().at(name)), textOf(associations));
        }
    }
}

}  // namespace
