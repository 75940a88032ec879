// The peers that keep text: JSON of the shortest form, arrays without names; and the list of all.
// SPDX-License-Identifier: Apache-2.0
#ifdef BENCH_RAPIDJSON
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>
#endif
#ifdef BENCH_SIMDJSON
#include <simdjson.h>
#endif
#ifdef BENCH_NLOHMANN
#include <nlohmann/json.hpp>
#endif

#include <iomanip>
#include <sstream>

#include "Peers.h"

namespace orbo::Benchmarks {

namespace {

std::string jsonOf(const Elements& elements) {
    std::ostringstream out;
    const char* separator = "[";
    for (const auto& [index, element] : elements) {
        const float* at = element->position;
        out << separator << '[' << index << ',' << element->id << ",[" << at[0] << ',' << at[1]
            << ',' << at[2] << "]," << std::quoted(element->name) << ']';
        separator = ",\n";
    }
    out << ']';
    return out.str();
}

// Values come one by one: index, id, three numbers, name.
struct Collector {
    Elements elements;
    std::uint32_t index = 0;
    Element element{};
    unsigned at = 0;

    template <typename T>
    bool number(T value) {
        if (at == 0) index = static_cast<std::uint32_t>(value);
        if (at == 1) element.id = static_cast<std::int32_t>(value);
        if (at > 1) element.position[at - 2] = static_cast<float>(value);
        return ++at <= 5;
    }
    bool string(const char* text, std::size_t size) {
        element.name.assign(text, size);
        append(elements, index, std::move(element));
        at = 0;
        return true;
    }
};

Peer standardStreams(const Elements& elements, const std::string& text) {
    Peer peer{"standard streams", false, nullptr, nullptr};
    peer.read = [in = std::make_shared<std::istringstream>(text)] {
        Elements result;
        in->clear();
        in->seekg(0);
        std::string line;
        for (int i = 0; i < 3; ++i) std::getline(*in, line);
        std::uint32_t index = 0;
        for (Element e; *in >> index >> e.id >> e.position[0] >> e.position[1] >> e.position[2] >>
                        std::quoted(e.name);) {
            append(result, index, std::move(e));
        }
        return result;
    };
    peer.write = [&elements, out = std::make_shared<std::ostringstream>()] {
        out->seekp(0);
        for (const auto& [index, e] : elements) {
            *out << index << '\n'
                 << e->id << ' ' << e->position[0] << ' ' << e->position[1] << ' ' << e->position[2]
                 << ' ' << std::quoted(e->name) << '\n';
        }
        return static_cast<std::size_t>(out->tellp());
    };
    return peer;
}

#ifdef BENCH_RAPIDJSON
struct RapidHandler : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RapidHandler>, Collector {
    bool Int(int value) { return number(value); }
    bool Uint(unsigned value) { return number(value); }
    bool Double(double value) { return number(value); }
    bool String(const char* value, rapidjson::SizeType size, bool) { return string(value, size); }
};

void writeRapid(rapidjson::Writer<rapidjson::StringBuffer>& writer, std::uint32_t index,
                const Element& element) {
    writer.StartArray();
    writer.Uint(index);
    writer.Int(element.id);
    writer.StartArray();
    for (const float value : element.position) writer.Double(static_cast<double>(value));
    writer.EndArray();
    writer.String(element.name.data(), static_cast<rapidjson::SizeType>(element.name.size()));
    writer.EndArray();
}

Peer rapidJson(const Elements& elements, const std::shared_ptr<std::string>& json) {
    Peer peer{"RapidJSON", true, nullptr, nullptr};
    peer.read = [json] {
        RapidHandler handler;
        rapidjson::StringStream in(json->c_str());
        require(!rapidjson::Reader().Parse(in, handler).IsError(), "RapidJSON");
        return std::move(handler.elements);
    };
    peer.write = [&elements, buffer = std::make_shared<rapidjson::StringBuffer>()] {
        buffer->Clear();
        rapidjson::Writer<rapidjson::StringBuffer> writer(*buffer);
        writer.StartArray();
        for (const auto& [index, element] : elements) writeRapid(writer, index, *element);
        writer.EndArray();
        return buffer->GetSize();
    };
    return peer;
}
#endif

#ifdef BENCH_SIMDJSON
Elements readSimd(simdjson::ondemand::parser& parser, const simdjson::padded_string& json) {
    Collector collector;
    simdjson::ondemand::document document = parser.iterate(json);
    for (simdjson::ondemand::array row : document.get_array()) {
        for (simdjson::ondemand::value value : row) {
            switch (collector.at) {
                case 0:
                case 1:
                    collector.number(std::int64_t{value.get_int64()});
                    break;
                case 2:
                    for (double number : value.get_array()) collector.number(number);
                    break;
                default: {
                    const std::string_view name = value.get_string();
                    collector.string(name.data(), name.size());
                }
            }
        }
    }
    return std::move(collector.elements);
}

Peer simdJson(const std::shared_ptr<std::string>& json) {
    Peer peer{"simdjson On-Demand", true, nullptr, nullptr};
    peer.read = [parser = std::make_shared<simdjson::ondemand::parser>(),
                 padded = std::make_shared<simdjson::padded_string>(*json)] {
        return readSimd(*parser, *padded);
    };
    return peer;
}
#endif

#ifdef BENCH_NLOHMANN
struct NlohmannHandler : nlohmann::json_sax<nlohmann::json>, Collector {
    bool null() override { return false; }
    bool boolean(bool) override { return false; }
    bool number_integer(number_integer_t value) override { return number(value); }
    bool number_unsigned(number_unsigned_t value) override { return number(value); }
    bool number_float(number_float_t value, const string_t&) override { return number(value); }
    bool string(string_t& value) override { return Collector::string(value.data(), value.size()); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return false; }
    bool key(string_t&) override { return false; }
    bool end_object() override { return false; }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }
};

Peer nlohmannJson(const Elements& elements, const std::shared_ptr<std::string>& json) {
    Peer peer{"nlohmann", false, nullptr, nullptr};
    peer.read = [json] {
        NlohmannHandler handler;
        require(nlohmann::json::sax_parse(*json, &handler), "nlohmann");
        return std::move(handler.elements);
    };
    auto document = std::make_shared<nlohmann::json>();
    for (const auto& [index, element] : elements) {
        document->push_back({index, element->id, element->position, element->name});
    }
    peer.write = [document] { return document->dump().size(); };
    return peer;
}
#endif

}  // namespace

std::vector<Peer> makePeers(const Elements& elements, const std::string& text) {
    std::vector<Peer> peers{standardStreams(elements, text)};
    const auto json = std::make_shared<std::string>(jsonOf(elements));
#ifdef BENCH_RAPIDJSON
    peers.push_back(rapidJson(elements, json));
#endif
#ifdef BENCH_SIMDJSON
    peers.push_back(simdJson(json));
#endif
#ifdef BENCH_NLOHMANN
    peers.push_back(nlohmannJson(elements, json));
#endif
#ifdef BENCH_HDF5
    peers.push_back(hdf5(elements));
#endif
#ifdef BENCH_SQLITE
    peers.push_back(sqlite(elements));
#endif
    return peers;
}

}  // namespace orbo::Benchmarks
