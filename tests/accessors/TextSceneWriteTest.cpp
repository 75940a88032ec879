// What a write keeps, replaces and drops in a text scene.
// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <fstream>
#include <functional>
#include <sstream>

#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

const std::string kA = structureStatement("name=A:int32=x");
const std::string kOtherA = structureStatement("name=A:float=y");
const std::string kThirdA = structureStatement("name=A:int32=x:int32=z");
const std::string kBadA = structureStatement("name=A:bogus=x");
const std::string kLateBadA = structureStatement("bogus=x: name = A");
const std::string kB = structureStatement("name=B:string=s");
const std::string kXmlA = "dataStructure -fmt \"xml\" -as \"name=A:int32=x\";\n";

std::string node(const std::string& name, int value) {
    return nodeStatement(name, oneStream("A", "0\n" + std::to_string(value) + "\n"));
}
const std::string kN1 = node("n1", 7);
const std::string kN1Again = node("n1", 8);
const std::string kBadN1 = nodeStatement("n1", "nonsense");
const std::string kN2 = node("n2", 7);
const std::string kOwn = node("-scn", 7);
const std::string kNoTarget = "applyMetadata -fmt \"raw\" -v \"\" \n\t\t;\n";
const std::string kOpen = "applyMetadata -fmt \"raw\" -v \"\"\n";

void nothing(Accessor&) {}
void setN1(Accessor& accessor) { setNumber(accessor, "n1", 0, 9); }
void removeN1(Accessor& accessor) { accessor.associations().erase("n1"); }
void removeA(Accessor& accessor) { removeStructure(accessor, "A"); }
void copyN1ToN2(Accessor& accessor) {
    accessor.associations()["n2"] = accessor.associations().at("n1");
}
void touchN2(Accessor& accessor) { (void)accessor.associations()["n2"]; }
void emptyN1(Accessor& accessor) { accessor.associations()["n1"] = Associations(); }

class TextSceneWrite : public SceneTest {
  protected:
    /// A further write, of the same accessor or of one that reads anew, changes nothing.
    void expectStable() {
        const std::string once = file();
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), once) << "second write";
        QuilAsciiFileAccessor other;
        ASSERT_TRUE(other.read("scene.kx", fErrors));
        ASSERT_TRUE(other.write(fErrors)) << fErrors;
        EXPECT_EQ(file(), once) << "write of another accessor";
    }
};

struct Row {
    const char* name;
    std::string before;
    std::function<void(Accessor&)> edit;
    std::string after;
};

