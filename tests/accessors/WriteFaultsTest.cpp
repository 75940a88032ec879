// Failing file calls of a write, and what is said then.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

using Files::Call;

class WriteFaults : public SceneTest {
  protected:
    void start(const std::string& scene, const std::string& change) {
        fSystem.fails = [](Call) { return false; };
        makeScene(scene);
        ASSERT_TRUE(read());
        edit(change);
        fAccessor.setWritePolicy(inPlace());
        fBefore = file();
    }

    std::string fBefore;
};

TEST_F(WriteFaults, HaveAMessageForEachStep) {
    struct Row {
        Call kind;
        int n;
        std::string message;
        std::string scene = "A n1 n2 own";
        bool fromThenOn = false;
    };
    // A line that needs more than one block, between the statements.
    const std::string far = "A //" + std::string(70000, 'x') + " n1";
    const std::string structures = "Could not write structure chunk to file.";
    const Row rows[] = {
        {Call::kOpen, 0, "Could not open scene.kx for writing."},
        {Call::kRead, 0, "Error reading header."},
        {Call::kStatus, 1, "Could not seek to trailer start."},
        {Call::kSeek, 1, "Could not seek to trailer start."},
        {Call::kRead, 1, "Could not read trailer."},
        {Call::kSeek, 2, "Could not seek to the last metadata block."},
        {Call::kRead, 2, "Failed reading line while searching metadata end."},
        {Call::kSeek, 3, "Could not seek to the first metadata block.", far},
        {Call::kRead, 3, "Failed reading line while searching metadata start.", far},
        {Call::kSeek, 3, "Failed to seek to the trailer position."},
        {Call::kRead, 3, "Failed to read the file trailer."},
        {Call::kSeek, 4, "Could not seek to metadata start."},
        {Call::kWrite, 0, structures},
        {Call::kWrite, 1, "Could not write node associations statement to file."},
        {Call::kWrite, 2, "Could not write scene associations statement to file."},
        {Call::kWrite, 3, "Failed to append the file trailer."},
        {Call::kTruncate, 0, "Could not truncate the file."},
        {Call::kWrite, 3,
         "Failed to append the file trailer.\nThe old content could not be put back.",
         "A n1 n2 own", true},
        // Half of the same bytes: nothing is to be put back.
        {Call::kWrite, 0, structures, "A n1", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message);
        start(row.scene, "n1=8 -n2");
        fSystem.failAt(row.n, row.fromThenOn, row.kind);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, row.message);
        const bool lost = fErrors.find("could not be put back") != std::string::npos;
        EXPECT_EQ(file() != fBefore, lost);
    }
}

TEST_F(WriteFaults, HaveAMessageForEachStepBesideAJournal) {
    const std::string ioError = ": " + std::make_error_code(std::errc::io_error).message();
    const std::string journal = "scene.kx.metadata-journal";
    const std::string noJournal = "Could not write the journal " + journal + ioError + ".";
    const struct {
        Call kind;
        int n;
        std::string message;
        bool fromThenOn = false;
    } rows[] = {
        {Call::kStatus, 2, "The file cannot be looked at" + ioError},
        {Call::kReserve, 0, "There is no room for the change" + ioError},
        {Call::kCreate, 0, noJournal},
        {Call::kWrite, 0, noJournal},
        {Call::kSync, 0, noJournal},
        {Call::kSyncFolder, 0, noJournal},
        {Call::kWrite, 1, "Could not write structure chunk to file."},
        {Call::kSync, 1, "Could not sync the file."},
        {Call::kRead, 5, "The file does not hold what was written to it."},
        {Call::kNameStatus, 2,
         "Another program has removed the file, or put a new one in its place."},
        {Call::kRead, 4, "Another program has changed the file meanwhile."},
        {Call::kSync, 1,
         "Could not sync the file.\nThe old content could not be put back.\n"
         "It is in the journal " +
             journal + ".",
         true},
        {Call::kSyncFolder, 1,
         "The change is made, but the removal of the journal " + journal + " is not certain" +
             ioError},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        start("A n1 n2 own", "n1=88");
        fAccessor.setWritePolicy({});
        fSystem.failAt(row.n, row.fromThenOn, row.kind);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, row.message);
        const bool isOpen = row.kind == Call::kSyncFolder || row.fromThenOn;
        EXPECT_TRUE(isOpen || file() == fBefore);
        EXPECT_EQ(fSystem.files.count(journal), row.fromThenOn ? 1U : 0U);
        fSystem.files.erase(journal);
    }
}

TEST_F(WriteFaults, FilesThatTakeNoJournalAreOnlyWrittenInPlace) {
    start("A n1 n2 own", "n1=88");
    fAccessor.setWritePolicy({});
    fSystem.statuses["scene.kx"].links = 2;
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors.substr(0, 33), "The file has several hard links, ");
    EXPECT_EQ(file(), fBefore);
    fAccessor.setWritePolicy(inPlace());
    EXPECT_TRUE(write()) << fErrors;
    EXPECT_NE(file(), fBefore);
}

TEST_F(WriteFaults, ConflictsAreMetByWhoeverAsksForIt) {
    for (const bool fingerprint : {true, false}) {
        makeScene("A n1 n2 own");
        WritePolicy policy;
        policy.detectConflicts = true;
        fAccessor.setWritePolicy(fingerprint ? policy : WritePolicy());
        ASSERT_TRUE(read());
        fAccessor.setWritePolicy(policy);
        edit("n1=8");
        EXPECT_TRUE(write() && write()) << "one's own write is none: " << fErrors;

        const std::string ours = file();
        file() = replaced(ours, "node", "longer");
        edit("n1=9");
        EXPECT_TRUE(write()) << "the metadata is the same: " << fErrors;

        file() = replaced(file(), "n2", "n22");
        const std::string theirs = file();
        edit("n1=10");
        EXPECT_FALSE(write());
        EXPECT_TRUE(fAccessor.metConflict());
        EXPECT_EQ(fErrors, "The metadata in the file is no longer what was read.");
        EXPECT_EQ(file(), theirs);
        ASSERT_TRUE(read());
        EXPECT_TRUE(write()) << fErrors;
        EXPECT_FALSE(fAccessor.metConflict());
    }
}

}  // namespace
}  // namespace orbo::Data
