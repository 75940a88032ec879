// Behaviour that looks wrong and is required: callers have come to rely on it.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/Stream.h>
#include <gtest/gtest.h>

#include <string>

#include "streams/Elements.h"

namespace orbo::Data {

namespace {

TEST(Oddities, OfIndicesAreKept) {
    const auto created = Index::objectsCreated();
    const auto alive = Index::objectsAlive();
    { const Index index; }
    EXPECT_EQ(Index::objectsCreated(), created) << "a default index is counted when it dies only";
    EXPECT_EQ(Index::objectsAlive(), alive - 1);

    const Index original(IndexString("text"));
    Index assigned(7u);
    assigned = original;
    EXPECT_NE(Index(original).complexIndex(), original.complexIndex()) << "copying clones";
    EXPECT_EQ(assigned.complexIndex(), original.complexIndex()) << "assignment shares";
    const Index& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.typeName() + assigned.asString(), "numeric7") << "its stale number";
    assigned = original;
    EXPECT_EQ((assigned = 5u).asString(), "5");
}

TEST(Oddities, OfStreamsAreKept) {
    const RefPtr<Structure> structure = numberAndText();
    Stream dense = denseStream(*structure);
    dense.setElementRange(0, 9);
    EXPECT_EQ(dense.elementCount(), 10u);
    dense.setElementRange(0, 2);
    EXPECT_EQ(dense.elementCount(), 2u) << "a shrunk range ends one short";
    dense.setElement(1, item(*structure, 1, "one"));
    dense.removeElement(1);
    dense.setElement(IndexPair(4, 5), item(*structure, 2, "two"));
    EXPECT_EQ(words(dense), "0=2 two|1=0 ~|") << "typed is 0, removed is a default";

    Stream stream(*structure, "stream");
    EXPECT_EQ(stream.end().index(), Index(0u));
    EXPECT_EQ(dense.end().index(), Index(4294967295u));
    EXPECT_TRUE(stream.useDenseStorage(true));
    stream.setElementRange(0, 1);
    EXPECT_FALSE(stream.useDenseStorage(false)) << "although the elements were carried";
    StreamIterator it = stream.begin();
    const StreamIterator result = it++;
    EXPECT_EQ(it.index().asString() + result.index().asString(), "01") << "the result moves on";

    EXPECT_FALSE(stream.setUseDefaults(true));
    Stream copy(stream);
    EXPECT_TRUE(copy.useDefaults());
    copy.makeUnique();
    stream.useDenseStorage(true);
    EXPECT_FALSE(copy.useDefaults() || stream.useDefaults()) << "copies of storage lose it";
}

}  // namespace

}  // namespace orbo::Data