TEST_F(TextSceneWrite, Decisions) {
    const Row rows[] = {
        {"nothing new", kA + kB + kN1 + kN2 + kOwn, nothing, kA + kB + kN1 + kN2 + kOwn},
        {"order", kOwn + kN2 + kB + kN1 + kA, nothing, kA + kB + kN1 + kN2 + kOwn},
        {"changed", kA + kN1 + kOwn, setN1, kA + node("n1", 9) + kOwn},
        {"new", kA + kN1, copyN1ToN2, kA + kN1 + kN2},
        {"removed", kA + kN1 + kN2, removeN1, kA + kN2},
        {"emptied", kA + kN1 + kN2, emptyN1, kA + kN2},
        {"structure removed", kA + kB + kN1, removeA, kB + kN1},
        {"all removed", kA, removeA, ""},

        {"structure repeated", kA + kA + kN1, nothing, kA + kN1},
        {"structure repeated, removed", kA + kA + kN1, removeA, kN1},
        {"other structure of the name", kA + kOtherA + kN1, nothing, kA + kOtherA + kN1},
        {"others, winner removed", kA + kOtherA + kA + kThirdA, removeA, kOtherA + kThirdA},
        {"unreadable structure", kBadA + kB, nothing, kBadA + kB},
        {"unreadable namesake", kBadA + kA + kB + kN1, nothing, kA + kB + kBadA + kN1},
        {"unreadable, named last", kLateBadA + kA + kN1, nothing, kA + kLateBadA + kN1},
        {"unknown format", kXmlA + kA + kN1, nothing, kA + kXmlA + kN1},
        {"unreadable namesake, removed", kA + kBadA + kB, removeA, kBadA + kB},

        {"associations repeated", kA + kN1 + kN1Again, nothing, kA + kN1},
        {"associations repeated, removed", kA + kN1 + kN1Again, removeN1, kA},
        {"unreadable associations", kA + kBadN1 + kN2 + kOwn, nothing, kA + kBadN1 + kN2 + kOwn},
        {"unreadable ahead", kA + kBadN1 + kN1 + kOwn, nothing, kA + kN1 + kOwn + kBadN1},
        {"unreadable left alone", kA + kN1 + kBadN1 + kN2, removeN1, kA + kBadN1 + kN2},
        {"without its structure", kN1, nothing, kN1},

        {"foreign lines", kA + "foo\n" + kB + "  bar;\n" + kN1 + "rest;\n", setN1,
         "foo\n  bar;\n" + kA + kB + node("n1", 9) + "rest;\n"},
        {"no blank lines", kA + "\n" + kN1 + "\n", nothing, kA + kN1 + "\n"},
        {"comments", "// a\n" + kA + "// b\n" + kN1 + "// c\n", nothing,
         "// a\n// b\n" + kA + kN1 + "// c\n"},
        {"comment in a statement", kA + "applyMetadata\n// b\n" + kN1.substr(13) + kN2, nothing,
         "// b\n" + kA + kN1 + kN2},
        {"empty", kA + "applyMetadata -fmt\n// b\n\"raw\" -v \"\" n1;\n" + kN2, nothing,
         kA + "applyMetadata -fmt\n// b\n\"raw\" -v \"\" n1;\n" + kN2},
        {"what readers pass over",
         kA + nodeStatement("n2", oneStream("A", "0\n7 and more\n0\n8\n")) +
             structureStatement("name=B:int32=b:int32[0]=a") + kN1,
         setN1,
         kA + structureStatement("name=B:int32=b:int32[0]=a") + node("n1", 9) +
             nodeStatement("n2", oneStream("A", "0\n7 and more\n0\n8\n"))},
        {"comment in a kept one", kBadA + "dataStructure\n\n// b\n-fmt \"no\" -as \"\" ;\r\n" + kA,
         nothing, "dataStructure\n\n// b\n-fmt \"no\" -as \"\" ;\r\n" + kA + kBadA},
        {"malformed", kA + kNoTarget + kN1, nothing, kNoTarget + kA + kN1},
        {"malformed at the ends", kNoTarget + kA + kN1 + kNoTarget, setN1,
         kNoTarget + kA + node("n1", 9) + kNoTarget},
        {"unclosed", kA + kOpen + kB + "n1;\n" + kN1, nothing, "n1;\n" + kOpen + kA + kB + kN1},
        {"only malformed", kNoTarget, nothing, kNoTarget},
        {"carriage returns",
         "dataStructure -fmt \"raw\" -as \"name=A:int32=x\";\r\n\r\nfoo;\r\n" + kN1, nothing,
         "foo;\r\n" + kA + kN1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        makeScene(row.before);
        ASSERT_TRUE(read());
        row.edit(fAccessor);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(section(), row.after);
        expectStable();
    }
}

// What is kept beside a written namesake must not get in the way of the check, nor of later reads.
TEST_F(TextSceneWrite, AKeptNamesakeHidesNothing) {
    const Names n1 = {"n1"};
    makeScene(kA + kBadN1 + kN1);
    ASSERT_TRUE(read());
    fAccessor.setWritePolicy(WritePolicy::careful());
    setN1(fAccessor);
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(section(), kA + node("n1", 9) + kBadN1);
    ASSERT_TRUE(read(nullptr, &n1));
    EXPECT_EQ(fAccessor.associations().count("n1"), 1U);
}

TEST_F(TextSceneWrite, WhatAFilterLeftOutStays) {
    const Names a = {"A"};
    const Names n1 = {"n1"};
    const Names none;
    struct FilterRow {
        const char* name;
        const Names* structures;
        const Names* associations;
        std::string before;
        std::function<void(Accessor&)> edit;
        std::string after;
    };
    const FilterRow rows[] = {
        {"nothing read", &none, &none, kB + kN2 + kA + kN1, nothing, kB + kA + kN2 + kN1},
        {"changed", &a, &n1, kA + kB + kN1 + kN2 + kOwn, setN1,
         kB + kA + kN2 + kOwn + node("n1", 9)},
        {"removed", &a, &n1, kA + kB + kN1 + kN2, removeN1, kB + kA + kN2},
        {"structure it needs", &none, &n1, kA + kN1, setN1, kA + node("n1", 9)},
        {"namesake met first", &a, &none, kThirdA + kA + kN1, nothing, kA + kThirdA + kN1},
        {"repeated", &none, &n1, kA + kA + kN1 + kN2 + kN2, nothing, kA + kA + kN2 + kN2 + kN1},
        {"now in the model", nullptr, &n1, kA + node("n2", 3) + kN1, copyN1ToN2, kA + kN1 + kN2},
        {"now in the model, unreadable", nullptr, &n1, kA + nodeStatement("n2", "nonsense") + kN1,
         copyN1ToN2, kA + kN1 + kN2 + nodeStatement("n2", "nonsense")},
        {"only touched", nullptr, &n1, kA + kN1 + kN2, touchN2, kA + kN2 + kN1},
    };
    for (const FilterRow& row : rows) {
        SCOPED_TRACE(row.name);
        makeScene(row.before);
        ASSERT_TRUE(read(row.structures, row.associations));
        row.edit(fAccessor);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(section(), row.after);
        const std::string once = file();
        ASSERT_TRUE(write());
        EXPECT_EQ(file(), once) << "second write";
    }
}

TEST_F(TextSceneWrite, WhatOthersDidMeanwhileStays) {
    struct MeanwhileRow {
        const char* name;
        std::string now;
        std::string after;
    };
    const std::string n1 = node("n1", 9);
    const MeanwhileRow rows[] = {
        {"added", kA + kB + kN1 + kN2 + kOwn, kB + kA + kN2 + kOwn + n1},
        {"added of an unknown index type",
         kA + kN1 + nodeStatement("n3", oneStream("A", "x\n1\n", "odd")),
         kA + nodeStatement("n3", oneStream("A", "x\n1\n", "odd")) + n1},
        {"removed", "", kA + n1},
        {"changed", kOtherA + kN1Again, kA + kOtherA + n1},
        {"grown in front", std::string(50, '\n') + "// much more\n" + kA + kN1,
         std::string(50, '\n') + "// much more\n" + kA + n1},
    };
    for (const MeanwhileRow& row : rows) {
        SCOPED_TRACE(row.name);
        makeScene(kA + kN1);
        ASSERT_TRUE(read());
        setN1(fAccessor);
        makeScene(row.now);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(section(), row.after);
    }
}

TEST_F(TextSceneWrite, RemovesWhatItWroteBefore) {
    makeScene(kA + kN1);
    ASSERT_TRUE(read());
    copyN1ToN2(fAccessor);
    const RefPtr<Structure> b(Structure::create());
    b->setName("B");
    b->addMember(Member::kString, 1, "s");
    fAccessor.setStructures({*fAccessor.structures().begin(), b.get()});
    ASSERT_TRUE(write());
    EXPECT_EQ(section(), kA + kB + kN1 + kN2);
    fAccessor.associations().erase("n2");
    removeStructure(fAccessor, "B");
    ASSERT_TRUE(write());
    EXPECT_EQ(section(), kA + kN1);
}

TEST_F(TextSceneWrite, EditThenUndoGivesTheOriginalBytes) {
    std::ostringstream scene;
    scene << std::ifstream(METADATA_SCENES_DIR "/teapot.kx", std::ios::binary).rdbuf();
    file() = scene.str();
    ASSERT_TRUE(read());
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(fSystem.bytesWritten, 0U) << "the same bytes";
    const std::size_t front = scene.str().find("dataStructure");

    const Accessor::AssociationsMap whole = fAccessor.associations();
    const Accessor::StructureSet structures = fAccessor.structures();
    std::vector<RefPtr<const Structure>> keep;
    for (const Structure* structure : structures) keep.emplace_back(structure);
    for (const auto& edit : std::vector<std::function<void()>>{
             [&] { fAccessor.associations().erase("rig"); },
             [&] { fAccessor.associations()["new"] = whole.at("rig"); },
             [&] { removeStructure(fAccessor, "Joint"); }, [&] { fAccessor.clear(); }}) {
        edit();
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_NE(file(), scene.str());
        EXPECT_EQ(file().compare(0, front, scene.str(), 0, front), 0);
        EXPECT_GE(fSystem.lowestWrite, front);
        fAccessor.associations() = whole;
        fAccessor.setStructures(structures);
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), scene.str());
    }
}

