// A write of what nobody edited leaves the file alone, whatever it looks like.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

#include "scenes/BinaryScene.h"
#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

template <typename SceneAccessor>
class UneditedWrite : public SceneTestOf<SceneAccessor> {
  protected:
    using Test = SceneTestOf<SceneAccessor>;

    void make(const std::string& bytes) {
        this->fSystem.files.clear();
        this->file() = bytes;
    }
    /// Neither the file nor a journal is written, nor the one locked against readers.
    void expectUntouched(const std::string& what) {
        const auto before = this->fSystem.files;
        this->fSystem.bytesWritten = 0;
        this->fSystem.fails = [](Files::Call call) {
            using Files::Call;
            for (const Call change : {Call::kCreate, Call::kRemove, Call::kRename, Call::kWrite,
                                      Call::kTruncate, Call::kSync, Call::kReserve}) {
                if (call == change) return true;
            }
            return false;
        };
        EXPECT_FALSE(this->fAccessor.isEdited()) << what;
        EXPECT_TRUE(this->write()) << what << '\n' << this->fErrors;
        this->fSystem.fails = [](Files::Call) { return false; };
        EXPECT_EQ(this->fSystem.files, before) << what;
        EXPECT_EQ(this->fSystem.bytesWritten, 0U) << what;
    }
    void expectUntouchedBy(const std::string& bytes, const std::string& filter,
                           const WritePolicy& policy, const std::string& what) {
        make(bytes);
        this->setPolicy(policy);
        ASSERT_TRUE(this->read(filter)) << this->fErrors;
        expectUntouched(what + ", filter " + filter);
        this->fAccessor.associations()["touched only"];
        expectUntouched(what + ", touched, filter " + filter);
        const auto n1 = this->fAccessor.associations().find("n1");
        if (n1 == this->fAccessor.associations().end() || n1->second.empty()) return;
        this->setNumber("n1", 5, 3);
        this->stream("n1").removeElement(Index(5));
        this->fAccessor.associations()["n9"] = this->fAccessor.associations()["n1"];
        this->fAccessor.associations().erase("n9");
        expectUntouched(what + ", edited and undone, filter " + filter);
    }
};

using UneditedTextWrite = UneditedWrite<QuilAsciiFileAccessor>;
using UneditedBinaryWrite = UneditedWrite<QuilBinaryFileAccessor>;

constexpr const char* kFilters[] = {"*|*", "*|n1", "|n1", "A|", "|", "B|own"};
constexpr bool kPolicies[] = {false, true};

WritePolicy policy(bool careful) { return careful ? WritePolicy::careful() : WritePolicy(); }

TEST_F(UneditedTextWrite, TouchesNothing) {
    const std::string emptyText = nodeStatement("n2", "endAssociations\n");
    const std::string pi = nodeStatement("n2", oneStream("F", "0\n3.14159265 1e-40\n"));
    const std::string f = structureStatement("name=F:float[2]=v");
    const std::string odd = replaced(statement("n1"), "\"raw\"", "\"odd\"");
    const std::pair<const char*, std::string> rows[] = {
        {"any order", statements("own n2 B n1 A")},
        {"repeated", statements("A A A2 n1 n1 n1=8 own own B B")},
        {"unreadable namesakes", statements("A! A n1! n1 n1! B")},
        {"only endAssociations", statements("A") + emptyText + statement("n1")},
        {"empty channel", statement("A") +
                              nodeStatement("n2",
                                            "channel\nname c\nendChannel\nend"
                                            "Associations\n") +
                              statement("n1")},
        {"formats nobody registered", statement("A") + odd + statement("n1") + odd},
        {"more digits than are written", statement("A") + f + pi + statement("n1")},
        {"more than is read", statements("A n2+ B+ n1")},
        {"comments in statements", statements("A n1// //more") + "applyMetadata\n//x\n"},
        {"blank and foreign lines", statements("A blank foo; n1 blank open")},
        {"carriage returns", replaced(statements("A n1 own"), "\n", "\r\n")},
        {"structure behind", statements("n1 A")},
        {"no structure", statements("n1 n2")},
        {"nothing", ""},
    };
    for (const auto& [name, section] : rows) {
        for (const bool careful : kPolicies) {
            for (const char* const filter : kFilters) {
                expectUntouchedBy(sceneFront() + section + kLastLine, filter, policy(careful),
                                  name);
                expectUntouchedBy(kHeader + section + kLastLine, filter, policy(careful),
                                  std::string("small, ") + name);
                expectUntouchedBy(sceneFront() + section, filter, policy(careful),
                                  std::string("no trailer, ") + name);
            }
        }
    }
}

TEST_F(UneditedBinaryWrite, TouchesNothing) {
    const std::string a = structureChunk("name=A:int32=x");
    const std::string b = structureChunk("name=B:string=s");
    const std::string n1 = nodeChunk("n1", oneStream("A", "0\n7\n"));
    const std::string n2 = nodeChunk("n2", oneStream("A", "0\n8\n"));
    const std::string own = nodeChunk("", oneStream("A", "0\n9\n"));
    const std::string odd = chunk("MTDA", strings("n1", "odd", "?"));
    for (const std::string& content :
         {b + n2 + n1 + own + a, a + a + n1 + n1 + n2 + n1, nodeChunk("n1", "!") + a + n1,
          a + odd + n1 + chunk("REFS", "text"), a + nodeChunk("n1", "endAssociations\n"), a,
          chunk("MTDA", strings("n1", "raw", oneStream("A", "")) + "more") + a, std::string()}) {
        for (const bool careful : kPolicies) {
            for (const char* const filter : kFilters) {
                BinaryScene scene(content);
                expectUntouchedBy(scene.bytes(), filter, policy(careful), content);
                scene.behind = "more";
                expectUntouchedBy(scene.bytes(), filter, policy(careful), content);
            }
        }
    }
}

