// Rewriting a file: whichever calls fail, it is the old one or the new one, or will be.
// SPDX-License-Identifier: Apache-2.0
#include "files/FileRewrite.h"

#include <gtest/gtest.h>

#include <functional>

#include "files/ScriptedFileSystem.h"

namespace orbo::Files {
namespace {

using Step = FileRewrite::Step;
using Use = LockedFile::Use;
using Pieces = std::vector<std::string_view>;

const std::string kJournal = "/scene.metadata-journal";

class FileRewriteTest : public testing::Test {
  protected:
    static constexpr std::string_view kOld = "scene 12 and its old tail";

    /// Of the number and of the tail; `n` is the call that fails, counted from the first.
    FileRewrite::Outcome rewrite(const Pieces& tail, bool durable, int n, bool fromThenOn) {
        fSystem.files = {{"/scene", std::string(kOld)}};
        fSystem.bytesWritten = 0;
        fSystem.failAt(n, fromThenOn);
        const auto opening = LockedFile::open("/scene", Use::kWrite, {});
        fOpened = opening.file != nullptr;
        if (!fOpened) return {};
        return FileRewrite(*opening.file, {{6, "12", {"34"}}, {17, "old tail", tail}}, durable)
            .run();
    }
    static std::string newContent(const Pieces& tail) {
        std::string content(kOld.substr(0, 17));
        content.replace(6, 2, "34");
        for (const std::string_view piece : tail) content += piece;
        return content;
    }
    /// What the next one to open it finds, when nothing fails any more.
    std::string recovered(Use use = Use::kWrite) {
        fSystem.fails = [](Call) { return false; };
        const auto opening = LockedFile::open("/scene", use, {});
        if (!opening.file) return "cannot be opened: " + opening.problem;
        std::string bytes(1000, '\0');
        File& file = opening.file->file();
        EXPECT_TRUE(file.seek(0));
        bytes.resize(file.read(bytes.data(), bytes.size()).value_or(0));
        return bytes;
    }

