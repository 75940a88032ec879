// Every file call of a read and a write fails, once and from then on.
// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <functional>

#include "accessors/SceneTest.h"

namespace orbo::Data {
namespace {

using Files::Call;

const std::string kA = structureStatement("name=A:int32=x");
const std::string kN1 = nodeStatement("n1", oneStream("A", "0\n7\n"));
const std::string kN2 = nodeStatement("n2", oneStream("A", "0\n7\n"));
const std::string kOwn = nodeStatement("-scn", oneStream("A", "0\n7\n"));

struct Edit {
    const char* name;
    std::function<void(Accessor&)> apply;
};

const Edit kEdits[] = {
    {"same length", [](Accessor& a) { setNumber(a, "n1", 0, 8); }},
    {"grows", [](Accessor& a) { setNumber(a, "n1", 0, 1234567); }},
    {"shrinks", [](Accessor& a) { a.associations().erase("n1"); }},
    {"nothing left", [](Accessor& a) { a.clear(); }},
};

class WriteFaults : public SceneTest {
  protected:
    void start(const Edit& edit, const std::string& section) {
        fSystem.fails = [](Call) { return false; };
        makeScene(section);
        ASSERT_TRUE(read());
        edit.apply(fAccessor);
        fBefore = file();
    }

    std::string fBefore;
};

TEST_F(WriteFaults, LeaveTheOldFileOrTheNewOne) {
    for (const Edit& edit : kEdits) {
        for (const bool fromThenOn : {false, true}) {
            for (int n = 0;; ++n) {
                SCOPED_TRACE(std::string(edit.name) + ", call " + std::to_string(n));
                start(edit, kA + kN1 + kN2 + kOwn);
                fSystem.failAt(n, fromThenOn);
                if (write()) {
                    EXPECT_NE(file(), fBefore);
                    EXPECT_GT(n, 10);
                    break;
                }
                EXPECT_FALSE(fErrors.empty());
                const bool torn = fErrors.find("could not be put back") != std::string::npos;
                EXPECT_TRUE(fromThenOn || !torn);
                if (torn) continue;
                EXPECT_EQ(file(), fBefore);
                // Nothing was lost on the way: the next write does it.
                fSystem.fails = [](Call) { return false; };
                ASSERT_TRUE(write()) << fErrors;
                EXPECT_NE(file(), fBefore);
            }
        }
    }
}

struct FaultRow {
    const char* name;
    std::string section;
    Call kind;
    int n;
    const char* message;
};

TEST_F(WriteFaults, HaveAMessageForEachStep) {
    // Lines that need more than one block between the statements.
    const std::string far = "// " + std::string(70000, 'x') + "\n";
    const std::string all = kA + kN1 + kN2 + kOwn;
    const FaultRow rows[] = {
        {"open", all, Call::kOpen, 0, "Could not open scene.kx for writing."},
        {"header", all, Call::kRead, 0, "Error reading header."},
        {"size", all, Call::kSize, 0, "Could not seek to trailer start."},
        {"trailer", all, Call::kSeek, 1, "Could not seek to trailer start."},
        {"trailer", all, Call::kRead, 1, "Could not read trailer."},
        {"last", all, Call::kSeek, 2, "Could not seek to the last metadata block."},
        {"last", all, Call::kRead, 2, "Failed reading line while searching metadata end."},
        {"first", kA + far + kN1, Call::kSeek, 3, "Could not seek to the first metadata block."},
        {"first", kA + far + kN1, Call::kRead, 3,
         "Failed reading line while searching metadata start."},
        {"tail", all, Call::kSeek, 3, "Failed to seek to the trailer position."},
        {"tail", all, Call::kRead, 3, "Failed to read the file trailer."},
        {"start", all, Call::kSeek, 4, "Could not seek to metadata start."},
        {"structures", all, Call::kWrite, 0, "Could not write structure chunk to file."},
        {"nodes", all, Call::kWrite, 1, "Could not write node associations statement to file."},
        {"scene", all, Call::kWrite, 2, "Could not write scene associations statement to file."},
        {"rest", all, Call::kWrite, 3, "Failed to append the file trailer."},
        {"truncate", all, Call::kTruncate, 0, "Could not truncate the file."},
        {"sync", all, Call::kSync, 0, "Could not sync the file."},
    };
    for (const FaultRow& row : rows) {
        SCOPED_TRACE(row.name);
        start({"", [](Accessor& a) { setNumber(a, "n1", 0, 8); }}, row.section);
        fAccessor.associations().erase("n2");
        fSystem.failAt(row.n, false, row.kind);
        EXPECT_FALSE(write());
        EXPECT_EQ(fErrors, row.message);
        EXPECT_EQ(file(), fBefore);
    }
}

TEST_F(WriteFaults, SaysWhenTheOldContentIsLost) {
    start(kEdits[1], kA + kN1);
    fSystem.failAt(0, true, Call::kWrite);
    EXPECT_FALSE(write());
    EXPECT_EQ(fErrors,
              "Could not write structure chunk to file.\nThe old content could not be put back.");
}

}  // namespace
}  // namespace orbo::Data
