// Failing file calls of a write, and what is said then.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/SceneTest.h"
#include "scenes/Steps.h"

namespace orbo::Data {
namespace {

using Files::Call;

class WriteFaults : public SceneTest {
  protected:
    void start(const std::string& scene, const char* change, const WritePolicy& policy) {
        fSystem.fails = [](Call) { return false; };
        makeScene(scene);
        ASSERT_TRUE(read());
        edit(change);
        setPolicy(policy);
        fBefore = file();
    }

    std::string fBefore;
};

TEST_F(WriteFaults, HaveAMessageForEachStep) {
    for (const Step& step : stepsOf("scenes/data/text-steps.txt")) {
        SCOPED_TRACE(step.message);
        start(replaced(step.scene, "LONG", std::string(70000, 'x')), "n1=8 -n2", inPlace());
        fSystem.failAt(step.n, step.fromThenOn, step.kind);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, step.message);
        EXPECT_EQ(file() != fBefore, fErrors.find("could not be put back") != fErrors.npos);
    }
}

TEST_F(WriteFaults, HaveAMessageForEachStepBesideAJournal) {
    const std::string journal = "scene.kx.metadata-journal";
    for (const Step& step : stepsOf("scenes/data/journal-steps.txt")) {
        SCOPED_TRACE(step.message);
        start(step.scene, "n1=88", {});
        fSystem.failAt(step.n, step.fromThenOn, step.kind);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, step.message);
        const bool isMade = fErrors.find("The change is made") == 0;
        EXPECT_TRUE(step.fromThenOn || isMade || file() == fBefore);
        EXPECT_EQ(fSystem.files.count(journal), step.fromThenOn ? 1U : 0U);
        fSystem.files.erase(journal);
    }
}

// Whoever wrote the file while it was read without a lock keeps what it wrote.
TEST_F(WriteFaults, WithoutLocksAWriterBesideAReadLosesNothing) {
    makeScene("A n1 n2 n3");
    const std::string other = file();
    fSystem.hasLocks = false;
    setPolicy(WritePolicy::careful());
    int refused = 0;
    for (int n = 0, calls = n + 1; n < calls; ++n) {
        makeScene("A n1 n2");
        calls = 0;
        fSystem.fails = [&](Call) {
            if (calls++ == n) file() = other;
            return false;
        };
        const bool hasRead = read();
        fSystem.fails = [](Call) { return false; };
        refused += hasRead ? 0 : 1;
        if (!hasRead) continue;
        edit("n1=8");
        const bool hasWritten = write();
        EXPECT_TRUE(file().find("n3") != std::string::npos || n >= calls) << n;
        EXPECT_TRUE(hasWritten || file() == other) << n << fErrors;
    }
    EXPECT_GT(refused, 0);
}

// What a read passes over is no sign of another writer.
TEST_F(WriteFaults, WithoutLocksAReadThatEndsEarlySucceeds) {
    fSystem.hasLocks = false;
    setPolicy(WritePolicy::careful());
    for (const char* const filter : {"A|n4", "*|*", "|n4", "A|n3 n4", "A|", "A|n4"}) {
        makeScene("n1 n2 n3 A n4");
        EXPECT_TRUE(read(filter)) << filter << ": " << fErrors;
        edit("+Z");
        EXPECT_TRUE(write()) << filter << ": " << fErrors;
    }
}

TEST_F(WriteFaults, ConflictsAreMetByWhoeverAsksForIt) {
    for (const bool fingerprint : {true, false}) {
        makeScene("A n1 n2 own");
        WritePolicy policy;
        policy.detectConflicts = true;
        setPolicy(fingerprint ? policy : WritePolicy());
        ASSERT_TRUE(read());
        setPolicy(policy);
        edit("n1=8");
        EXPECT_TRUE(write() && write()) << "one's own write is none: " << fErrors;

        const std::string ours = file();
        file() = replaced(ours, "node", "longer");
        edit("n1=9");
        EXPECT_TRUE(write()) << "the metadata is the same: " << fErrors;

        file() = replaced(file(), "n2", "n22");
        edit("n1=10");
        expectRefusal("The metadata in the file is no longer what was read.");
        EXPECT_TRUE(fAccessor.metConflict());
        EXPECT_TRUE(read() && write() && !fAccessor.metConflict()) << fErrors;
    }
}

TEST_F(WriteFaults, AreMetByARehearsalWithoutAByte) {
    makeScene("A n1 n2");
    setPolicy(WritePolicy::careful());
    ASSERT_TRUE(read());
    edit("n1=8");
    const std::string before = file();
    EXPECT_TRUE(fAccessor.rehearse(fErrors)) << fErrors;
    EXPECT_EQ(file(), before);
    EXPECT_EQ(fSystem.files.size(), 1U);

    file() = replaced(before, "n2", "n22");
    EXPECT_FALSE(fAccessor.rehearse(fErrors));
    EXPECT_EQ(fErrors, "The metadata in the file is no longer what was read.");
    EXPECT_TRUE(fAccessor.metConflict());
    file() = before;
    EXPECT_TRUE(write()) << fErrors;
    EXPECT_NE(file(), before) << "a rehearsal is no write";
}

}  // namespace
}  // namespace orbo::Data