// There is nothing of the caller's to put over what others have written.
TEST_F(UneditedTextWrite, LeavesWhatOthersWrote) {
    for (const bool careful : kPolicies) {
        for (const char* const others : {"A n1=8 n2", "A3 n1", "", "A"}) {
            make(sceneFront() + statements("A n1") + kLastLine);
            setPolicy(policy(careful));
            ASSERT_TRUE(read());
            make(sceneFront() + statements(others) + kLastLine);
            expectUntouched(others);
            EXPECT_FALSE(fAccessor.metConflict());
        }
    }
}

TEST_F(UneditedTextWrite, NeedsNoPermission) {
    make(sceneFront() + statements("n1 A") + kLastLine);
    ASSERT_TRUE(read());
    fSystem.readOnly.insert(fName);
    expectUntouched("read only");
    edit("n1=9");
    EXPECT_TRUE(fAccessor.isEdited());
    EXPECT_FALSE(write());
}

// Whoever opens the scene next undoes or finishes what was cut short, also without an edit.
TEST_F(UneditedTextWrite, StillRecovers) {
    make(sceneFront() + statements("A n1") + kLastLine);
    QuilAsciiFileAccessor other;
    ASSERT_TRUE(other.read(fName, fErrors));
    ASSERT_TRUE(read());
    edit("n1=9");
    fSystem.failAt(1, true, Files::Call::kSync);
    EXPECT_FALSE(write());
    fSystem.fails = [](Files::Call) { return false; };
    ASSERT_EQ(fSystem.files.size(), 2U) << "a journal is left";
    EXPECT_TRUE(other.write(fErrors)) << fErrors;
    EXPECT_EQ(fSystem.files.size(), 1U);
    // All new bytes were there.
    EXPECT_EQ(file(), sceneFront() + statements("A n1=9") + kLastLine);
}

// What the write gave is the same in the file, or it is written again.
TEST_F(UneditedTextWrite, ComesAfterAWriteToo) {
    const std::string f = structureStatement("name=A:float=x");
    const std::string pi = nodeStatement("n1", oneStream("A", "0\n3.5\n"));
    make(sceneFront() + f + pi + statement("n2=2") + kLastLine);
    setPolicy(WritePolicy::careful());
    ASSERT_TRUE(read());
    *stream("n1").element(0).asFloat() = 3.14159265F;
    ASSERT_TRUE(write()) << fErrors;
    expectUntouched("second write");
    // The six digits of the first write are not all that the model has.
    make(sceneFront() + f + pi + kLastLine);
    setPolicy(WritePolicy());
    ASSERT_TRUE(read());
    *stream("n1").element(0).asFloat() = 3.14159265F;
    ASSERT_TRUE(write());
    setPolicy(WritePolicy::careful());
    ASSERT_TRUE(write()) << fErrors;
    ASSERT_TRUE(read());
    EXPECT_EQ(*stream("n1").element(0).asFloat(), 3.14159265F);
}

// Whatever is edited is noticed, down to a bit of a number.
TEST_F(UneditedTextWrite, IsNoneWhereAnythingWasEdited) {
    using Edit = std::function<void(Stream&)>;
    const std::string structure =
        structureStatement("name=A:int32[2]=i:bool=b:string[2]=s:double=d:int8=c");
    const std::string element = R"(4 5 true \"x\" \"\" 0.1 7)"
                                "\n";
    const auto member = [](Stream& s, const char* name) {
        Handle handle = s.element(1);
        handle.setPositionByMemberName(name);
        return handle;
    };
    const auto setText = [&](Stream& s, unsigned int i, const char* text) {
        char** const slots = member(s, "s").asString();
        std::free(std::exchange(slots[i], ::strdup(text)));
    };
    const std::pair<const char*, Edit> edits[] = {
        {"number", [&](Stream& s) { member(s, "i").asInt32()[1] = 6; }},
        {"boolean", [&](Stream& s) { *member(s, "b").asBoolean() = false; }},
        {"string", [&](Stream& s) { setText(s, 0, "y"); }},
        {"strings exchanged", [&](Stream& s) { setText(s, 0, ""), setText(s, 1, "x"); }},
        {"last bit", [&](Stream& s) { *member(s, "d").asDouble() = std::nextafter(0.1, 1); }},
        {"sign of zero", [&](Stream& s) { *member(s, "c").asInt8() = 0; }},
        {"element", [&](Stream& s) { s.setElement(9, s.element(1)); }},
        {"element moved", [&](Stream& s) { s.setElement(3, s.element(1)), s.removeElement(1); }},
        {"member",
         [&](Stream& s) {
             const_cast<Structure&>(s.structure()).addMember(Member::kInt8, 1, "more");
         }},
        {"structure renamed",
         [&](Stream& s) { const_cast<Structure&>(s.structure()).setName("Z"); }},
    };
    for (const auto& [name, change] : edits) {
        SCOPED_TRACE(name);
        const std::string text = oneStream("A", "1\n" + element + "2\n" + element);
        make(sceneFront() + structure + nodeStatement("n1", text) + kLastLine);
        ASSERT_TRUE(read()) << fErrors;
        change(stream("n1"));
        const std::string before = file();
        ASSERT_TRUE(write()) << fErrors;
        // Six digits do not show the last bit of a number.
        EXPECT_EQ(file() == before, name == std::string("last bit"));
    }
}

}  // namespace
}  // namespace orbo::Data