TEST_F(TextSceneWrite, FirstSectionGoesInFrontOfTheTrailer) {
    struct PlaceRow {
        const char* name;
        std::string scene;
        const char* message;  // by default
        const char* anySize;
    };
    const std::string front = sceneFront();
    const PlaceRow rows[] = {
        {"usual", front + kTrailer, "", ""},
        {"behind the trailer", front + kTrailer + "more;\n" + kN1, "", ""},
        {"small", kHeader + kTrailer, "Could not seek to trailer start.", ""},
        {"1024 bytes",
         kHeader + std::string(1024 - kHeader.size() - kTrailer.size(), '\n') + kTrailer, "", ""},
        {"far", front + kTrailer + std::string(1020, '\n'), "Could not find trailer prefix.", ""},
        {"none", front, "Could not find trailer prefix.", "Could not find trailer prefix."},
        {"small, none", kHeader, "Could not seek to trailer start.",
         "Could not find trailer prefix."},
        {"section without", front + kA, "Failed reading line while searching metadata end.",
         "Failed reading line while searching metadata end."},
    };
    for (const PlaceRow& row : rows) {
        SCOPED_TRACE(row.name);
        for (const bool anySize : {false, true}) {
            makeScene(kA + kN1);
            ASSERT_TRUE(read());
            WritePolicy policy;
            policy.anySize = anySize;
            fAccessor.setWritePolicy(policy);
            file() = row.scene;
            const std::string message = anySize ? row.anySize : row.message;
            EXPECT_EQ(write(), message.empty());
            EXPECT_EQ(fErrors, message);
            std::string expected = row.scene;
            if (message.empty()) expected.insert(expected.find(kTrailer), kA + kN1);
            EXPECT_EQ(file(), expected);
        }
    }
}

}  // namespace
}  // namespace orbo::Data
