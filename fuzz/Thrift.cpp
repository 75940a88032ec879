// What an input may take of time and memory.
// SPDX-License-Identifier: Apache-2.0
#include "Thrift.h"

#include <algorithm>
#include <ctime>
#include <string>

#include "HeapPeak.h"
#include "Law.h"

namespace orbo::Fuzz {

namespace {

constexpr int kRuns = 7;
// Half as much again as benchmarks allow to instructions: allocating has a larger share here.
constexpr double kTimesBase = 30;
constexpr double kMemory = 80;
// A read that has something to say looks for its line, through a block of the file.
constexpr double kBlocks = 2 * 64 * 1024;

double threadNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

Cost wholeCost(const Work& work, int runs) {
    Cost cost{1e18, 0};
    for (int i = 0; i < runs; ++i) {
        const double start = threadNanoseconds();
        cost.memory = static_cast<double>(heapPeakOf(work.run));
        cost.nanoseconds = std::min(cost.nanoseconds, threadNanoseconds() - start);
    }
    return cost;
}

const Cost& costOfNothing() {
    static const auto nothing = static_cast<std::uint8_t>(kNothing);
    static const Cost cost = wholeCost(workOf(&nothing, 1), kRuns);
    return cost;
}

bool isSlow(const Work& work, int runs) {
    static double base = costOf(baseWork(), kRuns).nanoseconds;
    // The machine may have been quicker when it was measured first.
    if (runs > 1) base = std::max(base, costOf(baseWork(), kRuns).nanoseconds);
    return costOf(work, runs).nanoseconds > kTimesBase * base;
}

}  // namespace

std::string baseAssociations() {
    std::string text = "channel\nname c\nstream\nname s\nindexType numeric\nstructure B\n";
    for (int i = 0; i < 100; ++i) {
        const std::string number = std::to_string(1000 + i * 73);
        text += std::to_string(i) + '\n' + number;
        for (const char* const whole : {" -3.", " 45.", " 0."}) text += whole + number;
        text += " \"n" + number + "\"\n";
    }
    return text + "endStream\nendChannel\nendAssociations\n";
}

double chargedBytes(const Work& work) {
    constexpr std::size_t kLeast = 256;
    return static_cast<double>(std::max(work.bytes, kLeast));
}

Cost costOf(const Work& work, int runs) {
    const Cost cost = wholeCost(work, runs);
    const Cost& nothing = costOfNothing();
    return {std::max(0.0, cost.nanoseconds - nothing.nanoseconds) / chargedBytes(work),
            std::max(0.0, cost.memory - nothing.memory) / chargedBytes(work)};
}

void demandThrift(const std::uint8_t* data, std::size_t size) {
    const Work work = workOf(data, size);
    const std::string_view input = textOf(data, size);
    const double allowed = kMemory + kBlocks / chargedBytes(work);
    demand(costOf(work).memory <= allowed, "memory is a few times the input", input);
    demand(!isSlow(work, 1) || !isSlow(work, kRuns), "time is a few times the base's", input);
}

}  // namespace orbo::Fuzz
