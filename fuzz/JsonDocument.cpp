// The document of any metadata is JSON in UTF-8 and has the very values of the model.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonDocument.h"

#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/Index.h>
#include <data/IndexPair.h>
#include <data/Structure.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <type_traits>

#include "Law.h"
#include "values/ValueType.h"

namespace {

using namespace orbo;
using namespace orbo::Data;
using Fuzz::demand;
using nlohmann::json;

template <typename Format>
auto read(std::string_view text) {
    std::istringstream in{std::string(text)};
    std::string errors;
    return Format::theFormat().read(in, errors);
}

std::string documentOf(const Quilmeta::SceneView& view) {
    static const int file = ::memfd_create("document", 0);
    demand(file >= 0 && ::ftruncate(file, 0) == 0 && ::lseek(file, 0, SEEK_SET) == 0, "a file");
    Quilmeta::Output output(file, "document");
    Quilmeta::JsonDocument(output).write(view);
    output.flush();
    std::string text(static_cast<std::size_t>(::lseek(file, 0, SEEK_CUR)), '\0');
    demand(::pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()), "read");
    return text;
}

std::string fromBase64(const std::string& digits) {
    static const std::string all =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    demand(digits.size() % 4 == 0, "base64 comes in fours", digits);
    std::string bytes;
    std::size_t bits = 0;
    int count = 0;  // of bits that are no byte yet
    for (const char digit : digits.substr(0, digits.find('='))) {
        bits = bits << 6 | all.find(digit);
        count = (count + 6) % 8;
        if (count < 6) bytes += static_cast<char>(bits >> count & 0xFFu);
    }
    return bytes;
}

void compareText(const json& document, std::string_view text) {
    const std::string found = document.is_object()
                                  ? fromBase64(document.at("base64").get<std::string>())
                                  : document.get<std::string>();
    demand(found == text, "texts are what they are", text, found);
}

template <typename Part>
void compareValue(const json& document, Part part) {
    if constexpr (std::is_same_v<Part, Quilmeta::Text>) {
        if (part) return compareText(document, part);
        demand(document.is_null(), "a text that is not there is null", document.dump());
    } else if constexpr (std::is_floating_point_v<Part>) {
        if (!std::isfinite(part)) {
            const char* text = std::isnan(part) ? "NaN" : part < 0 ? "-Infinity" : "Infinity";
            return compareText(document, text);
        }
        const auto found = document.get<Part>();
        demand(document.is_number() && found == part && std::signbit(found) == std::signbit(part),
               "numbers are exact", document.dump(), std::to_string(part));
    } else {
        demand(std::is_same_v<Part, bool> ? document.is_boolean() : document.is_number_integer(),
               "integers are integers, booleans booleans", document.dump());
        demand(document.get<Part>() == part, "numbers are exact", document.dump());
    }
}

// A matrix is a list of its own, a single value none.
template <typename Part>
void compareParts(const json& document, const Part* parts, const Member& member) {
    const std::size_t each = Quilmeta::partsPerValue(member.type());
    demand(member.length() == 1 || document.size() == member.length(), "each value is there");
    for (unsigned int i = 0; i < member.length(); ++i) {
        const json& value = member.length() == 1 ? document : document[i];
        demand(each == 1 || value.size() == each, "a matrix has all its numbers");
        for (std::size_t k = 0; k < each; ++k, ++parts) {
            compareValue(each == 1 ? value : value[k], *parts);
        }
    }
}

void compare(const json& document, const Index& index) {
    if (!index.complexIndex()) return compareValue(document, index.index());
    const auto* pair = dynamic_cast<const IndexPair*>(index.complexIndex());
    if (!pair) return compareText(document, index.asString());
    unsigned int first = 0;
    unsigned int second = 0;
    pair->getIndexPair(first, second);
    demand(document == json::array({first, second}), "a pair is a list of two", document.dump());
}

void compare(const json& document, const Stream& stream) {
    compareText(document.at("name"), stream.name());
    compareText(document.at("structure"), stream.structure().name());
    compareText(document.at("indexType"), stream.indexType());
    const json& elements = document.at("elements");
    demand(elements.size() == stream.elementCount(), "each element is there");
    std::size_t i = 0;
    for (StreamIterator element = stream.cbegin(); element.valid(); ++element, ++i) {
        compare(elements[i].at("index"), element.index());
        const json& values = elements[i].at("values");
        Handle& handle = *element;
        unsigned int at = 0;
        for (const Member& member : stream.structure()) {
            handle.setPositionByMemberIndex(at);
            const json& value = values.is_array() ? values[at] : values.at(member.name());
            Quilmeta::withParts(handle, member,
                                [&](auto* parts) { compareParts(value, parts, member); });
            ++at;
        }
        demand(values.size() == at, "each member is there");
    }
}

void compare(const json& document, const Structure& structure) {
    compareText(document.at("name"), structure.name());
    std::size_t i = 0;
    for (const Member& member : structure) {
        const json& found = document.at("members").at(i++);
        compareText(found.at("name"), member.name());
        compareText(found.at("type"), Member::typeName(member.type()));
        compareValue(found.at("length"), member.length());
    }
    demand(document.at("members").size() == i, "each member is there");
}

void check(const Quilmeta::SceneView& view) {
    const std::string text = documentOf(view);
    const json document = json::parse(text, nullptr, false);
    demand(!document.is_discarded(), "the document is JSON in UTF-8", text);
    demand(json::parse(document.dump()) == document, "it survives another writer", text);
    compare(document.at("structures").at(0), *view.structures.at(0));
    const json& node = document.at("associations").at(0);
    compareText(node.at("name"), view.nodes.at(0).name);
    const auto& channels = view.nodes[0].channels;
    demand(node.at("channels").size() == channels.size(), "each channel is there");
    for (std::size_t c = 0; c < channels.size(); ++c) {
        const json& channel = node["channels"][c];
        compareText(channel.at("name"), channels[c].channel.name());
        demand(channel.at("streams").size() == channels[c].streams.size(), "each stream is there");
        for (std::size_t s = 0; s < channels[c].streams.size(); ++s) {
            compare(channel["streams"][s], channels[c].streams[s]);
        }
    }
}

/// While it lives, the structure is the one that texts find.
class Registered {
  public:
    explicit Registered(Structure& structure) : fStructure(structure) {
        Structure::registerStructure(structure);
    }
    Registered(const Registered&) = delete;
    Registered& operator=(const Registered&) = delete;
    ~Registered() { Structure::deregisterStructure(fStructure); }

  private:
    Structure& fStructure;
};

}  // namespace

// A structure text, an associations text, a node name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = Fuzz::textOf(data, size);
    const RefPtr<Structure> structure(read<StructureSerializerRaw>(Fuzz::takePart(rest)));
    if (!structure) return 0;
    const Registered registered(*structure);
    std::unique_ptr<Associations> associations;
    try {
        associations.reset(read<AssociationsSerializerRaw>(Fuzz::takePart(rest)));
    } catch (const Index::eCreationErrors&) {
    }
    if (!associations) return 0;
    Quilmeta::SceneView view{{structure.get()}, {{std::string(rest), {}}}};
    for (const Channel& channel : *associations) {
        view.nodes[0].channels.push_back({channel, {channel.begin(), channel.end()}});
    }
    check(view);
    return 0;
}
