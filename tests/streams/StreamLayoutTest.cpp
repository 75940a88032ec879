// Structures that change while streams hold elements of them.
// SPDX-License-Identifier: Apache-2.0

#include <data/Stream.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "streams/Elements.h"
#include "streams/StreamAccess.h"

namespace orbo::Data {

namespace {

// Each test runs on mapped and on dense storage.
class StreamLayoutTest : public testing::TestWithParam<bool> {
  protected:
    StreamLayoutTest() : structure(numberAndText()), stream(*structure, "items") {
        stream.useDenseStorage(GetParam());
        stream.setElement(0, item(*structure, 1, "one"));
        stream.setElement(1, item(*structure, 2, "two"));
    }

    static std::string value(Handle handle, const char* member) {
        return handle.setPositionByMemberName(member) ? handle.str(0) : "no such member";
    }

    RefPtr<Structure> structure;
    Stream stream;
};

TEST_P(StreamLayoutTest, NewMembersAreDefaultAndWritable) {
    structure->addMember(Member::kDouble, 1, "weight");
    EXPECT_EQ(value(stream.element(1), "weight"), "0");
    Handle handle = stream.element(1);
    handle.setPositionByMemberName("weight");
    *handle.asDouble() = 0.5;
    EXPECT_EQ(value(stream.element(1), "weight"), "0.5");
    EXPECT_EQ(words(stream), "0=1 one|1=2 two|");
}

TEST_P(StreamLayoutTest, EveryOperationCopesWithTheChange) {
    using Operation = void (*)(Stream&, const Structure&);
    const struct {
        const char* name;
        Operation run;
        const char* result;
    } rows[] = {
        {"none", [](Stream&, const Structure&) {}, "0=1 one|1=2 two|"},
        {"set", [](Stream& s, const Structure& t) { s.setElement(1, item(t, 3, "three")); },
         "0=1 one|1=3 three|"},
        {"set from itself", [](Stream& s, const Structure&) { s.setElement(0, s.element(1)); },
         "0=2 two|1=2 two|"},
        {"swap", [](Stream& s, const Structure&) { s.swapElements(0, 1); }, "0=2 two|1=1 one|"},
        {"reindex", [](Stream& s, const Structure&) { s.reindexElement(0, 1); },
         GetParam() ? "0=0 ~|1=1 one|" : "1=1 one|"},
        {"remove", [](Stream& s, const Structure&) { s.removeElement(1); },
         GetParam() ? "0=1 one|1=0 ~|" : "0=1 one|"},
        {"detach",
         [](Stream& s, const Structure&) {
             const Stream other(s);
             s.makeUnique();
         },
         "0=1 one|1=2 two|"},
        {"change storage", [](Stream& s, const Structure&) { s.useDenseStorage(!GetParam()); },
         "0=1 one|1=2 two|"},
        {"change storage forth and back",
         [](Stream& s, const Structure&) {
             s.useDenseStorage(!GetParam());
             s.useDenseStorage(GetParam());
         },
         "0=1 one|1=2 two|"},
        {"dump",
         [](Stream& s, const Structure&) {
             std::ostringstream out;
             Debug::Print print(out);
             Debug::Footprint footprint;
             EXPECT_TRUE(Stream::Debug(&s, print));
             EXPECT_TRUE(Stream::Debug(&s, footprint));
         },
         "0=1 one|1=2 two|"},
    };
    for (const auto& row : rows) {
        const RefPtr<Structure> edited = numberAndText();
        Stream changed(*edited, "changed");
        changed.useDenseStorage(GetParam());
        changed.setElement(0, item(*edited, 1, "one"));
        changed.setElement(1, item(*edited, 2, "two"));
        edited->addMember(Member::kString, 3, "notes");
        row.run(changed, *edited);
        EXPECT_EQ(words(changed), row.result) << row.name;
        EXPECT_EQ(value(changed.element(1), "notes"), "") << row.name;
    }
}

TEST_P(StreamLayoutTest, HandlesMadeBeforeTheChangeStillFit) {
    const Handle own = item(*structure, 3, "three");
    Handle adopted = item(*structure, 4, "four");
    const Handle onElement = stream.element(1);
    structure->addMember(Member::kString, 1, "note");
    EXPECT_TRUE(stream.setElement(0, onElement));
    EXPECT_TRUE(stream.setElement(1, own));
    EXPECT_TRUE(StreamAccess::adoptElement(stream, 2, std::move(adopted)));
    EXPECT_EQ(words(stream), "0=2 two|1=3 three|2=4 four|");
    EXPECT_EQ(value(stream.element(2), "note"), "");
}

TEST_P(StreamLayoutTest, IteratorsWalkOnWithTheNewMembers) {
    StreamIterator it = stream.begin();
    structure->addMember(Member::kInt8, 1, "flag");
    ++it;
    EXPECT_EQ(words(*it), "2 two");
    EXPECT_EQ(value(*it, "flag"), "0");
}

TEST_P(StreamLayoutTest, AssignedStructureKeepsWhatItShares) {
    const RefPtr<Structure> next(new Structure("next"));
    next->addMember(Member::kInt32, 2, "texts");  // another type: lost
    next->addMember(Member::kFloat, 1, "new");
    next->addMember(Member::kInt32, 1, "number");
    *structure = *next;
    EXPECT_EQ(value(stream.element(0), "number"), "1");
    EXPECT_EQ(value(stream.element(1), "number"), "2");
    EXPECT_EQ(value(stream.element(1), "texts"), "0");
    EXPECT_EQ(value(stream.element(1), "new"), "0");
}

TEST_P(StreamLayoutTest, ElementsOfAnEmptyStructureGetData) {
    const RefPtr<Structure> grown = bytesStructure(0);
    Stream empties(*grown, "empties");
    empties.useDenseStorage(GetParam());
    for (unsigned int k = 0; k < 3; ++k) ASSERT_TRUE(empties.setElement(k, Handle(*grown)));
    grown->addMember(Member::kInt32, 1, "number");
    grown->addMember(Member::kString, 2, "texts");
    EXPECT_EQ(words(empties), "0=0 ~|1=0 ~|2=0 ~|");
    *grown = *bytesStructure(0);
    EXPECT_EQ(words(empties), "0=-|1=-|2=-|");
}

TEST_P(StreamLayoutTest, StaysAsItIsWithoutMemoryForTheNewLayout) {
    makeGigantic(*structure);
    EXPECT_EQ(words(stream.element(1)), "2 two");
    EXPECT_FALSE(stream.setElement(0, stream.element(1)));
    Stream copy(stream);
    EXPECT_TRUE(copy.makeUnique());
    EXPECT_EQ(words(copy), "0=1 one|1=2 two|");
    EXPECT_FALSE(stream.useDenseStorage(!GetParam())) << "new storage takes no old layout";
    EXPECT_EQ(words(stream), "0=1 one|1=2 two|");
    *structure = *numberAndText();
    EXPECT_TRUE(stream.setElement(0, stream.element(1)));
    EXPECT_EQ(words(stream), "0=2 two|1=2 two|");
}

INSTANTIATE_TEST_SUITE_P(Storages, StreamLayoutTest, testing::Bool(),
                         [](const auto& storage) { return storage.param ? "Dense" : "Mapped"; });

}  // namespace

}  // namespace orbo::Data
