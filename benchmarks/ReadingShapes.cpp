// How fast texts of many shapes are read.
// SPDX-License-Identifier: Apache-2.0
#ifdef BENCH_RAPIDJSON
#include <rapidjson/reader.h>
#endif
#ifdef BENCH_SIMDJSON
#include <simdjson.h>
#endif
#ifdef BENCH_FAST_FLOAT
#include <fast_float/fast_float.h>
#endif

#include <cstring>
#include <sstream>

#include "Bench.h"
#include "ShapeRows.h"

using namespace orbo::Benchmarks;
using orbo::Data::Handle;
using orbo::Data::Member;
using orbo::Data::Stream;

namespace {

#ifdef BENCH_FAST_FLOAT
// No map, and no allocation but for long names.
std::vector<MixedRow> readIntoVector(const std::string& text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int i = 0; i < 3; ++i) at = std::find(at, end, '\n') + 1;
    std::vector<MixedRow> rows;
    rows.reserve(kElements);
    while (*at != 'e') {
        std::uint32_t index = 0;
        at = take(at, end, index);
        MixedRow& row = rows.emplace_back();
        at = take(at + 1, end, row.id);
        for (float& value : row.position) at = fast_float::from_chars(at + 1, end, value).ptr;
        at = take(at + 1, end, row.name) + 1;
    }
    return rows;
}
#endif

template <typename T, typename Given>
bool assign(T& value, const Given& given) {
    if constexpr (std::is_same_v<T, std::string> && std::is_same_v<Given, std::string_view>) {
        value = given;
    } else if constexpr (std::is_arithmetic_v<T> && std::is_arithmetic_v<Given>) {
        value = static_cast<T>(given);
    }
    return true;
}
template <typename T, unsigned N, typename Given>
bool assignAt(Row<T, N>& row, unsigned at, const Given& given) {
    return at < N && assign(row.values[at], given);
}
template <typename Given>
bool assignAt(MixedRow& row, unsigned at, const Given& given) {
    if (at == 0) return assign(row.id, given);
    return at < 4 ? assign(row.position[at - 1], given) : assign(row.name, given);
}

#ifdef BENCH_RAPIDJSON
template <typename R>
struct RapidHandler : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RapidHandler<R>> {
    template <typename T>
    bool value(T given) {
        if (at++ == 0) return assign(index, given);
        return assignAt(row, at - 2, given);
    }
    bool Bool(bool given) { return value(given); }
    bool Int(int given) { return value(given); }
    bool Uint(unsigned given) { return value(given); }
    bool Int64(std::int64_t given) { return value(given); }
    bool Uint64(std::uint64_t given) { return value(given); }
    bool Double(double given) { return value(given); }
    bool String(const char* text, rapidjson::SizeType size, bool) {
        return value(std::string_view(text, size));
    }
    bool EndArray(rapidjson::SizeType) {
        if (at > 0) rows.emplace_hint(rows.end(), index, std::make_unique<R>(std::move(row)));
        row = R{};
        at = 0;
        return true;
    }

    Rows<R> rows;
    std::uint32_t index = 0;
    R row{};
    unsigned at = 0;  // of the value that comes next; 0 is the index
};

template <typename R>
Rows<R> readRapid(const std::string& json) {
    RapidHandler<R> handler;
    rapidjson::StringStream in(json.c_str());
    require(!rapidjson::Reader().Parse(in, handler).IsError(), "RapidJSON");
    return std::move(handler.rows);
}
#endif

#ifdef BENCH_SIMDJSON
template <typename T>
T valueOf(simdjson::simdjson_result<simdjson::ondemand::value> value) {
    if constexpr (std::is_same_v<T, bool>) {
        return bool{value.get_bool()};
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(std::int64_t{value.get_int64()});
    } else if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(double{value.get_double()});
    } else {
        return T(std::string_view{value.get_string()});
    }
}

template <typename R>
Rows<R> readSimd(simdjson::ondemand::parser& parser, const simdjson::padded_string& json) {
    Rows<R> rows;
    simdjson::ondemand::document document = parser.iterate(json);
    for (simdjson::ondemand::array array : document.get_array()) {
        auto at = array.begin();
        const auto index = valueOf<std::uint32_t>(*at);
        R row{};
        forEachValue(row, [&](auto& value) {
            ++at;
            value = valueOf<std::decay_t<decltype(value)>>(*at);
        });
        ++at;
        rows.emplace_hint(rows.end(), index, std::make_unique<R>(std::move(row)));
    }
    return rows;
}
#endif

