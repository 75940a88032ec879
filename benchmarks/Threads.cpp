// Whether two threads that read two files get in each other's way.
// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

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

std::unique_ptr<orbo::Data::Accessor> readBy(unsigned threads, const std::string& file) {
    auto scene = orbo::Data::Accessor::accessorByExtension(file);
    orbo::Data::ReadPolicy policy;
    policy.threads = threads;
    scene->setReadPolicy(policy);
    std::string errors;
    require(scene->read(file, errors), errors);
    return scene;
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
    // The same elements in twenty nodes, and in one, whose stream is cut into pieces.
    const std::vector<std::pair<std::string, int>> scenes = {{"20 nodes", 20}, {"1 node", 1}};
    for (const auto& [what, count] : scenes) {
        std::vector<std::string> nodes;
        for (int i = 0; i < count; ++i) nodes.push_back("node" + std::to_string(i));
        const orbo::Data::Stream part = makeStream(makeElements(4 * kElements / count));
        for (const std::string kind : {".kx", ".ky"}) {
            const std::string file = folder.file(what + kind);
            makeScene(file, 4096, part, nodes);
            bench.measure(what + " by one, " + kind, [=] { return readBy(1, file); });
            bench.measure(what + " by two, " + kind, [=] { return readBy(2, file); });
        }
    }
    measureBoth(bench, "counting", [](const std::string&) { return countUp(); });
    bench.run();
    const double loops = bench.compare("two loops that share nothing", "two threads, counting",
                                       "one thread, counting");
    for (const std::string kind : {".kx", ".ky"}) {
        bench.compare("read two files, " + kind, "two threads, " + kind, "one thread, " + kind,
                      1.08 * loops);
    }
    for (const auto& scene : scenes) {
        for (const std::string kind : {".kx", ".ky"}) {
            bench.compare("read " + scene.first + " of one file, " + kind,
                          scene.first + " by two, " + kind, scene.first + " by one, " + kind,
                          1.08 * loops);
        }
    }
    return bench.result();
}
