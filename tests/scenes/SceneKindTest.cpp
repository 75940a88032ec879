// Whatever a kind of scene answers, there is a clear error and the file stays as it is.
// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <limits>
#include <stdexcept>

#include "scenes/SceneTest.h"
#include "scenes/text/TextKind.h"

namespace orbo::Data {
namespace {

using Changes = std::vector<SceneChange>;
using Layout = std::unique_ptr<SceneLayout>;
using Record = std::optional<SceneRecord>;
using ScanEnd = SceneKind::ScanEnd;

constexpr std::uint64_t kEndless = std::numeric_limits<std::uint64_t>::max();

/// What a test puts in place of the functions of text scenes.
struct Functions {
    std::function<bool(Finding&)> recognise;
    std::function<ScanEnd(SceneVisitor&, Layout&)> scan;
    std::function<Record(const SceneRecordRange&, Finding&)> parse;
    std::function<bool(std::string&)> format;
    std::function<void(Changes&, Finding&)> alterChanges;
};

class TamperedKind final : public SceneKind {
  public:
    explicit TamperedKind(const Functions& functions)
        : SceneKind(makeTextKind()->traits()), fUse(functions) {}

    bool recognise(SceneInput& input, Finding& problem) const override {
        return fUse.recognise ? fUse.recognise(problem) : fText->recognise(input, problem);
    }
    ScanEnd scan(SceneInput& input, SceneVisitor& visitor, Layout& layout) const override {
        const bool isTampered = fUse.scan != nullptr;
        return isTampered ? fUse.scan(visitor, layout) : fText->scan(input, visitor, layout);
    }
    Record parse(const SceneRecordRange& range, std::string bytes,
                 const std::set<std::string>* nodes, Finding& problem) const override {
        return fUse.parse ? fUse.parse(range, problem)
                          : fText->parse(range, std::move(bytes), nodes, problem);
    }
    bool format(const SceneRecord& record, std::string& bytes) const override {
        return fUse.format ? fUse.format(bytes) : fText->format(record, bytes);
    }
    Changes changes(const SceneLayout& layout, std::string_view tail, const ScenePlan& plan,
                    Finding& problem) const override {
        Changes changes = fText->changes(layout, tail, plan, problem);
        if (fUse.alterChanges) fUse.alterChanges(changes, problem);
        return changes;
    }

  private:
    const std::unique_ptr<const SceneKind> fText = makeTextKind();
    const Functions& fUse;
};

class SceneKindTest : public testing::Test {
  protected:
    static constexpr const char* kName = "scene.kx";

    std::string& file() { return fSystem.files[kName]; }
    std::string readErrors() {
        fErrors.clear();
        fDone = fAccessor.read(kName, fErrors);
        return fErrors;
    }
    /// Of a write of what was changed, with functions that were sound when it was read.
    std::string writeErrors(const Functions& functions, bool durable = false) {
        fFunctions = {};
        EXPECT_EQ(readErrors(), "");
        fAccessor.associations().erase("n2");
        fAccessor.associations()["n3"] = fAccessor.associations()["n1"];
        WritePolicy policy;
        policy.durable = durable;
        fAccessor.setWritePolicy(policy);
        fFunctions = functions;
        fErrors.clear();
        EXPECT_FALSE(fAccessor.write(fErrors));
        EXPECT_EQ(file(), fBefore);
        EXPECT_FALSE(fAccessor.findings().empty());
        return fErrors;
    }

    const std::string fBefore = sceneFront() + statements("A n1 n2") + kLastLine;
    Files::ScriptedFileSystem fSystem;
    Files::FileSystem::Replacement fReplaced{fSystem};
    Functions fFunctions;
    SceneAccessor fAccessor{std::make_unique<TamperedKind>(fFunctions)};
    std::string fErrors;
    bool fDone = false;

