// What it costs to come to the values of elements that are there.
// SPDX-License-Identifier: Apache-2.0
#include <data/MemberRef.h>

#include <numeric>

#include "Bench.h"

using namespace orbo::Benchmarks;
using orbo::Data::Member;
using orbo::Data::MemberRef;
using orbo::Data::Stream;
using orbo::Data::Structure;

namespace {

float walk(Stream& stream) {
    float sum = 0;
    const Stream::iterator end = stream.end();
    for (Stream::iterator element = stream.begin(); element != end; ++element) {
        sum += *element->asFloat();
    }
    return sum;
}

template <typename Number>
float walk(const orbo::Data::StreamColumn<Number>& column) {
    float sum = 0;
    for (unsigned i = 0; i < column.size(); ++i) sum += *column[i];
    return sum;
}

float walkPairs(const Stream& stream) {
    float sum = 0;
    for (auto [index, element] : stream.elements()) sum += *element.asFloat();
    return sum;
}

float walkPairs(const Stream& stream, const MemberRef<float>& radius) {
    float sum = 0;
    for (auto [index, element] : stream.elements()) sum += radius(element);
    return sum;
}

void grow(const orbo::Data::StreamColumn<float>& column) {
    for (unsigned i = 0; i < column.size(); ++i) *column[i] += 1;
}

void growPairs(Stream& stream, const MemberRef<float>& radius) {
    for (auto [index, element] : stream.elements()) radius.set(element, radius(element) + 1);
}

/// Dense elements as large as those of `makeRecords`, with a member of one float in front.
Stream makeBalls() {
    const orbo::RefPtr<Structure> ball(Structure::create());
    ball->addMember(Member::kFloat, 1, "radius");
    ball->addMember(Member::kFloat, 11, "rest");
    Stream balls(*ball, "balls");
    balls.useDenseStorage(true);
    for (unsigned i = 0; i < kElements; ++i)
        balls.emplaceElement(i).set("radius", static_cast<float>(i));
    return balls;
}

float walkRaw(const char* first, std::size_t stride) {
    float sum = 0;
    for (unsigned i = 0; i < kElements; ++i) {
        sum += *reinterpret_cast<const float*>(first + i * stride);
    }
    return sum;
}

}  // namespace

int main() {
    Numbers numbers(kElements);
    std::iota(numbers.begin(), numbers.end(), 0);
    Stream mapped = makeRecords(numbers);
    Stream dense = makeRecords(numbers);
    dense.useDenseStorage(true);
    const auto* first = reinterpret_cast<const char*>(dense.element(0).asFloat());
    std::size_t stride = dense.structure().totalSize();
    benchmark::DoNotOptimize(stride);  // known at run time only
    const auto column = dense.column<float>("values");
    require(walk(column) == walkRaw(first, stride), "the column");
    Stream balls = makeBalls();
    const MemberRef<float> radius(balls.structure(), "radius");
    const auto radii = balls.column<float>("radius");
    require(walkPairs(balls, radius) == walk(radii), "the member");
    grow(radii);
    growPairs(balls, radius);
    require(*radii[0] == 2 && *radii[kElements - 1] == kElements + 1, "values that were set");
    require(walkPairs(dense) == walkRaw(first, stride) && walkPairs(mapped) == walkPairs(dense),
            "pairs");
    require(walk(dense) == walkRaw(first, stride) && walk(mapped) == walk(dense), "sums");

    Bench bench(41, kElements);
    bench.setTimes(30);
    bench.measure("raw loop", [&] { return walkRaw(first, stride); });
    bench.measure("column", [&] { return walk(column); });
    bench.measure("dense", [&] { return walk(dense); });
    bench.measure("mapped", [&] { return walk(mapped); });
    bench.measure("column of one float", [&] { return walk(radii); });
    bench.measure("MemberRef", [&] { return walkPairs(balls, radius); });
    bench.measure("set a column", [&] { grow(radii); });
    bench.measure("set by MemberRef", [&] { growPairs(balls, radius); });
    bench.measure("elements, dense", [&] { return walkPairs(dense); });
    bench.measure("elements, mapped", [&] { return walkPairs(mapped); });
    bench.run();
    bench.compare("walk a column", "column", "raw loop", 1.05);
    bench.atMost("walk with an iterator, dense", "dense", 5);
    bench.compare("", "dense", "raw loop");
    bench.atMost("walk with an iterator, mapped", "mapped", 5);
    bench.compare("a member that is looked up once", "MemberRef", "column of one float", 1.1);
    bench.compare("set a member that is looked up once", "set by MemberRef", "set a column", 1.5);
    bench.compare("walk pairs, dense", "elements, dense", "dense", 1.1);
    bench.compare("walk pairs, mapped", "elements, mapped", "mapped", 1.1);
    return bench.result();
}
