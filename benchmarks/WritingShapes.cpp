// How fast streams of many shapes are written, beside bare loops into a buffer with room for all.
// SPDX-License-Identifier: Apache-2.0
#include <charconv>
#include <cstring>
#include <sstream>
#include <type_traits>

#include "Bench.h"
#include "ShapeRows.h"
#include "core/ValueText.h"

using namespace orbo::Benchmarks;
using orbo::Data::Member;
using orbo::Data::Stream;

namespace {

/// As many as the standard streams write, or those that read back exactly.
enum class Digits { kSix, kExact };

// A scan for what must be escaped, and copies of what is in between.
char* put(char* to, Digits, const std::string& value) {
    *to++ = '"';
    const char* at = value.c_str();
    for (;;) {
        const std::size_t plain = std::strcspn(at, "\"\\\n");
        std::memcpy(to, at, plain);
        to += plain;
        at += plain;
        if (*at == '\0') break;
        *to++ = '\\';
        *to++ = *at == '\n' ? 'n' : *at;
        ++at;
    }
    *to++ = '"';
    return to;
}
char* put(char* to, Digits, bool value) {
    std::strcpy(to, value ? "true" : "false");
    return to + (value ? 4 : 5);
}
template <typename T>
char* put(char* to, Digits digits, T value) {
    constexpr std::ptrdiff_t kRoom = 32;
    if constexpr (std::is_floating_point_v<T>) {
        constexpr auto kGeneral = std::chars_format::general;
        return digits == Digits::kSix ? std::to_chars(to, to + kRoom, value, kGeneral, 6).ptr
                                      : std::to_chars(to, to + kRoom, value, kGeneral).ptr;
    } else {
        return std::to_chars(to, to + kRoom, value).ptr;
    }
}

template <typename R>
std::size_t writeBare(const Rows<R>& rows, std::vector<char>& buffer, Digits digits) {
    char* to = buffer.data();
    for (const auto& [index, row] : rows) {
        to = put(to, digits, index);
        char separator = '\n';
        forEachValue(*row, [&](const auto& value) {
            *to++ = separator;
            separator = ' ';
            to = put(to, digits, value);
        });
        *to++ = '\n';
    }
    return static_cast<std::size_t>(to - buffer.data());
}

struct Writers {
    std::function<std::size_t()> ours;
    std::function<std::size_t()> bare;
};
struct Written {
    std::string name;
    double allowed;
    std::function<Writers(unsigned)> make;
    unsigned values;
};

template <typename R>
Writers makeWriters(const Shape& shape, Digits digits, unsigned elements) {
    const ShapeText text(shape, elements);
    std::istringstream in(text.text);
    const auto stream = std::shared_ptr<Stream>(readStream(in));
    const auto rows = std::make_shared<Rows<R>>(readBare<R>(text.text, 1));
    const auto out = std::make_shared<std::ostringstream>();
    orbo::Data::ValueText::setExactNumbers(*out, digits == Digits::kExact);
    const auto buffer = std::make_shared<std::vector<char>>(2 * text.text.size());
    Writers writers;
    writers.ours = [=] {
        out->seekp(0);
        writeStream(*stream, *out);
        return static_cast<std::size_t>(out->tellp());
    };
    writers.bare = [=] { return writeBare(*rows, *buffer, digits); };
    writers.ours();
    require(out->str().find(std::string(buffer->data(), writers.bare())) != std::string::npos,
            shape.name);
    return writers;
}

template <typename R>
Written written(const Shape& shape, Digits digits, double allowed) {
    unsigned values = 0;
    R row{};
    forEachValue(row, [&](auto&) { ++values; });
    return {shape.name, allowed,
            [=](unsigned elements) { return makeWriters<R>(shape, digits, elements); }, values};
}

template <typename T, unsigned N = 3>
Written equalValues(const std::string& name, Member::eDataType type, Token token, double allowed,
                    Digits digits = Digits::kExact) {
    return written<Row<T, N>>({name, {{type, N, token}}}, digits, allowed);
}

std::vector<Written> allShapes() {
    using namespace Tokens;
    constexpr double kSix = 0.4, kExact = 0.6, kStrings = 1.5, kOther = 1.0;
    constexpr auto kSixDigits = Digits::kSix;
    return {
        written<MixedRow>(mixedShape("int32, 3 floats, string, 6 digits"), kSixDigits, kSix),
        written<MixedRow>(mixedShape("the same, exact"), Digits::kExact, kExact),
        equalValues<float>("floats, 6 digits", Member::kFloat, shortestFloat, kSix, kSixDigits),
        equalValues<double>("doubles, 6 digits", Member::kDouble, shortestDouble, kSix, kSixDigits),
        equalValues<float>("floats with exponents, 6 digits", Member::kFloat, withExponent, kSix,
                           kSixDigits),
        equalValues<float>("floats, exact", Member::kFloat, shortestFloat, kExact),
        equalValues<float, 100>("100 floats a line, exact", Member::kFloat, sixDigits, kExact),
        equalValues<double>("doubles, exact", Member::kDouble, shortestDouble, kExact),
        equalValues<double>("short doubles, exact", Member::kDouble, sixDigits, kExact),
        equalValues<float>("floats with exponents, exact", Member::kFloat, withExponent, kExact),
        equalValues<std::int32_t>("small integers", Member::kInt32, smallInteger, kOther),
        equalValues<std::int32_t, 100>("100 integers a line", Member::kInt32, smallInteger, kOther),
        equalValues<std::int64_t>("64-bit integers", Member::kInt64, longInteger, kOther),
        equalValues<bool>("booleans", Member::kBoolean, boolean, kOther),
        equalValues<std::string, 1>("short strings", Member::kString, shortString, kStrings),
        equalValues<std::string, 1>("long strings", Member::kString, longString, kStrings),
        equalValues<std::string, 1>("strings with escapes", Member::kString, escapedString,
                                    kStrings),
    };
}

}  // namespace

