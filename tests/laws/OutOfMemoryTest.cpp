// Every allocation fails once, and every one from some point on: nothing leaks or is half done.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/IndexString.h>
#include <data/Structure.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "core/StructureRegistry.h"
#include "files/FileAccess.h"
#include "files/journal/Journal.h"
#include "laws/Allocations.h"

namespace orbo::Data {
namespace {

constexpr const char* kText =
    "channel\nname c\n"
    "stream\nname a\nstructure S\n0\n\"first text of some length\" 1 2\n7\n\"x\" 3 4\nendStream\n"
    "stream\nname b\nindexType string\nstructure S\nkey\n\"text\" 5 6\nendStream\n"
    "endChannel\nendAssociations\n";

std::string written(const Associations& associations) {
    std::ostringstream out;
    std::string errors;
    AssociationsSerializerRaw::theFormat().write(associations, out, errors);
    return out.str();
}

std::unique_ptr<Associations> readText() {
    std::istringstream in(kText);
    std::string errors;
    return std::unique_ptr<Associations>(AssociationsSerializerRaw::theFormat().read(in, errors));
}

void defineStructure() {
    std::istringstream in("name=S:string=label:float[2]=uv");
    std::string errors;
    const RefPtr<Structure> structure(StructureSerializerRaw::theFormat().read(in, errors));
    if (structure) Structure::registerStructure(*structure);
}

void edit(Associations& associations) {
    Channel channel = associations.channel("c");
    Stream* stream = channel.findDataStream("a");
    if (!stream) return;
    Stream* fresh = channel.setDataStream(Stream(stream->structure(), "fresh"));
    fresh->setElement(7, stream->element(0));
    for (unsigned int k = 200; k > 0; --k) fresh->emplaceElement(k);
    stream->setElement(3, stream->element(0));
    stream->reindexElement(3, 9);
    stream->swapElements(0, 9);
    stream->reserve(40);
    for (unsigned int k = 20; k < 90; ++k) stream->emplaceElement(k);
    stream->useDenseStorage(true);
    stream->setElement(300, stream->element(0));
    channel.renameDataStream("a", "z");
    channel.renameDataStream("b", "z");
    channel.addElement(IndexString("new"));
    const_cast<Structure&>(stream->structure()).addMember(Member::kString, 2, "late");
    stream->element(0);
    Associations copy(associations);
    copy.makeUnique();
    associations.setChannel(Channel("empty"));
}

// However they were left.
void expectCounted(Associations& associations) {
    for (const char* const name : {"a", "b", "fresh", "z"}) {
        Stream* stream = associations.channel("c").findDataStream(name);
        if (!stream) continue;
        EXPECT_EQ(std::distance(stream->begin(), stream->end()), stream->elementCount()) << name;
        EXPECT_TRUE(stream->emplaceElement(1000U).hasData());
        EXPECT_EQ(std::distance(stream->begin(), stream->end()), stream->elementCount()) << name;
    }
}

// Runs once for every allocation the scenario makes, in what `prepare` made without failures;
// `check` sees what was left each time.
template <typename Prepare, typename Scenario, typename Check>
void failEachAllocation(Prepare prepare, Scenario scenario, Check check) {
    for (const bool forGood : {false, true}) {
        unsigned long failures = 0;
        for (unsigned long n = 1; n == failures + 1; ++n) {
            const auto structures = Structure::objectsAlive();
            const auto handles = Handle::objectsAlive();
            Allocations::failForGood = forGood;
            {
                StructureRegistry::SetAside aside;
                prepare();
                Allocations::untilFailure = n;
                try {
                    scenario();
                } catch (const std::bad_alloc&) {
                }
                Allocations::untilFailure = 0;
                if (std::exchange(Allocations::haveFailed, false)) ++failures;
                check();
            }
            ASSERT_EQ(Structure::objectsAlive(), structures) << "allocation " << n;
            ASSERT_EQ(Handle::objectsAlive(), handles) << "allocation " << n;
            ASSERT_LT(n, 100000U);
        }
        EXPECT_GT(failures, 40U) << "the scenario allocates";
        std::cout << failures << " allocations failed, each "
                  << (forGood ? "for good\n" : "once\n");
    }
}

TEST(OutOfMemory, EditingLeavesSoundElements) {
    std::unique_ptr<Associations> edited;
    const auto prepare = [&] {
        defineStructure();
        edited = readText();
    };
    failEachAllocation(
        prepare, [&] { edit(*edited); },
        [&] {
            expectCounted(*edited);
            // Each element can be read and freed, whatever was cut short.
            EXPECT_NE(written(*edited).find("endAssociations"), std::string::npos);
            edited.reset();
        });
}

TEST(OutOfMemory, SettingStringsKeepsTheOldOnesAndLosesNone) {
    using Pair = std::array<std::string_view, 2>;
    constexpr Pair kTexts[] = {{"the first text of some length", "and one"},
                               {"another text, which is longer than the first", ""},
                               {"a", "the last text of some length"}};
    constexpr std::size_t kSteps = 15;
    std::size_t before = Allocations::inUse();
    std::optional<Handle> handle;
    Pair label;
    Pair pair;
    const auto prepare = [&] {
        before = Allocations::inUse();
        const RefPtr<Structure> structure(new Structure("T"));
        structure->addMember(Member::kString, 1, "label");
        structure->addMember(Member::kString, 2, "a name that is longer than a short string");
        handle.emplace(*structure);
        label[0] = pair[0] = pair[1] = "old";
        handle->set("label", label[0]);
        handle->set("a name that is longer than a short string", pair);
    };
    const auto scenario = [&] {
        for (std::size_t step = 0; step < kSteps; ++step) {
            const Pair& texts = kTexts[step % std::size(kTexts)];
            handle->set("label", texts[0]);
            label = texts;
            handle->set("a name that is longer than a short string", texts);
            pair = texts;
        }
    };
    const auto check = [&] {
        EXPECT_EQ(handle->get<std::string_view>("label"), label[0]);
        EXPECT_EQ(handle->get<Pair>("a name that is longer than a short string"), pair);
        handle.reset();
        EXPECT_EQ(Allocations::inUse(), before);
    };
    prepare();
    check();
    failEachAllocation(prepare, scenario, check);
}

/// A real file, as descriptors can leak, too.
class OutOfMemoryOnDisk : public testing::Test {
  protected:
    OutOfMemoryOnDisk() {
        std::string name = (std::filesystem::temp_directory_path() / "memory-XXXXXX").string();
        fFolder = ::mkdtemp(name.data());
        fScene = fFolder / "scene.kx";
        fJournal = Files::Journal::pathFor(fScene.string());
        put(fScene, kFront + "// End of scene.kx\n");
        EXPECT_TRUE(edited(false)->write(fErrors)) << fErrors;
        fOld = get(fScene);
        EXPECT_TRUE(edited(true)->write(fErrors)) << fErrors;
        fNew = get(fScene);
    }
    ~OutOfMemoryOnDisk() override { std::filesystem::remove_all(fFolder); }

