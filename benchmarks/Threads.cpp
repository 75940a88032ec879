// Whether two threads that read two files get in each other's way.
// SPDX-License-Identifier: Apache-2.0
#include <thread>

#include "Bench.h"

using namespace orbo::Benchmarks;

namespace {

template <typename Work>
void measureBoth(Bench& bench, const std::string& what, Work work) {
    bench.measure("one thread, " + what, [=] { return std::pair(work("1"), work("2")); });
    bench.measure("two threads, " + what, [=] {
        decltype(work("")) other{};
        std::thread thread([&] { other = work("2"); });
        auto result = work("1");
        thread.join();
        return std::pair(std::move(result), std::move(other));
    });
}

// Shares nothing: what the machine can do at the moment.
unsigned countUp() {
    unsigned count = 0;
    while (count < 30'000'000) benchmark::DoNotOptimize(++count);
    return count;
}

}  // namespace

int main() {
    const Folder folder;
    const orbo::Data::Stream stream = makeStream(makeElements(kElements));
    Bench bench(21, 1, Clock::kWall);
    for (const std::string kind : {".kx", ".ky"}) {
        for (const char* const name : {"1", "2"}) makeScene(folder.file(name + kind), 4096, stream);
        measureBoth(bench, kind, [&folder, kind](const std::string& name) {
            return readScene(folder.file(name + kind));
        });
    }
    measureBoth(bench, "counting", [](const std::string&) { return countUp(); });
    bench.run();
    for (const std::string kind : {".kx", ".ky"}) {
        bench.compare("read two files, " + kind, "two threads, " + kind, "one thread, " + kind,
                      0.55);
    }
    bench.compare("two loops that share nothing", "two threads, counting", "one thread, counting");
    return bench.result();
}
