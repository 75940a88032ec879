// Tests of what a check need not try.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/CertainNode.h"

#include <data/Structure.h>
#include <gtest/gtest.h>

#include "streams/StreamAccess.h"

namespace orbo::Data {

namespace {

Associations nodeOf(const char* channel, const char* streamName, const char* indexType) {
    const RefPtr<Structure> structure(new Structure("S"));
    structure->addMember(Member::kFloat, 3, "x");
    Stream stream(*structure, streamName);
    StreamAccess::setIndexType(stream, indexType);
    Associations node;
    node.channel(channel).setDataStream(stream);
    return node;
}

}  // namespace

TEST(CertainNode, HasNothingOfPlugInsAndNothingOdd) {
    EXPECT_TRUE(readsBackForCertain(nodeOf("c", "s", "numeric")));
    EXPECT_TRUE(readsBackForCertain(nodeOf("c", "s", "pair")));
    EXPECT_TRUE(readsBackForCertain(nodeOf("c", "s", "string")));
    EXPECT_FALSE(readsBackForCertain(nodeOf("c", "s", "alien")));
    EXPECT_FALSE(readsBackForCertain(nodeOf("c", "", "numeric")));
    EXPECT_FALSE(readsBackForCertain(nodeOf("", "s", "numeric")));
}

}  // namespace orbo::Data
