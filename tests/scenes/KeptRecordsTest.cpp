// What a write leaves in the file keeps its meaning, and nothing of it goes without a word.
// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "scenes/BinaryScene.h"
#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

template <typename SceneAccessor>
std::string codesOf(const SceneAccessor& accessor) {
    std::string codes;
    for (const Finding& finding : accessor.findings()) {
        codes += std::string(codes.empty() ? "" : " ") + Finding::nameOf(finding.code);
        if (finding.node) codes += '(' + *finding.node + ')';
    }
    return codes;
}

template <typename SceneAccessor>
class KeptRecordsOf : public SceneTestOf<SceneAccessor> {
  protected:
    Structure* structure(const std::string& name) {
        for (const Structure* found : this->fAccessor.structures()) {
            if (found->name() == name) return const_cast<Structure*>(found);
        }
        return nullptr;
    }
    /// In place of the one of that name, if any.
    void replace(const std::string& name, const Structure* by) {
        Accessor::StructureSet set;
        for (const Structure* found : this->fAccessor.structures()) {
            if (found->name() != name) set.insert(found);
        }
        if (by) set.insert(by);
        this->fAccessor.setStructures(set);
    }
};

class KeptRecords : public KeptRecordsOf<QuilAsciiFileAccessor> {
  protected:
    void make(const std::string& section) { file() = sceneFront() + section + kLastLine; }
    [[nodiscard]] std::string section() {
        const std::string front = sceneFront();
        return file().substr(front.size(), file().size() - front.size() - kLastLine.size());
    }
};

const WritePolicy kPolicies[] = {WritePolicy(), WritePolicy::careful()};

// The members of others come in another order, so that width and height are exchanged.
const char* const kSize = "name=A:int32=width:int32=height";
const char* const kTurned = "name=A:int32=height:int32=width";

RefPtr<Structure> turned() {
    RefPtr<Structure> structure(new Structure("A"));
    structure->addMember(Member::kInt32, 1, "height");
    structure->addMember(Member::kInt32, 1, "width");
    return structure;
}

// The node of a place in words, as `codesOf` shows it.
std::string nodeIn(const std::string& place) {
    if (place.rfind("Scene", 0) == 0) return "()";
    if (place.rfind("Node '", 0) != 0) return {};
    return '(' + place.substr(6, place.find('\'', 6) - 6) + ')';
}

class StructureEdits : public KeptRecords {
  protected:
    void expectRefusals(const std::string& filter, const std::string& place) {
        const std::string before = section();
        const auto renamed = [this](Structure& by) {
            by.setName("Q");
            replace("A", nullptr);
            replace("Q", &by);
        };
        const struct {
            const char* name;
            const char* verb;
            std::function<void()> edit;
        } edits[] = {
            {"order", "changed", [&] { replace("A", turned().get()); }},
            {"other type", "changed", [&] { replace("A", makeStructure("A").get()); }},
            {"member", "changed", [&] { structure("A")->addMember(Member::kInt8, 1, "more"); }},
            {"renamed", "renamed to 'Q'", [&] { renamed(*RefPtr<Structure>(structure("A"))); }},
            {"renamed with a member", "renamed to 'Q'",
             [&] {
                 const RefPtr<Structure> a(structure("A"));
                 a->addMember(Member::kInt8, 1, "more");
                 renamed(*a);
             }},
            {"renamed copy", "renamed to 'Q'",
             [&] { renamed(*RefPtr<Structure>(new Structure(*structure("A")))); }},
        };
        for (const WritePolicy& policy : kPolicies) {
            for (const auto& edit : edits) {
                // A careful write adds the structure that streams still have.
                if (policy.addMissingStructures && edit.name == std::string("renamed copy")) break;
                SCOPED_TRACE(std::string(edit.name) + ", filter " + filter + '\n' + before);
                ASSERT_TRUE(read(filter)) << fErrors;
                setPolicy(policy);
                edit.edit();
                expectRefusal("Structure 'A' cannot be " + std::string(edit.verb) + ": " + place +
                              " stays as it is in the file and needs it");
                EXPECT_EQ(codesOf(fAccessor), "write-failed" + nodeIn(place));
                EXPECT_EQ(fSystem.files.size(), 1U);
            }
        }
    }
};