template <typename R>
bool areEqual(const Stream& stream, const Rows<R>& rows) {
    if (stream.elementCount() != rows.size()) return false;
    for (const auto& [index, row] : rows) {
        orbo::Data::ConstHandle handle = stream.element(index);
        bool equal = true;
        unsigned member = 0;
        unsigned place = 0;
        forEachValue(*row, [&](const auto& value) {
            using T = std::decay_t<decltype(value)>;
            const bool isNext = std::is_same_v<R, MixedRow> && place == handle.dataLength();
            if (isNext) place = 0, handle.setPositionByMemberIndex(++member);
            const void* const values = handle.asType(handle.dataType());
            if constexpr (std::is_same_v<T, std::string>) {
                equal = equal && static_cast<const char* const*>(values)[place] == value;
            } else {
                equal = equal && static_cast<const T*>(values)[place] == value;
            }
            ++place;
        });
        if (!equal) return false;
    }
    return true;
}

/// What reads one shape, results of any type.
struct Contestants {
    using Read = std::function<std::shared_ptr<void>()>;
    Shape shape;
    double allowed;
    unsigned values;
    std::function<std::map<std::string, Read>(unsigned elements)> make;
};

template <typename R>
std::map<std::string, Contestants::Read> makeReaders(const Shape& shape, unsigned elements) {
    const auto text = std::make_shared<ShapeText>(shape, elements);
    const auto in = std::make_shared<std::istringstream>(text->text);
    const auto shared = [](auto&& result) {
        return std::make_shared<std::decay_t<decltype(result)>>(std::move(result));
    };
    std::map<std::string, Contestants::Read> readers;
    readers["ours"] = [in] {
        in->clear();
        in->seekg(0);
        return std::shared_ptr<void>(readStream(*in));
    };
    readers["bare from_chars loop"] = [=] {
        return shared(readBare<R>(text->text, shape.lineEnd.size()));
    };
    const Rows<R> rows = readBare<R>(text->text, shape.lineEnd.size());
    require(areEqual(*std::static_pointer_cast<Stream>(readers["ours"]()), rows), shape.name);
#ifdef BENCH_RAPIDJSON
    readers["RapidJSON"] = [=] { return shared(readRapid<R>(text->json)); };
#endif
#ifdef BENCH_SIMDJSON
    readers["simdjson On-Demand"] = [=, parser = std::make_shared<simdjson::ondemand::parser>(),
                                     padded =
                                         std::make_shared<simdjson::padded_string>(text->json)] {
        return shared(readSimd<R>(*parser, *padded));
    };
#endif
#ifdef BENCH_FAST_FLOAT
    if constexpr (std::is_same_v<R, MixedRow>) {
        readers["fast_float into a vector"] = [=] { return shared(readIntoVector(text->text)); };
    }
#endif
    return readers;
}

template <typename R>
Contestants contestants(const Shape& shape, double allowed = 0.8) {
    unsigned values = 0;
    R row{};
    forEachValue(row, [&](auto&) { ++values; });
    return {shape, allowed, values,
            [shape](unsigned count) { return makeReaders<R>(shape, count); }};
}

template <typename T, unsigned N = 3>
Contestants equalValues(const std::string& name, Member::eDataType type, Token token,
                        double allowed = 0.8) {
    return contestants<Row<T, N>>({name, {{type, N, token}}}, allowed);
}
template <typename T>
Contestants matrices(const std::string& name, Member::eDataType type, Token token,
                     double allowed = 0.8) {
    return contestants<Row<T, 16>>({name, {{type, 1, token}}}, allowed);
}

Contestants ordered(const std::string& name, Order order) {
    Shape shape = mixedShape(name);
    shape.order = order;
    return contestants<MixedRow>(shape);
}

Contestants lineEnds(const std::string& name, const std::string& end) {
    Shape shape = mixedShape(name);
    shape.lineEnd = end;
    return contestants<MixedRow>(shape);
}

constexpr double kSeventeen = 1.0;

