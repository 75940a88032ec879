// The elements, streams and scenes that are read and written.
// SPDX-License-Identifier: Apache-2.0
#include <data/StreamSerializerRaw.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "Bench.h"

namespace orbo::Benchmarks {

namespace {

using Data::Accessor;
using Data::Member;
using Data::Structure;

std::string bigEndian(std::uint64_t value, int bytes) {
    std::string result;
    while (bytes-- > 0) result += static_cast<char>(value >> (8 * bytes) & 0xFFu);
    return result;
}

struct Ends {
    std::string front;
    std::string back;
};

// Of a scene without metadata; the hole between them reaches to `length`.
Ends endsOf(bool binary, std::uint64_t length) {
    if (!binary)
        return {"//Quil ASCII 2016 scene\n",
                ";\nselect -ne a;\nselect -ne b;\n// End of scene.kx\n"};
    const std::string zeros(4, '\0');
    const std::string back = "FOR8" + zeros + bigEndian(4 + 24, 8) + "TRLRBCSZ" + zeros +
                             bigEndian(4, 8) + bigEndian(20, 4) + zeros;
    return {"FOR8" + zeros + bigEndian(length + back.size() - 16, 8) + "Quil", back};
}

}  // namespace

void append(Elements& elements, std::uint32_t index, Element&& element) {
    elements.emplace_hint(elements.end(), index, std::make_unique<Element>(std::move(element)));
}

Elements makeElements(unsigned count) {
    std::mt19937 random(1);
    std::uniform_int_distribution<std::int32_t> ids(1000, 9999);
    std::uniform_real_distribution<float> positions(-100, 100);
    Elements elements;
    for (unsigned i = 0; i < count; ++i) {
        const float x = positions(random), y = positions(random), z = positions(random);
        append(elements, i, {ids(random), {x, y, z}, "n" + std::to_string(ids(random))});
    }
    return elements;
}

RefPtr<Structure> makeStructure(const char* name, Member::eDataType type, unsigned length) {
    RefPtr<Structure> structure(new Structure(name));
    require(structure->addMember(type, length, "values"), name);
    Structure::registerStructure(*structure);
    return structure;
}

Data::Stream makeStream(const Elements& elements) {
    const auto structure = makeStructure("Element", Member::kInt32, 1);
    structure->addMember(Member::kFloat, 3, "position");
    structure->addMember(Member::kString, 1, "name");
    Data::Stream stream(*structure, "stream");
    for (const auto& [index, element] : elements) {
        Data::Handle handle(*structure);
        *handle.asInt32() = element->id;
        handle.setPositionByMemberIndex(1);
        std::memcpy(handle.asFloat(), element->position, sizeof element->position);
        handle.setPositionByMemberIndex(2);
        *handle.asString() = ::strdup(element->name.c_str());
        require(stream.setElement(index, handle), "setElement");
    }
    return stream;
}

Data::Stream makeRecords(const Numbers& numbers) {
    Data::Stream stream(*makeStructure("Record", Member::kFloat, 12), "stream");
    for (const std::uint32_t number : numbers) {
        *stream.emplaceElement(number).asFloat() = static_cast<float>(number);
    }
    return stream;
}

std::string textOf(const Data::Stream& stream) {
    std::ostringstream out;
    std::string errors;
    require(Data::StreamSerializerRaw::theFormat().write(stream, out, errors) == 0, errors);
    return out.str();
}

Folder::Folder() : fPath(std::filesystem::temp_directory_path() / "benchXXXXXX") {
    require(::mkdtemp(fPath.data()), "a folder");
}
Folder::~Folder() { std::filesystem::remove_all(fPath); }

void makeEmptyScene(const std::string& file, std::uint64_t length) {
    const Ends ends = endsOf(file.back() == 'y', length);
    std::ofstream out(file, std::ios::binary);
    out << ends.front;
    out.seekp(static_cast<std::streamoff>(length));
    out << ends.back;
}

std::unique_ptr<Accessor> makeModel(const std::string& file, const Data::Stream& stream,
                                    const std::vector<std::string>& nodes) {
    auto scene = readScene(file);
    Data::WritePolicy policy;
    policy.anySize = policy.addMissingStructures = true;
    scene->setWritePolicy(policy);
    for (const std::string& node : nodes) {
        scene->associations()[node].channel("channel").setDataStream(stream);
    }
    return scene;
}

std::uint64_t makeScene(const std::string& file, std::uint64_t length, const Data::Stream& stream,
                        const std::vector<std::string>& nodes) {
    makeEmptyScene(file, length);
    const std::uintmax_t before = std::filesystem::file_size(file);
    std::string errors;
    require(makeModel(file, stream, nodes)->write(errors), errors);
    return std::filesystem::file_size(file) - before;
}

std::unique_ptr<Accessor> readScene(const std::string& file, const std::set<std::string>* nodes) {
    std::string errors;
    auto scene = Accessor::accessorByExtension(file);
    require(scene && scene->read(file, nullptr, nodes, errors) && errors.empty(), file + errors);
    return scene;
}

}  // namespace orbo::Benchmarks
