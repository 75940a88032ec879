// Nodes that a read leaves in the file until somebody loads them.
// SPDX-License-Identifier: Apache-2.0
#include <vector>

#include "scenes/BinaryScene.h"
#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

ReadPolicy onDemand() {
    ReadPolicy policy;
    policy.unknownIndexTypesAsText = true;
    policy.nodesOnDemand = true;
    return policy;
}
ReadPolicy atOnce() {
    ReadPolicy policy = onDemand();
    policy.nodesOnDemand = false;
    return policy;
}

std::string chunks(const std::string& words) {
    static const std::map<std::string, std::string> kStructures = {
        {"A", "name=A:int32=x"}, {"A3", "name=A:int32=x:int32=z"}, {"B", "name=B:string=s"}};
    std::string all;
    for (const std::string& word : split(words)) {
        const auto structure = kStructures.find(word);
        const std::string name = word.substr(0, word.find_first_of("=!"));
        const std::string value = name == word ? "7" : word.substr(name.size() + 1);
        all += structure != kStructures.end() ? structureChunk(structure->second)
               : word.back() == '!'
                   ? nodeChunk(name, "nonsense")
                   : nodeChunk(name == "own" ? "" : name, oneStream("A", "0\n" + value + "\n"));
    }
    return all;
}

template <typename SceneAccessor>
class NodesOnDemandOf : public SceneTestOf<SceneAccessor> {
  protected:
    using Test = SceneTestOf<SceneAccessor>;

    void make(const std::string& words) {
        this->file() = Test::kIsText ? sceneFront() + statements(words) + kLastLine
                                     : BinaryScene(chunks(words)).bytes();
    }
    bool readBy(const ReadPolicy& policy, const std::string& filter = "*|*") {
        this->fAccessor.setReadPolicy(policy);
        return this->read(filter);
    }
    bool load(const std::string& name) {
        this->fErrors.clear();
        return this->fAccessor.load(name, this->fErrors);
    }
    void loadAll() {
        for (const std::string& name : this->fAccessor.unloadedNodes()) load(name);
    }
    void detectConflicts(bool detects) {
        WritePolicy policy = WritePolicy::careful();
        policy.detectConflicts = detects;
        this->setPolicy(policy);
    }
    /// The scene after the edit and a write, with what the write said.
    std::string afterEdit(const std::string& edits) {
        this->edit(edits);
        const bool isEdited = this->fAccessor.isEdited();
        const bool done = this->write();
        return std::to_string(isEdited) + std::to_string(done) + this->fErrors + this->file();
    }
};

class NodesOnDemand : public NodesOnDemandOf<QuilAsciiFileAccessor> {};
template <typename SceneAccessor>
class EachKindOnDemand : public NodesOnDemandOf<SceneAccessor> {};
using Kinds = testing::Types<QuilAsciiFileAccessor, QuilBinaryFileAccessor>;
TYPED_TEST_SUITE(EachKindOnDemand, Kinds, );

const std::vector<std::string> kScenes = {
    "",
    "A",
    "A n1 n2=3 own",
    "n1 A n2",
    "A n1=1 n2 n1=2",
    "A n1! n2",
    "A3 n1 n2",
    "A n1! n1=4 n2",
    "A B n1 n2 own=5",
    "n1 n2",
    "A A3 n1 n2",
    "A n1=x n2=9 n1=3 n2!",
};

TYPED_TEST(EachKindOnDemand, GiveTheSameOnceAllAreLoaded) {
    for (const std::string& scene : kScenes) {
        for (const char* filter : {"*|*", "*|n1", "A|n1 n2", "|own n2"}) {
            for (const bool detects : {true, false}) {
                const std::string what = scene + ", " + filter + (detects ? ", detects" : "");
                this->detectConflicts(detects);
                this->make(scene);
                ASSERT_TRUE(this->readBy(atOnce(), filter)) << what << this->fErrors;
                const ModelTexts expected = modelOf(this->fAccessor);
                const std::string names = this->model();
                const std::string edits = names.find("n2") == std::string::npos ? "" : "n2=8";
                const std::string afterwards = this->afterEdit(edits);

                this->make(scene);
                ASSERT_TRUE(this->readBy(onDemand(), filter)) << what << this->fErrors;
                EXPECT_TRUE(this->fAccessor.associations().empty()) << what;
                EXPECT_FALSE(this->fAccessor.isEdited()) << what;
                this->loadAll();
                EXPECT_EQ(this->model(), names) << what;
                EXPECT_EQ(difference(expected, modelOf(this->fAccessor)), "") << what;
                EXPECT_FALSE(this->fAccessor.isEdited()) << what;
                // A read of names alone ends early, so its write knows less of the file.
                if (std::string(filter)[0] != '*') continue;
                EXPECT_EQ(this->afterEdit(edits), afterwards) << what;
            }
        }
    }
}

