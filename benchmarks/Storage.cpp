// What mapped storage costs in time and memory, beside a map of elements on their own.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "Bench.h"

using namespace orbo::Benchmarks;
using orbo::Data::Handle;
using orbo::Data::Stream;

namespace {

struct Record {
    float values[12];
};
using Records = std::map<std::uint32_t, std::unique_ptr<Record>>;

struct Order {
    std::string name;
    Numbers numbers;
    double time;  // allowed, as the memory
    double memory;
};

std::vector<Order> makeOrders() {
    std::mt19937 random(1);
    Numbers inOrder(kElements);
    std::iota(inOrder.begin(), inOrder.end(), 0);
    Numbers shuffled = inOrder;
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    Numbers sparse = inOrder;
    for (std::uint32_t& number : sparse) number *= 1000;
    Numbers anywhere(kElements);
    for (std::uint32_t& number : anywhere) number = static_cast<std::uint32_t>(random());
    return {{"in order", inOrder, 0.6, 0.65},
            {"in random order", shuffled, 1, 1},
            {"every 1,000th", sparse, 1, 1},
            {"random 32-bit", anywhere, 1, 1}};
}

Stream copyIntoStream(const Numbers& numbers) {
    Stream stream = makeRecords({});
    Handle handle(stream.structure());
    for (const std::uint32_t number : numbers) {
        *handle.asFloat() = static_cast<float>(number);
        stream.setElement(number, handle);
    }
    return stream;
}

Stream reserved(const Numbers& numbers) {
    Stream stream = makeRecords({});
    require(stream.reserve(static_cast<unsigned>(numbers.size())), "reserve");
    for (const std::uint32_t number : numbers) {
        *stream.emplaceElement(number).asFloat() = static_cast<float>(number);
    }
    return stream;
}

Records buildMap(const Numbers& numbers) {
    Records records;
    Record record{};
    for (const std::uint32_t number : numbers) {
        record.values[0] = static_cast<float>(number);
        records.emplace(number, std::make_unique<Record>(record));
    }
    return records;
}

// For those who know that no number comes after a higher one.
Records appendToMap(const Numbers& numbers) {
    Records records;
    Record record{};
    for (const std::uint32_t number : numbers) {
        record.values[0] = static_cast<float>(number);
        records.emplace_hint(records.end(), number, std::make_unique<Record>(record));
    }
    return records;
}

double sumOf(Stream& stream, const Numbers& numbers) {
    float sum = 0;
    for (const std::uint32_t number : numbers) sum += *stream.element(number).asFloat();
    return static_cast<double>(sum);
}
double sumOf(const Records& records, const Numbers& numbers) {
    float sum = 0;
    for (const std::uint32_t number : numbers) sum += records.find(number)->second->values[0];
    return static_cast<double>(sum);
}
double sumOf(Stream& stream) {
    float sum = 0;
    for (Handle& element : stream) sum += *element.asFloat();
    return static_cast<double>(sum);
}
double sumOf(const Records& records) {
    float sum = 0;
    for (const auto& [number, record] : records) sum += record->values[0];
    return static_cast<double>(sum);
}

Stream copied(const Stream& stream) {
    Stream copy(stream);
    require(copy.makeUnique(), "a copy");
    return copy;
}
Records copied(const Records& records) {
    Records copy;
    for (const auto& [number, record] : records) {
        copy.emplace_hint(copy.end(), number, std::make_unique<Record>(*record));
    }
    copy.erase(0);
    return copy;
}

// All but the elements of even numbers, which stay.
Stream removed(const Stream& stream, const Numbers& numbers) {
    Stream left = copied(stream);
    for (const std::uint32_t number : numbers) {
        if (number % 2 != 0) left.removeElement(number);
    }
    return left;
}
Records removed(const Records& records, const Numbers& numbers) {
    Records left = copied(records);
    for (const std::uint32_t number : numbers) {
        if (number % 2 != 0) left.erase(number);
    }
    return left;
}

// From the first to the last.
Stream emptied(const Stream& stream, const Numbers& numbers) {
    Stream left = copied(stream);
    for (const std::uint32_t number : numbers) left.removeElement(number);
    return left;
}
Records emptied(const Records& records, const Numbers& numbers) {
    Records left = copied(records);
    for (const std::uint32_t number : numbers) left.erase(number);
    return left;
}

Stream merged(const Stream& stream, const Stream& other) {
    Stream all = copied(stream);
    require(all.mergeStream(other), "streams to merge");
    return all;
}
Records merged(const Records& records, const Records& other) {
    Records all = copied(records);
    Records more = copied(other);
    all.merge(more);
    return all;
}

/// Without a limit: what happens to whole streams.
void measureWhole(Bench& bench, const Numbers& inOrder, const Numbers& atRandom) {
    const auto stream = std::make_shared<Stream>(makeRecords(inOrder));
    const auto records = std::make_shared<Records>(buildMap(inOrder));
    const auto half = std::make_shared<Stream>(removed(*stream, atRandom));
    const auto halfRecords = std::make_shared<Records>(removed(*records, atRandom));
    bench.measure("copy", [=] { return copied(*stream); });
    bench.measure("map, copy", [=] { return copied(*records); });
    orbo::Data::Associations associations;
    associations.channel("channel").setDataStream(*stream);
    bench.measure("copy of associations", [=] {
        orbo::Data::Associations copy(associations);
        require(copy.makeUnique(), "a copy");
        return copy;
    });
    bench.measure("copy, remove half at random", [=] { return removed(*stream, atRandom); });
    bench.measure("map, copy, remove half at random", [=] { return removed(*records, atRandom); });
    bench.measure("copy, remove all", [=] { return emptied(*stream, inOrder); });
    bench.measure("map, copy, remove all", [=] { return emptied(*records, inOrder); });
    bench.measure("copy, merge into half", [=] { return merged(*half, *stream); });
    bench.measure("map, copy, merge into half", [=] { return merged(*halfRecords, *records); });
}

const char* const kCold[] = {"find in sequence, cold", "find at random, cold", "walk, cold"};

/// Without a limit: from memory, where the map's elements lie as they were made, one behind the
/// other.
void measureCold(Bench& bench, Stream& stream, const Records& records,
                 const std::vector<Order>& orders) {
    bench.setTimes(1);
    for (int i = 0; i < 2; ++i) {
        const Numbers* const numbers = &orders[i].numbers;
        bench.measureCold(kCold[i], [&, numbers] { return sumOf(stream, *numbers); });
        bench.measureCold(std::string("map, ") + kCold[i],
                          [&, numbers] { return sumOf(records, *numbers); });
    }
    bench.measureCold(kCold[2], [&] { return sumOf(stream); });
    bench.measureCold(std::string("map, ") + kCold[2], [&] { return sumOf(records); });
}

template <typename Build>
double bytesOf(const Build& build) {
    const double before = heapBytes();
    const auto built = build();
    return (heapBytes() - before) / kElements;
}

void compareMemory(Bench& bench, const Order& order) {
    const double ours = bytesOf([&] { return makeRecords(order.numbers); });
    const double map = bytesOf([&] { return buildMap(order.numbers); });
    bench.count("store, bytes per element: " + order.name, ours, "map of unique_ptr", map,
                order.memory, "B");
}

}  // namespace

