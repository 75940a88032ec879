// What a newcomer types, line by line as the project promised it, compiles and works.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <iostream>
#include <string>

using namespace orbo::Data;

// The lines stand for themselves: some results are not used, and one name is used twice.
#pragma GCC diagnostic ignored "-Wunused-value"
#pragma GCC diagnostic ignored "-Wunused-result"
#pragma GCC diagnostic ignored "-Wunused-variable"
#pragma GCC diagnostic ignored "-Wshadow"

namespace {

std::string said;

void say(const std::string& text) { said += text + ' '; }

void type(const Structure& structure, Stream& stream, Handle& handle, const Handle& strange) {
    float r = handle.get<float>("radius");
    if (auto r = handle.tryGet<float>("radius")) say(std::to_string(static_cast<int>(*r)));
    handle.set("name", "lid");
    const MemberRef<float> radius(structure, "radius");
    for (auto [index, element] : stream.elements()) {
        index == 5u;
        say(index.asString() + '=' + std::to_string(static_cast<int>(radius(element))));
    }
    const Stream& fixed = stream;
    for (auto [index, element] : fixed.elements()) say(index == 5u ? "five" : "other");
    stream.element("joint");
    stream.element({3, 7});
    stream.isDense();  // clang-format off
    if (const auto done = stream.trySetElement(5, strange); !done) std::cerr << done.reason();
    if (const auto done = stream.trySetElement(6, handle); !done) std::cerr << done.reason();
    say(std::to_string(static_cast<int>(r)));
}

}  // namespace

int main() {
    const orbo::RefPtr<Structure> structure(new Structure("Joint"));
    structure->addMember(Member::kFloat, 1, "radius");
    structure->addMember(Member::kString, 1, "name");
    Stream stream(*structure, "joints");
    for (const Index& index : {Index(5), Index(3, 7), Index(IndexString("joint"))})
        stream.emplaceElement(index).set("radius", 4.0F);
    Handle handle = stream.element(5);
    try {
        (void)handle.get<int>("radius");
    } catch (const std::invalid_argument& refusal) {
        say(refusal.what());
    }
    type(*structure, stream, handle, Handle());
    say(std::string(stream.element(6).get<std::string_view>("name")));
    const char* const expected =
        "get<int32>(\"radius\"): the member is float 4 5=4 3 7=4 joint=4 five other other 4 lid ";
    if (said != expected) std::cerr << "said: " << said << '\n';
    return said == expected ? 0 : 1;
}
