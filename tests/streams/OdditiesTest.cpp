// What callers have come to rely on: behaviour that looks wrong, and dumps, word for word.
// SPDX-License-Identifier: Apache-2.0

#include <debug/Footprint.h>

#include "debug/Printed.h"
#include "streams/Elements.h"
#include "streams/StreamImplDense.h"

namespace orbo::Data {

namespace {

using Debug::printed;

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
    dense.setElement(IndexPair(2, 3), item(*structure, 3, "three"));
    EXPECT_EQ(words(dense.element(IndexPair(4, 5))), "3 three") << "pairs overwrite each other";
    EXPECT_EQ(dense.indexType(), "numeric") << "which nobody compares";
    dense.clear();
    EXPECT_EQ(dense.elementCount(), 2U) << "the count stays";
    EXPECT_TRUE(dense.hasElement(1) && !dense.element(1).hasData());
    EXPECT_EQ(words(dense), "0=-|") << "a walk of one step";
    EXPECT_TRUE(dense.column<int>("number").empty());
    EXPECT_EQ(dense.column<int>("number").problem(), "");
    dense.setElement(1, item(*structure, 1, "one"));
    EXPECT_EQ(words(dense), "0=0 ~|1=1 one|");

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

TEST(StreamDebugTest, Dense) {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    stream.setElement(1, item(*structure, 7, "seven"));
    EXPECT_EQ(printed(&stream),
              "Data Stream\n{\n"
              "    Data Stream 'dense' uses structure 'Item' with index type 'numeric'\n"
              "    Highest valid index = 2\n    Number allocated    = 170\n"
              "    Stream Elements\n    {\n        Element count = 2\n"
              "        [0] 1 elements: [ 0 ] | 2 elements: [   ]\n"
              "        [1] 1 elements: [ 7 ] | 2 elements: [   ]\n    }\n}\n");
    Debug::Footprint footprint;
    EXPECT_TRUE(Stream::Debug(&stream, footprint));
    EXPECT_EQ(footprint.totalSize(), sizeof(Stream) + sizeof(StreamImplDense) +
                                         170 * structure->totalSize() + sizeof "seven");
    stream.clear();
    EXPECT_THAT(printed(&stream, Stream::kDebugHex),
                testing::HasSubstr("\n        [1] PTR: 0x(nil) : 1 elements: [ 0 ](0x(nil)) "));
    // Numbers are aligned, except behind some powers of ten.
    stream.setElementRange(1, 101);
    EXPECT_THAT(printed(&stream), testing::HasSubstr(" [ 0] "));
    stream.setElementRange(1, 110);
    EXPECT_THAT(printed(&stream), testing::HasSubstr(" [  0] "));
}

}  // namespace

}  // namespace orbo::Data
