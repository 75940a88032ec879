// What programs may write where an index, a name or a member is wanted: each form compiles, and
// none is ambiguous. `check-forms` compiles this file, and then with one of the forms that must
// not. SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using namespace orbo::Data;

namespace {

constexpr std::string_view kView = "joint";

template <typename Key>
constexpr bool isArray = false;
template <typename Number>
constexpr bool isArray<std::array<Number, 2>> = true;

/// Every call that takes one index.
template <typename Key>
void useOne(Stream& stream, const Stream& fixed, Channel& channel, const Key& key) {
    Handle handle = stream.element(key);
    (void)fixed.element(key).hasData();
    (void)(stream.hasElement(key) && fixed.hasElement(key));
    handle = stream.emplaceElement(key);
    stream.setElement(key, handle);
    (void)stream.trySetElement(key, handle);
    stream.removeElement(key);
    channel.addElement(key);
    (void)channel.tryAddElement(key);
    channel.removeElement(key);
    (void)channel.tryRemoveElement(key);
}

/// Every call that takes two, and every comparison.
template <typename Key>
int useTwo(Stream& stream, const Key& key) {
    stream.reindexElement(key, 1);
    (void)stream.tryReindexElement(1u, key);
    stream.swapElements(key, key);
    (void)stream.trySwapElements(key, "other");
    stream.setElementRange(0, key);
    const Index index = 5;
    int equal = 0;
    for (auto [place, element] : stream.elements()) {
        equal += (place == key) + (key == place) + (place != key) + (key != place);
        equal += (index == key) + (index != key);
        if constexpr (!isArray<Key>) equal += (key == index) + (key != index);
    }
    return equal;
}

template <typename... Keys>
void useAll(Stream& stream, Channel& channel, const Keys&... keys) {
    (useOne(stream, stream, channel, keys), ...);
    (useTwo(stream, keys), ...);
}

void indices(Stream& stream, Channel& channel) {
    const char* const text = "joint";
    useAll(stream, channel, 0, 5, 5u, 5l, 5ul, 5ll, 5ull, std::size_t{5}, std::uint8_t{5}, short{5},
           '\5', true);
    useAll(stream, channel, text, "joint", kView, std::string("5"));
    useAll(stream, channel, Index(5), Index(3, 7), IndexPair(3, 7), IndexString("joint"),
           std::array<unsigned int, 2>{3, 7}, std::array<int, 2>{3, 7});
}

/// Literals, which lose their kind in a parameter: 0 may be a null pointer, and a list has no type.
void literals(Stream& stream, const Stream& fixed, Channel& channel) {
    const Handle handle = stream.emplaceElement(0);
    (void)(stream.element(0).hasData() && fixed.element(0).hasData() && fixed.hasElement(0));
    (void)(stream.element({3, 7}).hasData() && fixed.element({3u, 7}).hasData());
    (void)(stream.hasElement({3, 7u}) && stream.hasElement({0, 0}));
    stream.emplaceElement({3, 7});
    stream.setElement(0, handle);
    stream.setElement({3, 7}, handle);
    stream.setElement("x", handle);
    stream.removeElement(0);
    stream.removeElement({3, 7});
    stream.reindexElement(0, {3, 7});
    stream.reindexElement({3, 7}, "x");
    stream.swapElements({3, 7}, {0, 0});
    stream.swapElements(0, 0);
    channel.addElement(0);
    channel.addElement({3, 7});
    channel.removeElement("x");
}

void names(const Structure& structure, const Associations& associations, Channel& channel) {
    const Channel& fixed = channel;
    const std::string name = "x";
    (void)(structure.member("x") && structure.member(name) && structure.member(kView));
    (void)(structure.member(0) && structure.member(5u) && structure.member(5ul));
    (void)(associations.channel("x") && associations.channel(name) && associations[0]);
    (void)(associations.findChannel("x") && associations.channelAt(0).empty());
    (void)(channel.dataStream("x") && channel.dataStream(0) && channel.dataStream(5u));
    (void)(fixed.dataStream("x") && fixed.dataStream(0) && fixed.findDataStream(name));
}

void members(Stream& stream, const Handle& fixed) {
    Handle handle = stream.element(5);
    const std::string name = "radius";
    handle.set("radius", 1.0F);
    handle.set(name, 1.0F);
    handle.set(kView, std::array<float, 3>{1, 2, 3});
    handle.set("name", "lid");
    handle.set("name", name);
    handle.set("name", kView);
    (void)(fixed.get<float>("radius") + handle.get<float>(name) + fixed.get<float>(kView));
    (void)(fixed.get<std::string_view>("name").empty() && fixed.tryGet<std::string>("name"));
    (void)(fixed.asFloat() && fixed.asString() && handle.asString());
    const MemberRef<float> radius(stream.structure(), "radius");
    for (auto [index, element] : stream.elements()) radius.set(element, radius(element));
    for (auto place = stream.begin(); place != stream.end(); ++place) radius.set(place, 1.0F);
}

// Forms that must not compile, so that the check of the others is one that can fail.
#if FAILING == 1
void fails(Stream& stream) { (void)stream.element(stream); }
#elif FAILING == 2
bool fails(const Index& index, const Stream& stream) { return index == stream; }
#elif FAILING == 3
void fails(const Handle& handle) { (void)handle.get<long double>("radius"); }
#elif FAILING == 4
void fails(const Stream& stream) { stream.emplaceElement(5); }
#endif

}  // namespace

int main() {
    const orbo::RefPtr<Structure> structure(Structure::create());
    Stream stream(*structure, "stream");
    Channel channel("channel");
    indices(stream, channel);
    literals(stream, stream, channel);
    names(*structure, Associations(), channel);
    members(stream, stream.element(5));
#ifdef FAILING
    (void)&fails;
#endif
}
