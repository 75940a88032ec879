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
        {Call::kSize, 0, "Could not seek to trailer start."},
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
        {Call::kSync, 0, "Could not sync the file."},
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

}  // namespace
}  // namespace orbo::Data