int main() {
    const auto orders = makeOrders();
    // First, while nothing was freed yet: elements lie in memory as they were made.
    Stream stream = makeRecords(orders[0].numbers);
    const Records records = buildMap(orders[0].numbers);
    Bench bench(15, kElements);
    for (const Order& order : orders) {
        bench.measure(order.name, [&] { return makeRecords(order.numbers); });
        bench.measure("map, " + order.name, [&] { return buildMap(order.numbers); });
    }
    bench.measure("setElement", [&] { return copyIntoStream(orders[0].numbers); });
    bench.measure("reserved", [&] { return reserved(orders[0].numbers); });
    bench.measure("map, hint at its end", [&] { return appendToMap(orders[0].numbers); });

    measureWhole(bench, orders[0].numbers, orders[1].numbers);

    bench.setTimes(3);
    for (const auto& [name, numbers] : {std::pair{"find in sequence", &orders[0].numbers},
                                        {"find at random", &orders[1].numbers}}) {
        require(sumOf(stream, *numbers) == sumOf(records, *numbers), "sums");
        bench.measure(name, [&, n = numbers] { return sumOf(stream, *n); });
        bench.measure(std::string("map, ") + name, [&, n = numbers] { return sumOf(records, *n); });
    }
    bench.setTimes(10);
    bench.measure("walk", [&] { return sumOf(stream); });
    bench.measure("map, walk", [&] { return sumOf(records); });
    measureCold(bench, stream, records, orders);
    bench.run();

    for (const Order& order : orders) {
        bench.compare("store, build: " + order.name, order.name, "map, " + order.name, order.time);
    }
    bench.compare("", orders[0].name, "map, hint at its end");
    bench.compare("store, build: with setElement", "setElement", "map, in order");
    bench.compare("store, build: after reserve", "reserved", "map, in order");
    for (const char* const name : {"find in sequence", "find at random"}) {
        bench.compare(std::string("store, ") + name, name, std::string("map, ") + name, 0.4);
    }
    bench.compare("store, walk", "walk", "map, walk", 0.7);
    for (const char* const name : {"copy", "copy, remove half at random", "copy, remove all",
                                   "copy, merge into half", kCold[0], kCold[1], kCold[2]}) {
        bench.compare(std::string("store, ") + name, name, std::string("map, ") + name);
    }
    bench.compare("store, copy of associations", "copy of associations", "copy");
    for (const Order& order : orders) compareMemory(bench, order);
    return bench.result();
}
