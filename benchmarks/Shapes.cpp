// Makes stream texts of many shapes.
// SPDX-License-Identifier: Apache-2.0
#include "Shapes.h"

#include <data/StreamSerializerRaw.h>
#include <data/Structure.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "Bench.h"

namespace orbo::Benchmarks {

namespace {

using Data::Member;

double uniform(Random& random, double first, double last) {
    return std::uniform_real_distribution<double>(first, last)(random);
}

template <typename T>
std::string integer(Random& random, T first, T last) {
    return std::to_string(std::uniform_int_distribution<T>(first, last)(random));
}

std::string formatted(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

template <typename T>
std::string shortest(T value) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// An escape stands for two characters of the text.
std::string quoted(Random& random, unsigned length, unsigned escapesInThousand) {
    std::string text = "\"";
    while (text.size() <= length) {
        const unsigned long long bits = random();
        if (bits % 1000 < escapesInThousand) {
            text += std::string("\\") + "\"\\n"[bits / 1000 % 3];
        } else {
            text += static_cast<char>('a' + bits / 1000 % 26);
        }
    }
    return text + '"';
}

std::vector<std::uint32_t> numbersOf(Order order, unsigned count, Random& random) {
    std::vector<std::uint32_t> numbers(count);
    std::uint32_t next = 0;
    for (std::uint32_t& number : numbers) {
        number = order == Order::kFalling ? count - ++next : next++;
        if (order == Order::kGaps) next += static_cast<std::uint32_t>(random() % 100);
    }
    if (order == Order::kRandom) std::shuffle(numbers.begin(), numbers.end(), random);
    return numbers;
}

unsigned numbersIn(Member::eDataType type) {
    return type == Member::kDoubleMatrix4x4 || type == Member::kFloatMatrix4x4 ? 16 : 1;
}

std::string indexText(const std::string& type, std::uint32_t number) {
    if (type == "pair") return std::to_string(number / 100) + ' ' + std::to_string(number % 100);
    if (type == "string") return "joint" + std::to_string(1'000'000 + number);
    return std::to_string(number);
}

void registerStructure(const Shape& shape) {
    RefPtr<Data::Structure> structure(new Data::Structure("Shape"));
    for (const auto& [type, length, token] : shape.values) {
        const std::string name = "m" + std::to_string(structure->memberCount());
        require(structure->addMember(type, length, name.c_str()), shape.name);
    }
    static RefPtr<Data::Structure> before;
    if (before) require(Data::Structure::deregisterStructure(*before), shape.name);
    before = structure;
    Data::Structure::registerStructure(*structure);
}

}  // namespace

ShapeText::ShapeText(const Shape& shape, unsigned elements) {
    registerStructure(shape);
    Random random(1);
    const auto numbers = numbersOf(shape.order, elements, random);
    const std::string& end = shape.lineEnd;
    text = "name stream" + end + "indexType " + shape.indexType + end + "structure Shape" + end;
    for (const std::uint32_t number : numbers) {
        text += indexText(shape.indexType, number) + end;
        json += (json.empty() ? "[[" : ",\n[") + std::to_string(number);
        bool isFirst = true;
        for (const auto& [type, length, token] : shape.values) {
            for (unsigned left = numbersIn(type) * length; left > 0; --left) {
                const std::string value = token(random);
                text += (std::exchange(isFirst, false) ? "" : shape.between) + value;
                json += ',' + value;
            }
        }
        text += end;
        json += ']';
    }
    text += "endStream" + end;
    json += ']';
}

namespace Tokens {

std::string sixDigits(Random& random) { return formatted("%.6g", uniform(random, -100, 100)); }
std::string withExponent(Random& random) {
    const double exponent = uniform(random, 6, 30) * (random() % 2 ? 1 : -1);
    return formatted("%.6g", uniform(random, -10, 10) * std::pow(10, exponent));
}
std::string shortestFloat(Random& random) {
    return shortest(static_cast<float>(uniform(random, -100, 100)));
}
std::string nineDigits(Random& random) {
    return formatted("%.9g", static_cast<double>(static_cast<float>(uniform(random, -100, 100))));
}
std::string shortestDouble(Random& random) { return shortest(uniform(random, -100, 100)); }
std::string seventeenDigits(Random& random) {
    return formatted("%.17g", uniform(random, -100, 100));
}
std::string smallInteger(Random& random) { return integer<int>(random, -999, 9999); }
std::string fullInteger(Random& random) {
    return integer<std::int32_t>(random, INT32_MIN, INT32_MAX);
}
std::string longInteger(Random& random) {
    return integer<std::int64_t>(random, 1'000'000'000'000'000'000, INT64_MAX);
}
std::string boolean(Random& random) { return random() % 2 ? "true" : "false"; }
std::string shortString(Random& random) { return quoted(random, 6, 0); }
std::string string(Random& random) { return quoted(random, 40, 0); }
std::string longString(Random& random) { return quoted(random, 400, 0); }
std::string escapedString(Random& random) { return quoted(random, 40, 80); }
std::string rarelyEscapedString(Random& random) {
    return quoted(random, 40, random() % 100 == 0 ? 80 : 0);
}

}  // namespace Tokens

Shape mixedShape(const std::string& name) {
    return {name,
            {{Member::kInt32, 1, Tokens::smallInteger},
             {Member::kFloat, 3, Tokens::sixDigits},
             {Member::kString, 1, Tokens::shortString}}};
}

std::unique_ptr<Data::Stream> readStream(std::istream& in) {
    std::string errors;
    std::unique_ptr<Data::Stream> stream(Data::StreamSerializerRaw::theFormat().read(in, errors));
    require(stream && errors.empty(), errors);
    return stream;
}

void writeStream(const Data::Stream& stream, std::ostream& out) {
    std::string errors;
    require(Data::StreamSerializerRaw::theFormat().write(stream, out, errors) == 0, errors);
}

}  // namespace orbo::Benchmarks
