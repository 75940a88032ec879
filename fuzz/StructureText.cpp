// What a structure text gives survives being written and read again.
// SPDX-License-Identifier: Apache-2.0
#include <data/Structure.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>

#include <sstream>
#include <string>

#include "Law.h"

namespace {

using namespace orbo;
using Data::Structure;
using Data::StructureSerializerRaw;
using Fuzz::demand;

RefPtr<Structure> read(const std::string& text, std::string& errors) {
    std::istringstream in(text);
    return RefPtr<Structure>(StructureSerializerRaw::theFormat().read(in, errors));
}

std::string written(const Structure& structure) {
    std::ostringstream out;
    demand(StructureSerializerRaw::theFormat().write(structure, out) == 0,
           "any structure is written");
    return out.str();
}

// Fields of nothing but blanks make such structures, which the format cannot say in writing; and
// where every dimension was wrong there are no members.
bool lacksNames(const Structure& structure) {
    bool lacks = *structure.name() == '\0' || structure.empty();
    for (const Data::Member& member : structure) lacks = lacks || *member.name() == '\0';
    return lacks;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string errors;
    const auto first = read(std::string(Fuzz::textOf(data, size)), errors);
    demand(!first || errors.empty(), "what is read has no messages", errors);
    demand(static_cast<bool>(first) || !errors.empty(), "what is refused has a message");
    if (!first) return 0;
    const std::string text = written(*first);
    if (lacksNames(*first)) return 0;
    const auto second = read(text, errors);
    demand(static_cast<bool>(second), "what was written can be read", text, errors);
    demand(*first == *second, "it reads back as the same structure", text);
    demand(written(*second) == text, "it is written the same again", text, written(*second));
    return 0;
}