TYPED_TEST(EachKindOnDemand, StayAsTheyAreInAWrite) {
    for (const char* scene : {"A n1 n2 n3=5", "A n1=1 n2 n3=1 n3!", "n1 A n2 own n3"}) {
        for (const bool detects : {true, false}) {
            this->detectConflicts(detects);
            this->make(scene);
            ASSERT_TRUE(this->readBy(atOnce(), "*|n2")) << this->fErrors;
            const std::string filtered = this->afterEdit("n2=8");

            this->make(scene);
            ASSERT_TRUE(this->readBy(onDemand()));
            ASSERT_TRUE(this->load("n2")) << this->fErrors;
            EXPECT_EQ(this->afterEdit("n2=8"), filtered) << scene;
            // The records have moved; those that were loaded stay loaded.
            EXPECT_TRUE(this->load("n2"));
            ASSERT_TRUE(this->load("n1")) << scene << this->fErrors;
            this->setNumber("n1", 0, 6);
            ASSERT_TRUE(this->write()) << this->fErrors;
            ASSERT_TRUE(this->readBy(atOnce()));
            EXPECT_EQ(*this->stream("n1").element(0).asInt32(), 6) << scene;
            EXPECT_EQ(*this->stream("n2").element(0).asInt32(), 8) << scene;
        }
    }
}

TEST_F(NodesOnDemand, AreNamedAndFailOneByOne) {
    make("A n1 n2! own");
    ASSERT_TRUE(readBy(onDemand()));
    EXPECT_EQ(fAccessor.findings().size(), 0U);
    EXPECT_EQ(fAccessor.unloadedNodes(), (Names{"", "n1", "n2"}));
    EXPECT_FALSE(load("n2"));
    EXPECT_NE(fErrors, "");
    ASSERT_FALSE(fAccessor.findings().empty());
    EXPECT_EQ(fAccessor.findings()[0].node, "n2");
    EXPECT_TRUE(fAccessor.findings()[0].line.has_value());
    EXPECT_FALSE(load("n9"));
    EXPECT_EQ(fErrors, "Node 'n9' is not among what was read.");
    fAccessor.associations()[""];  // touched only
    EXPECT_TRUE(load(""));
    EXPECT_FALSE(fAccessor.associations().at("").empty());
    EXPECT_TRUE(fAccessor.findings().empty());
    fAccessor.associations()["n1"] = fAccessor.associations().at("");
    EXPECT_FALSE(load("n1"));
    EXPECT_EQ(fErrors, "Node 'n1' was added: the file's cannot be loaded.");
    EXPECT_EQ(fAccessor.unloadedNodes(), (Names{"n1", "n2"}));
    // What the program put there itself replaces the file's.
    setNumber("n1", 0, 9);
    ASSERT_TRUE(write()) << fErrors;
    EXPECT_EQ(fAccessor.unloadedNodes(), Names{"n2"});
    EXPECT_TRUE(load("n1"));
    ASSERT_TRUE(readBy(onDemand()));
    ASSERT_TRUE(load("n1")) << fErrors;
    EXPECT_EQ(*stream("n1").element(0).asInt32(), 9);
}

TEST_F(NodesOnDemand, AreLoadedFromWhatWasReadOnly) {
    for (const bool detects : {true, false}) {
        detectConflicts(detects);
        make("A n1 n2");
        ASSERT_TRUE(readBy(onDemand()));
        const std::string before = file();
        // The scene in front of the metadata has grown.
        file() = replaced(before, "requires quil", "requires other \"1\";\nrequires quil");
        EXPECT_EQ(load("n1"), detects) << fErrors;
        EXPECT_EQ(load("n2"), detects) << fErrors;
        EXPECT_EQ(fAccessor.associations().size(), detects ? 2U : 0U);

        file() = before;
        ASSERT_TRUE(readBy(onDemand()));
        file() = replaced(before, "\\n7\\n", "\\n77\\n");
        EXPECT_FALSE(load("n1"));
        EXPECT_EQ(fErrors, "The metadata in the file is no longer what was read.");
        fSystem.files.erase(fName);
        EXPECT_FALSE(load("n1"));
        EXPECT_TRUE(fAccessor.associations().empty());
        EXPECT_EQ(fAccessor.unloadedNodes(), (Names{"n1", "n2"}));
    }
}

TEST_F(NodesOnDemand, AreReadWithTheStructuresOfTheFile) {
    make("A B n1 n2");
    const RefPtr<Structure> callers = makeStructure("A", Member::kFloat, "y");
    Structure::registerStructure(*callers);
    const std::set<Structure*> registered = Structure::allStructures();
    ASSERT_TRUE(readBy(onDemand(), "B|*"));
    ASSERT_TRUE(load("n1")) << fErrors;
    EXPECT_EQ(*stream("n1").element(0).asInt32(), 7);
    EXPECT_EQ(Structure::allStructures(), registered);
    Structure::deregisterStructure(*callers);

    // Their texts have no values for a member that came later.
    ASSERT_TRUE(readBy(onDemand()));
    ASSERT_TRUE(load("n1"));
    const_cast<Structure&>(stream("n1").structure()).addMember(Member::kInt8, 1, "later");
    EXPECT_FALSE(load("n2"));
    EXPECT_EQ(fErrors, "Structure 'A' was changed: the file's nodes cannot be loaded any more.");
    EXPECT_TRUE(load("n1"));
}

TEST_F(NodesOnDemand, PassOnWhatAFormatThrows) {
    make("A odd n1");
    ReadPolicy policy;
    policy.nodesOnDemand = true;
    ASSERT_TRUE(readBy(policy));
    EXPECT_THROW(load("n3"), Index::eCreationErrors);
    EXPECT_EQ(fAccessor.unloadedNodes(), (Names{"n1", "n3"}));
    EXPECT_TRUE(load("n1")) << fErrors;
}

}  // namespace
}  // namespace orbo::Data
