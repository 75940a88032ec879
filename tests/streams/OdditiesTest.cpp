// Behaviour that looks wrong and is required: callers have come to rely on it.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/Stream.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "streams/Elements.h"

namespace orbo::Data {

namespace {

std::string yes(bool value) { return value ? "yes" : "no"; }

struct Oddity {
    const char* name;
    std::function<std::string()> observe;
    const char* expected;
};

void PrintTo(const Oddity& oddity, std::ostream* out) { *out << oddity.name; }

class StreamOddities : public testing::TestWithParam<Oddity> {};

TEST_P(StreamOddities, AreKept) { EXPECT_EQ(GetParam().observe(), GetParam().expected); }

std::string countersOfDefaultIndex() {
    const auto created = Index::objectsCreated();
    const auto alive = Index::objectsAlive();
    { const Index index; }
    return std::to_string(Index::objectsCreated() - created) + " created, " +
           std::to_string(alive - Index::objectsAlive()) + " too few";
}

std::string sharingOfTypedValues() {
    const Index original(IndexPair(1, 2));
    const Index copy(original);
    Index assigned;
    assigned = original;
    return "copy shares: " + yes(copy.complexIndex() == original.complexIndex()) +
           ", assigned shares: " + yes(assigned.complexIndex() == original.complexIndex());
}

std::string selfAssignmentOfTypedIndex() {
    Index index(7u);
    index = Index(IndexString("text"));
    Index& self = index;
    index = self;
    return index.typeName() + ' ' + index.asString();
}

std::string orderAcrossTypes() {
    const Index pair(IndexPair(9, 9));
    const Index text(IndexString("a"));
    return "<= " + yes(pair <= text) + ", >= " + yes(pair >= text) +
           ", back <= " + yes(text <= pair);
}

std::string shrunkRange() {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    stream.setElementRange(0, 9);
    std::string counts = std::to_string(stream.elementCount());
    stream.setElementRange(0, 4);
    return counts + ", then " + std::to_string(stream.elementCount());
}

std::string firstLargeElements() {
    const RefPtr<Structure> structure = bytesStructure(4097);
    Stream stream = denseStream(*structure);
    std::string result;
    for (const unsigned int k : {0u, 1u, 2u, 0u}) {
        result += yes(stream.setElement(k, Handle(*structure))) + ' ';
    }
    return result + std::to_string(stream.elementCount());
}

std::string removedDenseElement() {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    stream.setElement(2, item(*structure, 2, "two"));
    stream.removeElement(2);
    return words(stream);
}

std::string typedIndexOnDenseStorage() {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    stream.setElement(IndexPair(4, 5), item(*structure, 2, "two"));
    return words(stream);
}

std::string denseResults() {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream(*structure, "mapped");
    std::string result = "empty: " + yes(stream.useDenseStorage(true));
    stream.setElement(0, item(*structure, 1, "one"));
    result += ", carried: " + yes(stream.useDenseStorage(false));
    return result + ", nothing to do: " + yes(stream.useDenseStorage(false));
}

std::string useDefaultsOfCopies() {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream(*structure, "mapped");
    std::string result = "was " + yes(stream.setUseDefaults(true));
    result += ", is " + yes(stream.useDefaults());
    Stream copy(stream);
    result += ", shared: " + yes(copy.useDefaults());
    copy.makeUnique();
    result += ", detached: " + yes(copy.useDefaults());
    stream.useDenseStorage(true);
    return result + ", other storage: " + yes(stream.useDefaults());
}

std::string postfixIncrement() {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream(*structure, "mapped");
    stream.setElement(0, item(*structure, 1, "one"));
    stream.setElement(1, item(*structure, 2, "two"));
    StreamIterator it = stream.begin();
    const StreamIterator result = it++;
    return "stays at " + it.index().asString() + ", gives " + result.index().asString();
}

std::string indexOfTheEnd() {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream(*structure, "stream");
    std::string result = stream.end().index().asString();
    stream.useDenseStorage(true);
    return result + ' ' + stream.end().index().asString();
}

INSTANTIATE_TEST_SUITE_P(
    Table, StreamOddities,
    testing::Values(
        Oddity{"DefaultIndexIsCountedOnlyWhenItDies", countersOfDefaultIndex,
               "0 created, 1 too few"},
        Oddity{"AssignmentSharesWhereCopyingClones", sharingOfTypedValues,
               "copy shares: no, assigned shares: yes"},
        Oddity{"SelfAssignedTypedIndexIsItsStaleNumber", selfAssignmentOfTypedIndex, "numeric 7"},
        Oddity{"TypesAreNeverEqualButAlwaysOrdered", orderAcrossTypes, "<= yes, >= no, back <= no"},
        Oddity{"ShrunkRangeEndsOneShort", shrunkRange, "10, then 4"},
        Oddity{"GrowthStepsLeaveNoRoomForFirstLargeElements", firstLargeElements,
               "no no yes yes 3"},
        Oddity{"RemovedDenseElementIsADefault", removedDenseElement, "0=0 ~|1=0 ~|2=0 ~|"},
        Oddity{"DenseStorageTakesTypedIndicesAsZero", typedIndexOnDenseStorage, "0=2 two|"},
        Oddity{"UseDenseStorageIsFalseWhenElementsWereCarried", denseResults,
               "empty: yes, carried: no, nothing to do: yes"},
        Oddity{"CopiesOfStorageLoseUseDefaults", useDefaultsOfCopies,
               "was no, is yes, shared: yes, detached: no, other storage: no"},
        Oddity{"PostfixIncrementIsInverted", postfixIncrement, "stays at 0, gives 1"},
        Oddity{"EndHasAnIndex", indexOfTheEnd, "0 4294967295"}),
    [](const auto& row) { return row.param.name; });

}  // namespace

}  // namespace orbo::Data