TEST_F(StructureEdits, AreRefusedWhereRecordsThatStayNeedThem) {
    const std::string a = structureStatement(kSize);
    const std::string n1 = nodeStatement("n1", oneStream("A", "0\n4 3\n"));
    const std::string n2 = nodeStatement("n2", oneStream("A", "0\n1 2\n"));
    const std::string unreadable = nodeStatement("n2", oneStream("A", "0\n1 x\n"));
    const std::string b = structureStatement("name=B:int32=x");
    const std::string usesB = nodeStatement("n1", oneStream("B", "0\n7\n"));
    const std::string twice =
        nodeStatement("n2", replaced(oneStream("A", "0\n1 2\n"), "endChannel\n",
                                     "stream\nname s\nstructure B\nendStream\nendChannel\n"));
    const std::string place = ", channel 'c', stream 's'";
    const struct {
        const char* name;
        std::string section;
        const char* filter;
        std::string place;
    } rows[] = {
        {"filtered out", a + n1 + n2, "*|n1", "Node 'n2'" + place},
        {"filtered out, structure too", a + b + n1 + n2, "A|", "Node 'n1'" + place},
        {"the scene", a + n1 + replaced(n2, "n2", "-scn"), "*|n1", "Scene" + place},
        {"unreadable", a + n1 + unreadable, "*|*", "Node 'n2'" + place},
        {"hidden", a + b + usesB + replaced(n2, "n2", "n1"), "*|*", "Node 'n1'" + place},
        {"in front of what was read", a + b + n1 + usesB, "*|n1", "Node 'n1'" + place},
        {"with more behind the end of the name",
         a + n1 + replaced(n2, "structure A", std::string("structure A\0b", 13)), "*|n1",
         "Node 'n2'" + place},
        {"unknown format", a + n1 + replaced(n2, "raw", "odd"), "*|*",
         "Node 'n2', in format 'odd'"},
        {"not understood", a + n1 + replaced(n2, "\t\tn2", "\t\t"), "*|*",
         "A statement that was not understood" + place},
        {"passed over", a + b + n1 + twice, "*|n1", "Node 'n2'" + place},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        make(row.section);
        expectRefusals(row.filter, row.place);
    }
}

// What stays in the file is not asked for more than it needs.
TEST_F(StructureEdits, AreDoneWhereNothingThatStaysNeedsThem) {
    const std::string a = structureStatement(kSize);
    const std::string b = structureStatement("name=B:int32=x");
    const std::string n1 = nodeStatement("n1", oneStream("A", "0\n4 3\n"));
    const std::string looks = nodeStatement("n2", oneStream("B", "structure A\n7\n", "string"));
    const std::string behind = nodeStatement("n3", oneStream("B", "") + "structure A\n");
    const std::string later = nodeStatement("n4", oneStream("Later", ""));
    make(a + b + n1 + looks + behind + later);
    for (const WritePolicy& policy : kPolicies) {
        ASSERT_TRUE(read("*|n1"));
        setPolicy(policy);
        structure("A")->addMember(Member::kInt8, 1, "more");
        addStructure(*makeStructure("Later"));
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(codesOf(fAccessor), "");
        EXPECT_NE(section().find("width:int32=height:int8=more"), std::string::npos);
        for (const std::string& kept : {looks, behind, later}) {
            EXPECT_NE(section().find(kept), std::string::npos);
        }
        make(a + b + n1 + looks + behind + later);
    }
}

TEST_F(StructureEdits, OnlyKeepWhatIsErased) {
    const std::string a = structureStatement(kSize);
    const std::string other = structureStatement(kTurned);
    const std::string n2 = nodeStatement("n2", oneStream("A", "0\n1 2\n"));
    for (const std::string& structures : {a, a + other, a + a}) {
        for (const WritePolicy& policy : kPolicies) {
            make(structures + n2);
            ASSERT_TRUE(read("*|"));
            setPolicy(policy);
            edit("-A");
            ASSERT_TRUE(write()) << fErrors;
            EXPECT_EQ(section(), structures + n2);
            EXPECT_EQ(codesOf(fAccessor), "structure-kept");
            EXPECT_EQ(
                fAccessor.findings().front().message,
                "Structure 'A' stays in the file: Node 'n2', channel 'c', stream 's' needs it");
            EXPECT_EQ(fErrors, "");
            writeKeeping({});
        }
    }
}

