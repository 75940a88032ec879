// What holds for both kinds of scenes, on real ones: nothing is lost, in either direction.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/StructureSerializerRaw.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>

#include "accessors/BinaryScene.h"
#include "accessors/SceneTest.h"
#include "files/ScriptedFileSystem.h"

namespace orbo::Data {
namespace {

class SceneKinds : public testing::Test {
  protected:
    SceneKinds() {
        for (const std::string name : {"teapot.kx", "teapot.ky", "bare.kx", "bare.ky"}) {
            std::ostringstream bytes;
            bytes << std::ifstream(METADATA_SCENES_DIR "/" + name, std::ios::binary).rdbuf();
            fSystem.files[name] = bytes.str();
        }
    }

    std::unique_ptr<Accessor> read(const std::string& name) {
        std::string errors;
        auto scene = Accessor::readFile(name, errors);
        EXPECT_TRUE(scene) << errors;
        EXPECT_TRUE(errors.empty() || errors == "A change that was cut short has been undone");
        return scene;
    }
    static void write(const Accessor& scene) {
        std::string errors;
        EXPECT_TRUE(scene.write(errors)) << errors;
    }
    /// All that the scene's metadata says.
    static std::string textOf(const Accessor& scene) {
        std::ostringstream text;
        std::string errors;
        for (const Structure* structure : scene.structures()) {
            StructureSerializerRaw::theFormat().write(*structure, text);
        }
        for (const auto& [node, associations] : scene.associations()) {
            text << "node " << node << '\n';
            AssociationsSerializerRaw::theFormat().write(associations, text, errors);
        }
        return text.str();
    }
    static void copy(const Accessor& from, Accessor& to) {
        to.setStructures(from.structures());
        to.associations() = from.associations();
    }