    ScriptedFileSystem fSystem;
    FileSystem::Replacement fReplaced{fSystem};
    bool fOpened = false;
};

// Since the file was opened, that is; what was there before has been recovered.
TEST_F(FileRewriteTest, TakesAnEmptyJournalAndNobodysElse) {
    for (const std::string& content : {std::string(), std::string("somebody's")}) {
        fSystem.files = {{"/scene", std::string(kOld)}};
        const auto opening = LockedFile::open("/scene", Use::kWrite, {});
        ASSERT_TRUE(opening.file);
        fSystem.files[kJournal] = content;
        const auto outcome =
            FileRewrite(*opening.file, {{17, "old tail", {"new tail"}}}, true).run();
        EXPECT_EQ(outcome.failed, content.empty() ? Step::kDone : Step::kJournal);
        EXPECT_EQ(fSystem.files["/scene"].substr(17), content.empty() ? "new tail" : "old tail");
        EXPECT_EQ(fSystem.files.count(kJournal), content.empty() ? 0U : 1U);
    }
}

TEST_F(FileRewriteTest, SucceedsOrLeavesTheOldFile) {
    const Pieces tails[] = {{"new, longer", "", " tail"}, {"new"}, {"OLD", " TAIL"}, {}};
    for (const Pieces& tail : tails) {
        for (const bool durable : {true, false}) {
            bool done = false;
            int calls = 0;
            for (int n = 0; !done; ++n) {
                SCOPED_TRACE(newContent(tail) + (durable ? ", durable, " : ", ") +
                             std::to_string(n));
                ASSERT_LT(n, 100);
                calls = n;
                const auto once = rewrite(tail, durable, n, false);
                done = fOpened && once.failed == Step::kDone;
                const bool isNew = done || once.holdsNew;
                EXPECT_EQ(fSystem.files.at("/scene"), isNew ? newContent(tail) : kOld);
                EXPECT_EQ(once.restored, !once.holdsNew);
                EXPECT_TRUE(once.failed != Step::kDone || fSystem.files[kJournal].empty());
                EXPECT_EQ(recovered(), isNew ? newContent(tail) : kOld);
                EXPECT_EQ(fSystem.files.count(kJournal), 0U);

                const auto fromThenOn = rewrite(tail, durable, n, true);
                if (!fOpened) continue;
                EXPECT_TRUE(done || fromThenOn.failed != Step::kDone);
                if (!durable) {
                    const bool isOld = fSystem.files.at("/scene") == kOld;
                    EXPECT_EQ(fromThenOn.restored, isOld || done);
                    continue;
                }
                const std::string after = recovered(n % 2 == 0 ? Use::kRead : Use::kWrite);
                EXPECT_TRUE(after == newContent(tail) || (after == kOld && !done)) << after;
                EXPECT_TRUE(after == kOld || done || fromThenOn.holdsNew || !fromThenOn.restored);
            }
            EXPECT_GT(calls, durable ? 20 : 8);
        }
    }
}

// Each row keeps a rewrite from its first byte.
TEST_F(FileRewriteTest, IsRehearsedWithoutAByte) {
    struct Row {
        Step failed;
        std::function<void()> prepare;
    };
    const Row rows[] = {
        {Step::kDone, [] {}},
        {Step::kPrepare, [&] { fSystem.statuses["/scene"].links = 2; }},
        {Step::kJournal, [&] { fSystem.files[kJournal] = "somebody's"; }},
        {Step::kChanged, [&] { fSystem.files["/scene"].back() = 'L'; }},
    };
    for (const Row& row : rows) {
        for (const bool rehearses : {true, false}) {
            SCOPED_TRACE(std::to_string(static_cast<int>(row.failed)) + (rehearses ? "r" : ""));
            fSystem.files = {{"/scene", std::string(kOld)}};
            fSystem.statuses.clear();
            const auto opening = LockedFile::open("/scene", Use::kWrite, {});
            ASSERT_TRUE(opening.file);
            row.prepare();
            const auto before = fSystem.files;
            fSystem.bytesWritten = 0;
            FileRewrite rewrite(*opening.file, {{17, "old tail", {"new, longer tail"}}}, true);
            EXPECT_EQ((rehearses ? rewrite.rehearse() : rewrite.run()).failed, row.failed);
            if (!rehearses) continue;
            EXPECT_EQ(fSystem.files, before);
            EXPECT_EQ(fSystem.bytesWritten, 0U);
        }
    }
    for (int n = 0; n < 3; ++n) {
        fSystem.files = {{"/scene", std::string(kOld)}};
        const auto opening = LockedFile::open("/scene", Use::kWrite, {});
        fSystem.failAt(n, false, Call::kReserve);
        FileRewrite rewrite(*opening.file, {{17, "old tail", {"new, longer tail"}}}, true);
        EXPECT_EQ(rewrite.rehearse().failed, n == 0 ? Step::kJournal : Step::kReserve);
        EXPECT_EQ(fSystem.files.size(), 1U);
    }
}

TEST_F(FileRewriteTest, TouchesNothingElse) {
    rewrite({"old tail"}, true, -1, false);
    EXPECT_EQ(fSystem.files.at("/scene"), newContent({"old tail"}));
    EXPECT_LT(fSystem.bytesWritten, 400U + 2 + 8) << "with the journal";
    fSystem.bytesWritten = 0;
    const auto opening = LockedFile::open("/scene", Use::kWrite, {});
    EXPECT_EQ(FileRewrite(*opening.file, {{17, "old tail", {"old ", "tail"}}}, true).run().failed,
              Step::kDone);
    EXPECT_EQ(fSystem.bytesWritten, 0U) << "the same bytes";
    fSystem.failAt(0, false, Call::kSync);
    EXPECT_EQ(FileRewrite(*opening.file, {{17, "old tail", {"old tail"}}}, true).run().failed,
              Step::kSync)
        << "they may not have reached the disk";
}

}  // namespace
}  // namespace orbo::Files