// Another program's structure is not put behind ours where its records need it.
TEST_F(StructureEdits, AreRefusedWhereOthersHaveChangedTheFile) {
    const std::string n1 = nodeStatement("n1", oneStream("A", "0\n4 3\n"));
    const std::string n2 = nodeStatement("n2", oneStream("A", "0\n1 2\n"));
    make(structureStatement(kSize) + n1);
    ASSERT_TRUE(read());
    make(structureStatement(kTurned) + n1 + n2);
    edit("+Z");
    expectRefusal("Structure 'A' cannot be changed: Node 'n2', channel 'c', stream 's'");
}

using KeptChunks = KeptRecordsOf<QuilBinaryFileAccessor>;

TEST_F(KeptChunks, KeepTheirStructures) {
    const std::string content = structureChunk(kSize) +
                                nodeChunk("n1", oneStream("A", "0\n4 3\n")) +
                                nodeChunk("n2", oneStream("A", "0\n1 2\n"));
    file() = BinaryScene(content).bytes();
    for (const WritePolicy& policy : kPolicies) {
        setPolicy(policy);
        ASSERT_TRUE(read("*|n1"));
        structure("A")->addMember(Member::kInt8, 1, "more");
        expectRefusal("Structure 'A' cannot be changed: Node 'n2', channel 'c', stream 's'");
        ASSERT_TRUE(read("*|"));
        edit("-A");
        ASSERT_TRUE(write()) << fErrors;
        EXPECT_EQ(file(), BinaryScene(content).bytes());
        EXPECT_EQ(codesOf(fAccessor), "structure-kept");
    }
}

// Several records of one name, what is said when they are read, and what an edit makes of them.
TEST_F(KeptRecords, SeveralOfANameStayOrAreToldOf) {
    const struct {
        const char* before;
        const char* filter;
        const char* read;  // codes
        const char* edit;
        const char* after;
        const char* written;  // codes; a careful write that would give "record-dropped" is refused
    } rows[] = {
        {"A n1 n1=8", "*|*", "node-repeated(n1)", "+Z", "A Z n1 n1=8", ""},
        {"A n1 n1=8 n1", "*|*", "node-repeated(n1) node-repeated(n1)", "n1=9", "A n1=9",
         "record-dropped(n1) record-dropped(n1)"},
        {"A n1 n1=8 n2", "*|*", "node-repeated(n1)", "-n1", "A n2", "record-dropped(n1)"},
        {"A n1 n1!", "*|*", "node-repeated(n1)", "n1=9", "A n1=9 n1!", ""},
        {"A n1! n1", "*|*", "text-unreadable(n1)", "n1=9", "A n1=9 n1!", ""},
        {"A n1! n1 n1=8", "*|*", "text-unreadable(n1) node-repeated(n1)", "-n1", "A n1!",
         "record-dropped(n1)"},
        {"A n1=3 own own=8", "*|*", "node-repeated()", "-own", "A n1=3", "record-dropped()"},
        {"A A n1", "*|*", "structure-repeated", "+Z n1=9", "A A Z n1=9", ""},
        {"A A2 n1", "*|*", "structure-differs", "+Z n1=9", "A A2 Z n1=9", ""},
        {"A A2 B", "*|*", "structure-differs", "-A", "B", "record-dropped"},
        {"A A B", "*|*", "structure-repeated", "-A", "B", "record-dropped"},
        {"A A n1 n2 n2", "*|n1", "structure-repeated", "n1=9", "A A n2 n2 n1=9", ""},
        {"B B A A2 n1 n1", "B|n1", "", "n1=9", "A A2 B B n1=9", "record-dropped(n1)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.before) + ", edit " + row.edit);
        const bool drops = std::string(row.written).find("record-dropped") == 0;
        for (const WritePolicy& policy : kPolicies) {
            make(statements(row.before));
            setPolicy(policy);
            ASSERT_TRUE(read(row.filter)) << fErrors;
            if (*row.read != '\0') {
                EXPECT_EQ(codesOf(fAccessor), row.read);
            }
            edit(row.edit);
            if (policy.verify && drops) {
                expectRefusal("");
                EXPECT_NE(fErrors.find("; a change would drop the others"), std::string::npos);
                continue;
            }
            ASSERT_TRUE(write()) << fErrors;
            EXPECT_EQ(section(), statements(row.after));
            EXPECT_EQ(codesOf(fAccessor), row.written);
            EXPECT_EQ(fErrors, "");
        }
    }
}

}  // namespace
}  // namespace orbo::Data