    Files::ScriptedFileSystem fSystem;
    Files::FileSystem::Replacement fReplaced{fSystem};
};

// Where the metadata begins; in front of it only the sizes of a binary scene may change.
std::size_t frontOf(const std::string& bytes, const std::string& name) {
    return name.back() == 'x' ? bytes.find("\ndataStructure ") : bytes.find("DATS");
}
std::string withoutSizes(std::string front, const std::string& name) {
    if (name.back() == 'x') return front;
    return front.erase(front.rfind("TRLR") - 8, 8).erase(8, 8);
}

Stream& stream(Accessor& scene, const char* node, const char* channel, const char* name) {
    return *scene.associations().at(node).findChannel(channel)->findDataStream(name);
}

const std::function<void(Accessor&)> kEdits[] = {
    [](Accessor& scene) {
        Handle lid = stream(scene, "rig", "joints", "bind pose").element(IndexString("lid"));
        EXPECT_TRUE(lid.setPositionByMemberName("side"));
        ++*lid.asInt8();
    },
    [](Accessor& scene) {
        Stream& crease = stream(scene, "teapotShape", "edge", "crease");
        crease.setElement(IndexPair(123456, 654321), Handle(crease.structure()));
    },
    [](Accessor& scene) { stream(scene, "", "externalContentTable", "v1.0").removeElement(3); },
    [](Accessor& scene) { scene.associations().erase("rig"); },
    [](Accessor& scene) { scene.associations()["other"] = scene.associations().at("rig"); },
    [](Accessor& scene) {
        Accessor::StructureSet left = scene.structures();
        left.erase(std::prev(left.end()));  // what only the scene's own table has
        scene.setStructures(left);
        scene.associations().erase("");
    },
    [](Accessor& scene) { scene.clear(); },
    [](Accessor&) {},
};

TEST_F(SceneKinds, EditAndUndoGivesTheOriginalBytes) {
    for (const std::string name : {"teapot.kx", "teapot.ky"}) {
        std::string& bytes = fSystem.files[name];
        const std::string original = bytes;
        const std::size_t front = frontOf(original, name);
        for (std::size_t i = 0; i < std::size(kEdits); ++i) {
            SCOPED_TRACE(name + ", edit " + std::to_string(i));
            const auto before = read(name);
            const auto edited = read(name);
            kEdits[i](*edited);
            write(*edited);
            const std::string once = bytes;
            EXPECT_EQ(once == original, textOf(*edited) == textOf(*before));
            EXPECT_EQ(withoutSizes(once.substr(0, front), name),
                      withoutSizes(original.substr(0, front), name));
            EXPECT_EQ(textOf(*read(name)), textOf(*edited));
            write(*edited);
            EXPECT_EQ(bytes, once) << "writing twice";

            copy(*before, *edited);
            write(*edited);
            EXPECT_EQ(bytes, original);
        }
    }
    fSystem.bytesWritten = 0;
    write(*read("teapot.kx"));
    write(*read("teapot.ky"));
    EXPECT_EQ(fSystem.bytesWritten, 0U) << "nothing to change";
}

TEST_F(SceneKinds, AFailingCallLeavesTheOldFileOrTheNewOne) {
    const std::string tag = oneStream("A", "0\n7\n");
    fSystem.files["small.kx"] = sceneFront() + statements("A n1 n2 own") + kLastLine;
    fSystem.files["small.ky"] =
        BinaryScene(chunk("REFS", "") + structureChunk("name=A:int32=x") + nodeChunk("", tag) +
                    nodeChunk("n1", tag) + nodeChunk("n2", tag))
            .bytes();
    const std::function<void(Accessor&)> edits[] = {
        [](Accessor& scene) { ++*stream(scene, "n1", "c", "s").element(0).asInt32(); },
        [](Accessor& scene) { *stream(scene, "n1", "c", "s").element(0).asInt32() = 1234567; },
        [](Accessor& scene) { scene.associations().erase("n1"); },
        [](Accessor& scene) { scene.clear(); },
    };
    for (const std::string name : {"small.kx", "small.ky"}) {
        std::string& bytes = fSystem.files[name];
        const std::string original = bytes;
        for (const auto& edit : edits) {
            for (const bool fromThenOn : {false, true}) {
                bool done = false;
                int n = 0;
                for (; !done; ++n) {
                    SCOPED_TRACE(name + ", call " + std::to_string(n));
                    bytes = original;
                    const auto scene = read(name);
                    edit(*scene);
                    fSystem.failAt(n, fromThenOn);
                    std::string errors;
                    done = scene->write(errors);
                    fSystem.fails = [](Files::Call) { return false; };
                    EXPECT_EQ(errors.empty(), done);
                    const bool torn = errors.find("could not be put back") != std::string::npos;
                    EXPECT_TRUE(fromThenOn || !torn);
                    const bool isMade = errors.find("The change is made") == 0;
                    read(name);
                    EXPECT_TRUE(torn || (bytes == original) == (!done && !isMade));
                    write(*scene);
                    EXPECT_EQ(textOf(*read(name)), textOf(*scene)) << "nothing was lost on the way";
                }
                EXPECT_GT(n, 20);
            }
        }
    }
}

TEST_F(SceneKinds, HoldTheSameMetadata) {
    const auto text = read("teapot.kx");
    EXPECT_EQ(textOf(*read("teapot.ky")), textOf(*text));
    const auto binary = read("bare.ky");
    copy(*text, *binary);
    write(*binary);
    const auto back = read("bare.kx");
    copy(*read("bare.ky"), *back);
    write(*back);
    EXPECT_EQ(textOf(*read("bare.kx")), textOf(*text));
    const std::string& bare = fSystem.files["bare.kx"];
    const std::string& teapot = fSystem.files["teapot.kx"];
    const auto section = [](const std::string& bytes) {
        const std::size_t begin = bytes.find("\ndataStructure ");
        return bytes.substr(begin, bytes.find("\n// End of") - begin);
    };
    EXPECT_EQ(section(bare), section(teapot));
}

}  // namespace
}  // namespace orbo::Data