    static void put(const std::filesystem::path& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
    }
    static std::string get(const std::filesystem::path& path) {
        std::ostringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        return bytes.str();
    }
    static std::ptrdiff_t openFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    /// What has been read from the scene, or with another node in place of one.
    std::unique_ptr<Accessor> edited(bool withOther) {
        auto accessor = Accessor::accessorByExtension(fScene.string());
        accessor->setWritePolicy(WritePolicy::careful());
        EXPECT_TRUE(accessor->read(fScene.string(), fErrors)) << fErrors;
        const StructureRegistry::SetAside aside;
        defineStructure();
        const std::unique_ptr<Associations> read = readText();
        accessor->associations()["node"] = *read;
        accessor->associations()[withOther ? "another" : "one"] = *read;
        accessor->associations().erase(withOther ? "one" : "another");
        return accessor;
    }
    /// As a kill leaves them in the middle of a write.
    void interrupt() {
        put(fScene, fNew.substr(0, (fOld.size() + fNew.size()) / 2));
        std::error_code error;
        const auto journal = Files::FileSystem::current().create(fJournal, {}, error);
        const std::size_t same = kFront.size();
        const std::string_view all = fNew;
        ASSERT_TRUE(journal &&
                    Files::Journal::write(
                        *journal, fScene.string(),
                        {{same, std::string_view(fOld).substr(same), {all.substr(same)}}}));
    }

    const std::string kFront = "//Quil ASCII 2016 scene\ncreateNode transform -n \"node\";\n";
    std::filesystem::path fFolder;
    std::filesystem::path fScene;
    std::string fJournal;
    std::string fOld;
    std::string fNew;
    std::string fErrors;
};

TEST_F(OutOfMemoryOnDisk, WritingLeavesTheOldSceneOrTheNewOne) {
    std::unique_ptr<Accessor> accessor;
    bool done = false;
    const std::ptrdiff_t open = openFiles();
    const auto prepare = [&] {
        put(fScene, fOld);
        accessor = edited(true);
        done = false;
    };
    const auto check = [&] {
        EXPECT_EQ(openFiles(), open);
        EXPECT_TRUE(Structure::allStructures().empty());
        EXPECT_TRUE(edited(false)->read(fScene.string(), fErrors)) << fErrors;
        const std::string found = get(fScene);
        EXPECT_TRUE(found == (done ? fNew : fOld) ||
                    fErrors.find("The change is made") != std::string::npos);
        accessor->setWritePolicy({});
        EXPECT_TRUE(accessor->write(fErrors)) << fErrors;
        EXPECT_EQ(get(fScene), fNew);
        EXPECT_FALSE(std::filesystem::exists(fJournal));
        accessor.reset();
    };
    failEachAllocation(
        prepare, [&] { done = accessor->write(fErrors); }, check);
}

TEST_F(OutOfMemoryOnDisk, RecoveringIsDoneOrIsLeftToTheNext) {
    std::unique_ptr<Accessor> accessor;
    bool done = false;
    const std::ptrdiff_t open = openFiles();
    const auto prepare = [&] {
        interrupt();
        accessor = Accessor::accessorByExtension(fScene.string());
        done = false;
        fErrors.clear();
    };
    const auto check = [&] {
        EXPECT_EQ(openFiles(), open);
        EXPECT_TRUE(Structure::allStructures().empty());
        EXPECT_TRUE(!done || accessor->associations().size() == 2) << fErrors;
        accessor.reset();
        edited(false);
        EXPECT_EQ(get(fScene), fOld);
        EXPECT_FALSE(std::filesystem::exists(fJournal));
    };
    failEachAllocation(
        prepare, [&] { done = accessor->read(fScene.string(), fErrors); }, check);
}

}  // namespace
}  // namespace orbo::Data