std::vector<Contestants> allShapes() {
    using namespace Tokens;
    return {
        contestants<MixedRow>(mixedShape("int32, 3 floats, string")),
        equalValues<float, 1>("single floats", Member::kFloat, sixDigits),
        equalValues<float>("shortest floats", Member::kFloat, shortestFloat),
        equalValues<float>("floats of 9 digits", Member::kFloat, nineDigits),
        equalValues<float>("floats with exponents", Member::kFloat, withExponent),
        equalValues<float, 100>("100 floats a line", Member::kFloat, sixDigits),
        equalValues<double>("doubles of 6 digits", Member::kDouble, sixDigits),
        equalValues<double>("shortest doubles", Member::kDouble, shortestDouble, kSeventeen),
        equalValues<double>("doubles of 17 digits", Member::kDouble, seventeenDigits, kSeventeen),
        matrices<double>("matrices of 6 digits", Member::kDoubleMatrix4x4, sixDigits),
        matrices<double>("matrices of 17 digits", Member::kDoubleMatrix4x4, seventeenDigits,
                         kSeventeen),
        equalValues<std::int32_t>("small integers", Member::kInt32, smallInteger),
        equalValues<std::int32_t>("32-bit integers", Member::kInt32, fullInteger),
        equalValues<std::int64_t>("64-bit integers of 19 digits", Member::kInt64, longInteger),
        equalValues<std::int32_t, 100>("100 integers a line", Member::kInt32, smallInteger),
        equalValues<bool>("booleans", Member::kBoolean, boolean),
        equalValues<std::string, 1>("short strings", Member::kString, shortString),
        equalValues<std::string, 1>("long strings", Member::kString, longString),
        equalValues<std::string, 1>("strings with escapes", Member::kString, escapedString),
        equalValues<std::string, 1>("1 % with escapes", Member::kString, rarelyEscapedString),
        ordered("falling order", Order::kFalling),
        ordered("random order", Order::kRandom),
        ordered("gaps", Order::kGaps),
        lineEnds("CR LF and blanks", " \r\n"),
    };
}

}  // namespace

// The work that valgrind counts; the linker must not find it equal to another.
extern "C" [[gnu::noinline]] void countedWork(const Contestants::Read& read) {
    benchmark::DoNotOptimize(read());
}

namespace {

double instructions(const char* self, const std::string& shape, const std::string& reader) {
    return instructionsOf({"--toggle-collect=countedWork", self, "count", shape, reader});
}

unsigned elementsOf(const Contestants& shape, unsigned values) {
    return std::max(values / shape.values, 100U);
}

int count(const std::string& shapeName, const std::string& reader) {
    for (const Contestants& one : allShapes()) {
        if (one.shape.name != shapeName) continue;
        const auto readers = one.make(elementsOf(one, 5000));
        tidyHeap();
        countedWork(readers.at(reader));
    }
    return 0;
}

/// Ratios of all shapes to one peer.
using Ratios = std::map<std::string, std::vector<double>>;

bool measureShape(const char* self, const Contestants& one, Ratios& ratios) {
    const unsigned elements = elementsOf(one, kElements);
    const auto readers = one.make(elements);
    Bench bench(9, elements);
    for (const auto& [name, read] : readers) bench.measure(name, read);
    bench.run();
    for (const auto& [name, read] : readers) {
        if (name == "ours") continue;
        const bool isBare = name == "bare from_chars loop";
        const bool isVector = name == "fast_float into a vector";
        const double allowed = isBare ? one.allowed : isVector ? 0.85 : 1;
        if (isVector && one.shape.name != "int32, 3 floats, string") continue;
        const double ratio = bench.compare("read " + one.shape.name, "ours", name, allowed);
        ratios[name].push_back(ratio);
    }
    const std::string bare = "bare from_chars loop";
    bench.count("", instructions(self, one.shape.name, "ours"), bare,
                instructions(self, one.shape.name, bare), 0, "instr");
    return bench.result() == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "count") return count(argv[2], argv[3]);
    Ratios ratios;
    bool held = true;
    for (const Contestants& one : allShapes()) {
        if (argc == 2 && one.shape.name.find(argv[1]) == std::string::npos) continue;
        held = measureShape(argv[0], one, ratios) && held;
    }
    Bench summary(0);
    for (const auto& [name, all] : ratios) {
        if (name == "fast_float into a vector") continue;  // reads one shape only
        const bool isBare = name == "bare from_chars loop";
        summary.count("all shapes, worst", *std::max_element(all.begin(), all.end()), name, 1,
                      isBare ? 0 : 1, "");
        summary.count("all shapes, median", median(all), name, 1, isBare ? 0.6 : 0, "");
    }
    return held && summary.result() == 0 ? 0 : 1;
}