// The work that valgrind counts.
extern "C" [[gnu::noinline]] void countedWork(const std::function<std::size_t()>& write) {
    benchmark::DoNotOptimize(write());
}

namespace {

unsigned elementsOf(const Written& shape, unsigned values) {
    return std::max(values / shape.values, 100U);
}

int count(const std::string& name, const std::string& which) {
    for (const Written& one : allShapes()) {
        if (one.name != name) continue;
        const Writers writers = one.make(elementsOf(one, 5000));
        countedWork(which == "ours" ? writers.ours : writers.bare);
    }
    return 0;
}

double instructions(const char* self, const std::string& shape, const char* which) {
    return instructionsOf({"--toggle-collect=countedWork", self, "count", shape, which});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "count") return count(argv[2], argv[3]);
    std::vector<double> ratios;
    bool held = true;
    for (const Written& one : allShapes()) {
        if (argc == 2 && one.name.find(argv[1]) == std::string::npos) continue;
        const unsigned elements = elementsOf(one, kElements);
        const Writers writers = one.make(elements);
        Bench bench(9, elements);
        bench.measure("ours", writers.ours);
        bench.measure("bare loop", writers.bare);
        bench.run();
        ratios.push_back(bench.compare("write " + one.name, "ours", "bare loop", one.allowed));
        bench.count("", instructions(argv[0], one.name, "ours"), "bare loop",
                    instructions(argv[0], one.name, "bare"), 0, "instr");
        held = held && bench.result() == 0;
    }
    Bench summary(0);
    summary.count("all written shapes, worst", *std::max_element(ratios.begin(), ratios.end()),
                  "bare loop", 1, 0, "");
    summary.count("all written shapes, median", median(ratios), "bare loop", 1, 0, "");
    return held ? 0 : 1;
}