    void SetUp() override { file() = fBefore; }
};

[[noreturn]] void fail() { throw std::out_of_range("at"); }

TEST_F(SceneKindTest, IsNeeded) { EXPECT_THROW(SceneAccessor(nullptr), std::invalid_argument); }

TEST_F(SceneKindTest, MayThrowWhereverItIsAsked) {
    const std::string words = "The kind of scene threw an exception in ";
    Functions functions;
    functions.recognise = [](Finding&) -> bool { fail(); };
    fFunctions = functions;
    EXPECT_FALSE(fAccessor.isFileSupported(kName));

    functions = {};
    functions.scan = [](SceneVisitor&, Layout&) -> ScanEnd { throw 7; };
    EXPECT_EQ(writeErrors(functions), words + "scan.");
    EXPECT_EQ(readErrors(), words + "scan.");
    EXPECT_FALSE(fDone);

    functions = {};
    functions.format = [](std::string&) -> bool { fail(); };
    EXPECT_EQ(writeErrors(functions), words + "format: at");

    functions = {};
    functions.alterChanges = [](Changes&, Finding&) { fail(); };
    EXPECT_EQ(writeErrors(functions), words + "changes: at");

    fFunctions = {};
    fFunctions.parse = [](const SceneRecordRange&, Finding&) -> Record { fail(); };
    EXPECT_EQ(readErrors(), words + "parse: at\n" + words + "parse: at\n" + words + "parse: at");
    EXPECT_TRUE(fDone);
    for (const Finding& finding : fAccessor.findings()) EXPECT_TRUE(finding.line);
    EXPECT_FALSE(fAccessor.check(kName).empty());
}

// What formats of others throw is not the kind's, even if the kind swallows it.
TEST_F(SceneKindTest, HandsOnWhatTheLibraryThrew) {
    fFunctions.scan = [](SceneVisitor& visitor, Layout&) {
        try {
            (void)visitor.found({SceneRecord::Kind::kStructure, 1, 2});
        } catch (const std::bad_alloc&) {
            // Goes on as if nothing had been.
        }
        return ScanEnd::kComplete;
    };
    fFunctions.parse = [](const SceneRecordRange&, Finding&) -> Record { throw std::bad_alloc(); };
    EXPECT_THROW(readErrors(), std::bad_alloc);
    EXPECT_EQ(fAccessor.associations().size(), 0u);
}

TEST_F(SceneKindTest, TellsOnlyOfPossibleRecords) {
    using Ranges = std::vector<std::pair<std::uint64_t, std::uint64_t>>;
    const std::pair<Ranges, std::string> kCases[] = {
        {{{9, 3}}, "without a byte: bytes 9 to 3."},
        {{{3, 3}}, "without a byte: bytes 3 to 3."},
        {{{3, kEndless}}, "that reaches beyond the file: bytes 3 to 18446744073709551615."},
        {{{9, 20}, {5, 10}}, "that overlaps another one, or is out of order: bytes 5 to 10."},
        {{{9, 20}, {30, 40}}, "that overlaps another one, or is out of order: bytes 30 to 40."},
    };
    for (const auto& [ranges, message] : kCases) {
        Functions functions;
        functions.scan = [&ranges = ranges](SceneVisitor& visitor, Layout&) {
            for (const auto& [begin, end] : ranges) {
                (void)visitor.found({SceneRecord::Kind::kAssociations, begin, end});
            }
            return ScanEnd::kComplete;  // though it was told that it failed
        };
        const std::string all = "The kind of scene told of a record " + message;
        EXPECT_EQ(writeErrors(functions), all);
        EXPECT_NE(readErrors().find(all), std::string::npos) << fErrors;
        EXPECT_FALSE(fDone) << message;
    }
}

TEST_F(SceneKindTest, ScansTheWholeFileOrSaysWhyNot) {
    using Scan = std::function<ScanEnd(SceneVisitor&, Layout&)>;
    const std::pair<std::string, Scan> kCases[] = {
        {"The file cannot be read.", [](SceneVisitor&, Layout&) { return ScanEnd::kFailed; }},
        {"The file cannot be read.",
         [](SceneVisitor& visitor, Layout&) {
             visitor.fail(Finding::Code::kLeftoverBytes, "");
             return ScanEnd::kComplete;
         }},
        {"The kind of scene did not scan the whole file.",
         [](SceneVisitor&, Layout&) { return ScanEnd::kStopped; }},
    };
    for (const auto& [message, scan] : kCases) {
        Functions functions;
        functions.scan = scan;
        EXPECT_EQ(writeErrors(functions), message);
        EXPECT_EQ(readErrors(), message);
        EXPECT_FALSE(fDone);
    }
}

TEST_F(SceneKindTest, GivesALayoutThatFits) {
    Functions functions;
    functions.scan = [](SceneVisitor&, Layout& layout) {
        layout.reset();
        return ScanEnd::kComplete;
    };
    EXPECT_EQ(writeErrors(functions), "The kind of scene gave no layout.");
    EXPECT_EQ(readErrors(), "") << "which nobody needs to read";

    for (const bool hasRecord : {false, true}) {
        functions.scan = [hasRecord](SceneVisitor& visitor, Layout& layout) {
            if (hasRecord) (void)visitor.found({SceneRecord::Kind::kStructure, 5, 6});
            layout->begin = hasRecord ? 6 : kEndless;
            return ScanEnd::kComplete;
        };
        EXPECT_EQ(writeErrors(functions),
                  "The kind of scene gave a layout that begins behind a record, or the file.");
    }
}

TEST_F(SceneKindTest, TakesRecordsForWhatTheyAre) {
    fFunctions.parse = [](const SceneRecordRange& range, Finding&) -> Record {
        if (range.kind == SceneRecord::Kind::kStructure) return std::nullopt;  // without a reason
        SceneRecord record;
        record.kind = SceneRecord::Kind::kStructure;
        return record;
    };
    const std::string wrong =
        "The kind of scene took a structure for associations, or the reverse.";
    EXPECT_EQ(readErrors(), "The record cannot be taken apart.\n" + wrong + '\n' + wrong);
    EXPECT_TRUE(fDone);

    // A node that nobody asked for.
    fFunctions.parse = [](const SceneRecordRange& range, Finding&) -> Record {
        SceneRecord record;
        record.kind = range.kind;
        record.name = "other";
        return record;
    };
    const std::set<std::string> nodes{"n1"};
    EXPECT_TRUE(fAccessor.read(kName, nullptr, &nodes, fErrors));
    EXPECT_EQ(fAccessor.associations().size(), 0u);
}

TEST_F(SceneKindTest, FormatsRecordsIntoBytes) {
    for (const bool says : {false, true}) {
        Functions functions;
        functions.format = [says](std::string&) { return says; };
        EXPECT_EQ(writeErrors(functions), "Node 'n3': name cannot be written");
    }
}

TEST_F(SceneKindTest, ChangesWhatTheFileHas) {
    static const std::string kLie(10, '?');
    using Alter = std::function<void(Changes&, Finding&)>;
    const std::pair<std::string, Alter> kCases[] = {
        {" no changes.", [](Changes& changes, Finding&) { changes.clear(); }},
        {" changes that overlap, or are out of order.",
         [](Changes& changes, Finding&) { changes.push_back(changes[0]); }},
        {" changes that reach beyond the file.",
         [](Changes& changes, Finding&) { changes[0].offset = kEndless; }},
        {" changes that reach beyond the file.",
         [](Changes& changes, Finding&) { ++changes[0].offset; }},
        {" changes that move what they do not replace.",
         [](Changes& changes, Finding&) { changes[0].oldBytes.remove_suffix(1); }},
        {" changes that move what they do not replace.",
         [](Changes& changes, Finding&) {
             changes.insert(changes.begin(), {0, std::string_view(kLie), {}, {}});
         }},
        {" changes of bytes the file lacks.",
         [](Changes& changes, Finding&) {
             changes.insert(changes.begin(), {0, std::string_view(kLie), {{kLie, {}}}, {}});
         }},
        {" changes of bytes the file lacks.",
         [](Changes& changes, Finding&) {
             static std::string lie;
             lie.assign(changes[0].oldBytes.size(), '?');
             changes[0].oldBytes = lie;
         }},
    };
    for (const bool durable : {false, true}) {
        for (const auto& [message, alter] : kCases) {
            Functions functions;
            functions.alterChanges = alter;
            EXPECT_EQ(writeErrors(functions, durable), "The kind of scene made" + message);
            EXPECT_FALSE(fAccessor.metConflict()) << message;
        }
    }
    Functions functions;
    functions.alterChanges = [](Changes& changes, Finding& problem) {
        changes.clear();
        problem.message = "No room.";
    };
    EXPECT_EQ(writeErrors(functions), "No room.");
}

}  // namespace
}  // namespace orbo::Data
