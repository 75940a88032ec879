// What both containers have in common: order, iterators, dumps, and odd but required answers.
// SPDX-License-Identifier: Apache-2.0
#include "Streams.h"
#include "containers/AssociationsImpl.h"
#include "containers/ChannelImpl.h"
#include "containers/NameOrdered.h"
#include "debug/Printed.h"
#include "streams/StreamImplDense.h"
#include "streams/StreamImplMapped.h"

#include <data/Associations.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <debug/Footprint.h>

#include <stdexcept>

namespace orbo::Data {
namespace {

using testing::ElementsAre;

template <typename Container>
void checkIterators(const Container& container, const std::string& kind, const std::string& first) {
    using Iterator = typename Container::iterator;
    auto iterator = container.begin();
    EXPECT_EQ(kind + "Iterator positioned at " + first + ".\n", Debug::printed(&iterator));
    const auto before = iterator++;
    EXPECT_EQ("Z a", before->name() + ' ' + (*iterator).name());
    EXPECT_NE(before, iterator);
    EXPECT_EQ(container.end(), ++iterator);
    EXPECT_EQ(container.end(), ++iterator);
    iterator = before;
    EXPECT_EQ(container.cbegin(), iterator);
    EXPECT_EQ(Container(container).end(), container.end());
    EXPECT_NE(Container().end(), Container().end());
    EXPECT_NE(Container().end(), Iterator());
    EXPECT_EQ(Iterator(), Iterator());

    using Throws = std::out_of_range;
    const std::string record = kind + "Impl::Iterator::operator";
    for (const Iterator& end : {container.end(), Iterator()}) {
        Iterator changeable = end;
        ++changeable;
        EXPECT_THAT([&] { (void)*changeable; }, testing::ThrowsMessage<Throws>(record + "*"));
        EXPECT_THAT([&] { (void)*end; }, testing::ThrowsMessage<Throws>(record + "*"));
        EXPECT_THAT([&] { (void)changeable->name(); },
                    testing::ThrowsMessage<Throws>(record + "->"));
        EXPECT_THAT([&] { (void)end->name(); },
                    testing::ThrowsMessage<Throws>("const " + record + "->"));
        EXPECT_EQ(kind + "Iterator postioned at the end.\n", Debug::printed(&end));
    }
}

TEST(ContainersTest, IteratorsWalkAndThrowAndSayWhereTheyAre) {
    Channel channel;
    Associations associations;
    for (const char* name : {"a", "Z"}) {
        channel.setDataStream(Streams().make(name));
        associations.channel(name);
    }
    checkIterators(channel, "Channel", "Stream Z");
    checkIterators(associations, "Associations", "Channel Z");
    int number = 9;
    for (Stream& stream : channel) stream = Streams().make("n" + std::to_string(number--));
    EXPECT_THAT(names(channel), ElementsAre("n8", "n9")) << "renamed on the way";
}

TEST(ContainersTest, ArePrintedInOrder) {
    Associations associations;
    EXPECT_EQ("Data Associations\nNo channels\n", Debug::printed(&associations, "none", false));
    associations.channel("b");
    Channel first = associations.channel("a");
    for (const char* name : {"t", "s"}) first.setDataStream(Streams().make(name));
    Stream& stream = *first.findDataStream("s");
    stream.setElementRange(2, IndexPair(3, 4));
    stream.setElement(IndexPair(1, 2), Handle(stream.structure(), nullptr));
    const std::string text = Debug::printed(&associations, "none", false);
    EXPECT_THAT(text,
                testing::StartsWith("Data Associations\nChannel a\n{\n    Stream 0\n    {\n"
                                    "        Data Stream (Mapped)\n        {\n"
                                    "            Data Stream 's' uses structure 'Item' "
                                    "with index type 'numeric'\n"
                                    "            Lowest valid index = 2\n"
                                    "            Highest valid index = \n"
                                    "            Stream Elements\n            {\n"
                                    "                Element count = 2\n"
                                    "                Index (0), Handle (1 elements: [ 0 ])\n"
                                    "                Index (1 2), Handle (1 elements: [ 0 ])\n"
                                    "            }\n        }\n    }\n    Stream 1\n"));
    EXPECT_THAT(text, testing::EndsWith("    }\n}\nChannel b\n{\n    Empty Channel\n}\n"));
}

template <typename... T>
unsigned long long bytesOf(const T*... objects) {
    Debug::Footprint footprint;
    EXPECT_TRUE((T::Debug(objects, footprint) && ...));
    return footprint.totalSize();
}

template <typename... T>
void expectNullIsNothing() {
    EXPECT_EQ(0U, bytesOf<T...>(static_cast<const T*>(nullptr)...));
    EXPECT_EQ("", (Debug::printed<T>(nullptr) + ...));
}

TEST(ContainersTest, AreMeasuredWithAllThatIsInThem) {
    const Streams streams;
    Channel channel("c");
    Stream& stream = *channel.setDataStream(streams.make("s"));
    stream.setElement(Index(7), item(*streams.structure, 7, "seven"));
    stream.setElement(Index(8), Handle(*streams.structure, nullptr));
    Associations associations;
    associations.setChannel(channel);
    EXPECT_EQ(bytesOf(&associations), sizeof(Associations) + sizeof(AssociationsImpl) +
                                          sizeof(Channel) + sizeof(ChannelImpl) + sizeof(Stream) +
                                          sizeof(StreamImplMapped) +
                                          2 * streams.structure->totalSize() + sizeof "seven");
    const Handle handle;
    const IndexPair pair(3, 7);
    const IndexString text("text");
    EXPECT_EQ(sizeof handle + sizeof pair + sizeof text, bytesOf(&handle, &pair, &text));
    EXPECT_EQ("[]3,7text", Debug::printed(&handle) + Debug::printed(&pair) + Debug::printed(&text));

    expectNullIsNothing<RefCounted, Debug::Footprint, Handle, Index, IndexPair, IndexString, Stream,
                        StreamImpl, StreamImplMapped, StreamImplDense, ChannelIterator,
                        AssociationsIterator>();
    EXPECT_EQ(0U, (bytesOf<Structure, StructureIterator, Channel, Associations>(nullptr, nullptr,
                                                                                nullptr, nullptr)));
}

// Each of these looks like a mistake and is relied on; that dumps of associations are
// false is above.
TEST(ContainersTest, OdditiesStay) {
    Associations associations;
    associations.channel("old");
    EXPECT_FALSE(associations.renameChannel("old", "new")) << "an existing channel stays";
    EXPECT_FALSE(associations.renameChannel("x", "new")) << "nor one that is not there";
    EXPECT_THAT(names(associations), ElementsAre("old"));
    Channel empty;
    const Channel sharesEmpty(empty);
    EXPECT_FALSE(empty.makeUnique()) << "it detaches, but says it did not";
    EXPECT_NE(empty, sharesEmpty);
    const Associations sharesOld(associations);
    EXPECT_FALSE(associations.makeUnique()) << "so do associations without streams";
    EXPECT_NE(associations, sharesOld);
    EXPECT_EQ("", Debug::printed<Associations>(nullptr, "none", false) +
                      Debug::printed<Channel>(nullptr, "none", false));
}

struct NameOf {
    const std::string& operator()(const std::string* entry) const { return ++calls, *entry; }
    static inline unsigned long calls = 0;
};

TEST(NameOrdered, RenamesByTheOwnerTakeAFewStepsEach) {
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i) names.push_back("name" + std::to_string(i));
    NameOrdered<const std::string*, NameOf> set;
    for (const std::string& name : names) set.insert(&name);
    NameOf::calls = 0;
    std::uint64_t renames = 0;
    for (std::string& name : names) {
        const auto entry = set.find(name, renames);
        name = "renamed" + name;
        set.file(entry);
        set.markSorted(++renames);
        EXPECT_NE(set.end(), set.find(name, renames));
    }
    set.sort(renames);
    EXPECT_LE(NameOf::calls, 1000U * 3);
}

}  // namespace
}  // namespace orbo::Data
