// The sentences that tell why an edit of a structure, the registry, a channel or associations was
// not made, and that such an edit has changed nothing.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>

#include "Streams.h"

#include "core/StructureRegistry.h"

namespace orbo::Data {
namespace {

using testing::ElementsAre;
using M = Member;

struct Case {
    EditResult result;
    const char* reason;
};

template <std::size_t count>
void expectReasons(const Case (&cases)[count]) {
    for (const Case& row : cases) {
        EXPECT_EQ(row.result.reason(), row.reason);
        EXPECT_EQ(row.result, row.result.reason().empty());
    }
}

TEST(EditReasons, OfStructuresAndTheirRegistry) {
    const StructureRegistry::SetAside aside;
    const RefPtr<Structure> item = numberAndText();
    const RefPtr<Structure> twin = numberAndText();
    const auto none = static_cast<M::eDataType>(99);
    const Case kCases[] = {
        {item->tryAddMember(M::kFloat, 1, nullptr), "A member of structure \"Item\" needs a name."},
        {item->tryAddMember(M::kFloat, 1, ""), "A member of structure \"Item\" needs a name."},
        {item->tryAddMember(none, 1, "x"),
         "Member \"x\" of structure \"Item\" needs a type that stores values."},
        {item->tryAddMember(M::kFloat, 0, "x"),
         "Member \"x\" of structure \"Item\" needs a length of 1 or more."},
        {item->tryAddMember(M::kFloat, 1, "texts"),
         "There is a member \"texts\" in structure \"Item\" already."},
        {Structure::tryDeregisterStructure(*item), "The structure \"Item\" is not registered."},
        {Structure::tryRegisterStructure(*item), ""},
        {Structure::tryRegisterStructure(*item), "The structure \"Item\" is registered already."},
        {Structure::tryRegisterStructure(*twin),
         "A structure that equals structure \"Item\" is registered already."},
        {Structure::tryDeregisterStructure(*item), ""},
        {item->tryAddMember(M::kFloat, 1, "x"), ""},
    };
    expectReasons(kCases);
    EXPECT_EQ(item->memberCount(), 3U);
    EXPECT_TRUE(Structure::allStructures().empty());
}

TEST(EditReasons, OfChannels) {
    const Streams streams;
    Channel channel("face");
    Stream* const a = channel.setDataStream(streams.make("a", 1));
    channel.setDataStream(denseStream(*streams.structure, "b"))->setIndexType("pair");
    channel.dataStream("b")->useDenseStorage(true);
    const Case kCases[] = {
        {channel.tryAddDataStream(streams.make("a", 2)),
         "There is a stream \"a\" in channel \"face\" already."},
        {channel.tryRenameDataStream("a", "b"),
         "There is a stream \"b\" in channel \"face\" already."},
        {channel.tryRenameDataStream("x", "b"), "There is no stream \"x\" in channel \"face\"."},
        {channel.tryRenameDataStream("x", "x"), "There is no stream \"x\" in channel \"face\"."},
        {channel.tryRenameDataStream("a", "a"), ""},
        {channel.tryRemoveDataStream("x"), "There is no stream \"x\" in channel \"face\"."},
        {channel.tryAddElement("lid"),
         "There is no stream with indices of type \"string\" in channel \"face\"."},
        {channel.tryRemoveElement("lid"),
         "There is no stream with indices of type \"string\" in channel \"face\"."},
        {channel.tryAddElement(7), ""},
        {channel.tryRemoveElement(7), ""},
        {channel.tryAddDataStream(streams.make("c")), ""},
        {channel.tryRenameDataStream("c", "d"), ""},
    };
    expectReasons(kCases);
    EXPECT_THAT(names(channel), ElementsAre("a", "b", "d"));
    EXPECT_EQ(channel.dataStream("a"), a);
    EXPECT_EQ(Streams::value(*a), 1);
    EXPECT_TRUE(channel.tryRemoveDataStream("d") && channel.size() == 2);
}

TEST(EditReasons, OfAStreamThatDoesNotTakeAnElement) {
    Channel channel("face");
    channel.setDataStream(denseStream(*bytesStructure(5000), "large"));
    EXPECT_EQ(channel.tryAddElement(0).reason(),
              "Stream \"large\" did not take the element. Dense storage grows to element 0 of more "
              "than 4096 bytes only after `reserve`.");
    EXPECT_FALSE(channel.addElement(0));
}

TEST(EditReasons, OfAssociations) {
    const Streams streams;
    Associations associations;
    Channel full("face");
    full.setDataStream(streams.make("a"));
    const Case kCases[] = {
        {associations.tryAddChannel(full), ""},
        {associations.tryAddChannel(Channel("face")),
         "There is a channel \"face\" in the associations already."},
        {associations.tryRemoveChannel("edge"),
         "There is no channel \"edge\" in the associations."},
    };
    expectReasons(kCases);
    EXPECT_EQ(associations.findChannel("face")->size(), 1U);
    EXPECT_TRUE(associations.tryRemoveChannel("face") && associations.empty());
}

}  // namespace
}  // namespace orbo::Data
