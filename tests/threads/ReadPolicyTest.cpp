// A scene that several threads read is the one that a single thread reads.
// SPDX-License-Identifier: Apache-2.0
#include <data/AssociationsSerializerRaw.h>

#include <atomic>
#include <memory>
#include <thread>

#include "scenes/BinaryScene.h"
#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

std::string inWords(const Finding& finding) {
    return std::to_string(static_cast<int>(finding.code)) + ' ' + finding.message + ' ' +
           std::to_string(finding.offset.value_or(0)) + ' ' +
           std::to_string(finding.line.value_or(0)) + ' ' + finding.node.value_or("-") + ' ' +
           finding.index.value_or("-") + '\n';
}

template <typename SceneAccessor>
class ReadByThreads : public SceneTestOf<SceneAccessor> {
  protected:
    using Test = SceneTestOf<SceneAccessor>;

    static std::string elements(int count, const std::string& index, const std::string& value) {
        std::string all;
        for (int i = 0; i < count; ++i) all += std::to_string(i) + index + '\n' + value + '\n';
        return all;
    }
    void add(const std::string& name, const std::string& text) {
        fRecords += Test::kIsText ? nodeStatement(name.empty() ? "-scn" : name, text)
                                  : nodeChunk(name, text);
    }
    void addStructure() {
        fRecords +=
            Test::kIsText ? structureStatement("name=A:int32=x") : structureChunk("name=A:int32=x");
    }
    void finish() {
        this->file() =
            Test::kIsText ? sceneFront() + fRecords + kLastLine : BinaryScene(fRecords).bytes();
    }
    /// Everything that a caller can tell of a read, an edit and a write.
    std::string resultBy(unsigned threads) {
        const std::string before = this->file();
        ReadPolicy policy;
        policy.threads = threads;
        policy.unknownIndexTypesAsText = true;
        policy.partialNodes = true;
        this->fAccessor.setReadPolicy(policy);
        std::string all;
        try {
            all += this->read() ? "read " : "failed ";
        } catch (Index::eCreationErrors) {
            all += "thrown ";
        }
        all += this->fErrors;
        for (const Finding& finding : this->fAccessor.findings()) all += inWords(finding);
        all += this->model() + (this->fAccessor.isEdited() ? " edited" : "");
        for (const auto& [name, text] : modelOf(this->fAccessor)) all += name + text;
        if (this->fAccessor.associations().count("n1") > 0) this->setNumber("n1", 3, 99);
        std::string errors;
        all += this->fAccessor.write(errors) ? " written " : " refused ";
        all += errors + this->file();
        this->file() = before;
        return all;
    }
    void expectTheSame(const std::string& what) {
        finish();
        for (const bool careful : {true, false}) {
            this->setPolicy(careful ? WritePolicy::careful() : WritePolicy());
            const std::string expected = resultBy(1);
            for (const unsigned threads : {2U, 5U}) {
                EXPECT_TRUE(resultBy(threads) == expected) << what << ", " << threads;
            }
        }
        fRecords.clear();
    }

    std::string fRecords;
};

using Kinds = testing::Types<QuilAsciiFileAccessor, QuilBinaryFileAccessor>;
TYPED_TEST_SUITE(ReadByThreads, Kinds, );

// More than 4 MiB, below which no thread is started.
TYPED_TEST(ReadByThreads, IsWhatOneThreadReads) {
    const std::string large = oneStream("A", this->elements(60'000, "", "1234567"));
    const std::string pairs = oneStream("A", this->elements(10'000, " 5", "7"), "pair");
    this->addStructure();
    for (int i = 0; i < 6; ++i) this->add("n" + std::to_string(i), large);
    this->add("pairs", pairs);
    this->add("", oneStream("A", "0\n1\n"));
    this->expectTheSame("clean");

    // Repeated nodes, values that cannot be read, a missing structure, foreign index types.
    this->add("n3", "nonsense");
    this->addStructure();
    for (int i = 0; i < 6; ++i) this->add("n" + std::to_string(i), large);
    this->add("n1", pairs);
    this->add("odd", oneStream("A", "ab\n1\n", "nobody's"));
    this->add("n9", oneStream("A", "0\n1\n1\noops\n2\n3\n"));
    this->add("n8", oneStream("Missing", "0\n1\n"));
    this->add("n7", oneStream("A", "0\n1 and more\n0\n8\n"));
    this->expectTheSame("faults");
}

// One node has most of the text: it is read in pieces.
TYPED_TEST(ReadByThreads, ReadsALargeNodeLikeOneThread) {
    const std::string large = this->elements(500'000, "", "1");
    const std::string small = oneStream("A", this->elements(100, "", "7"));
    this->addStructure();
    this->add("n0", small);
    this->add("n1", oneStream("A", large));
    this->add("n2", small);
    this->expectTheSame("clean");

    this->addStructure();
    this->add("n0", small);
    this->add("n1", oneStream("A", large + "70000\noops\n"));
    this->expectTheSame("fault");
}

/// A format of others by the name of ours.
class OthersRaw final : public AssociationsSerializer {
  public:
    OthersRaw() {
        deregisterFormat(kOurs);
        registerFormat(*this);
    }
    ~OthersRaw() override {
        deregisterFormat(*this);
        registerFormat(kOurs);
        setDefaultFormat(&kOurs);
    }
    [[nodiscard]] const char* formatType() const override { return "raw"; }
    Associations* read(std::istream& in, std::string& errors) const override {
        ++fReads;
        if (std::this_thread::get_id() != fOwner) ++fReadsElsewhere;
        return kOurs.read(in, errors);
    }
    int write(const Associations& node, std::ostream& out, std::string& errors) const override {
        return kOurs.write(node, out, errors);
    }
    void getFormatDescription(std::ostream&) const override {}

    mutable std::atomic<int> fReads{0}, fReadsElsewhere{0};

  private:
    const AssociationsSerializerRaw& kOurs = AssociationsSerializerRaw::theFormat();
    const std::thread::id fOwner = std::this_thread::get_id();
};

TYPED_TEST(ReadByThreads, LeavesOthersFormatsToTheCaller) {
    const std::string large = oneStream("A", this->elements(200'000, "", "1234567"));
    this->addStructure();
    for (int i = 0; i < 3; ++i) this->add("n" + std::to_string(i), large);
    this->finish();
    const OthersRaw others;
    ReadPolicy policy;
    policy.threads = 3;
    this->fAccessor.setReadPolicy(policy);
    ASSERT_TRUE(this->read()) << this->fErrors;
    EXPECT_EQ(others.fReads, 3);
    EXPECT_EQ(others.fReadsElsewhere, 0);
}

TYPED_TEST(ReadByThreads, FailsWithTheSameWords) {
    const std::string large = oneStream("A", this->elements(60'000, "", "1234567"));
    this->addStructure();
    for (int i = 0; i < 6; ++i) this->add("n" + std::to_string(i), large);
    this->fRecords +=
        TestFixture::kIsText ? "applyMetadata -fmt raw -v \"\";\n" : chunk("MTDA", "no zero byte");
    for (int i = 6; i < 8; ++i) this->add("n" + std::to_string(i), large);
    this->fRecords += TestFixture::kIsText ? "applyMetadata -fmt \"raw\" -v \"\"\n"
                                           : chunk("MTDA", "none here either");
    this->expectTheSame("records that cannot be taken apart");
}

}  // namespace
}  // namespace orbo::Data
