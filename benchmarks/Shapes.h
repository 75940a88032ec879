// Stream texts of many shapes, and what holds their values where the library does not.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>
#include <data/Stream.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace orbo::Benchmarks {

/// An element of equal values.
template <typename T, unsigned N>
struct Row {
    T values[N];
};
/// An element of the base shape.
struct MixedRow {
    std::int32_t id;
    float position[3];
    std::string name;
};
template <typename R>
using Rows = std::map<std::uint32_t, std::unique_ptr<R>>;

/// Calls `visit` with each value, in the order of the text.
template <typename T, unsigned N, typename Visit>
void forEachValue(Row<T, N>& row, const Visit& visit) {
    for (T& value : row.values) visit(value);
}
template <typename Visit>
void forEachValue(MixedRow& row, const Visit& visit) {
    visit(row.id);
    for (float& value : row.position) visit(value);
    visit(row.name);
}

using Random = std::mt19937_64;
/// Makes one value as the text has it, strings in their quotes.
using Token = std::string (*)(Random&);

/// How the numbers of elements follow each other.
enum class Order { kRising, kFalling, kRandom, kGaps };

struct Shape {
    struct Values {
        Data::Member::eDataType type;
        unsigned length;  ///< of the member: a matrix is one
        Token token;
    };

    std::string name;
    std::vector<Values> values;
    Order order = Order::kRising;
    std::string indexType = "numeric";
    std::string lineEnd = "\n";
    std::string between = " ";  ///< the values
};

/// The values' texts are one random sequence, whatever the form.
struct ShapeText {
    /// Registers the structure.
    ShapeText(const Shape& shape, unsigned elements);

    std::string text;  ///< of the stream
    std::string json;  ///< the same values: an array with an array of index and values for each
};

namespace Tokens {

std::string sixDigits(Random& random);
std::string withExponent(Random& random);
std::string shortestFloat(Random& random);
std::string nineDigits(Random& random);
std::string shortestDouble(Random& random);
std::string seventeenDigits(Random& random);
std::string smallInteger(Random& random);
std::string fullInteger(Random& random);
std::string longInteger(Random& random);
std::string boolean(Random& random);
std::string shortString(Random& random);
std::string string(Random& random);
std::string longString(Random& random);
/// As long as `string`.
std::string escapedString(Random& random);
/// One of a hundred has an escape.
std::string rarelyEscapedString(Random& random);

}  // namespace Tokens

Shape mixedShape(const std::string& name);

/// Reads or writes the text of a stream; ends the program when that fails.
std::unique_ptr<Data::Stream> readStream(std::istream& in);
void writeStream(const Data::Stream& stream, std::ostream& out);

}  // namespace orbo::Benchmarks
