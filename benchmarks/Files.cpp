// What reading costs when there is much in the file that is not wanted.
// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include "Bench.h"

using namespace orbo::Benchmarks;

namespace {

constexpr unsigned kElementsOfOneMiB = 22'000;
constexpr std::size_t kBlock = 64 * 1024;
constexpr unsigned kRounds = 9;

double readCalls() { return processNumber("io", "syscr"); }

double callsOfReading(const std::string& file) {
    const double first = readCalls();
    const double second = readCalls();  // which takes calls, too
    readScene(file);
    return readCalls() - second - (second - first);
}

bool compareDistances(const std::string& kind, const orbo::Data::Stream& stream) {
    const Folder folder;
    const std::string near = folder.file("near" + kind);
    const std::string far = folder.file("far" + kind);
    makeScene(near, 2 * kMiB, stream);
    const auto bytes = static_cast<double>(makeScene(far, 20 * 1024 * kMiB, stream));
    Bench bench(15);
    bench.measure("far", [&] { return readScene(far); });
    bench.measure("1 MiB behind 2 MiB", [&] { return readScene(near); });
    bench.run();
    bench.compare("read 1 MiB behind 20 GiB, " + kind, "far", "1 MiB behind 2 MiB", 1.2);
    bench.count("", callsOfReading(far), "1 for each 64 KiB, and 16", bytes / kBlock + 16, 1,
                "reads");
    return bench.result() == 0;
}

unsigned readPlainly(const std::string& file) {
    static char block[kBlock];
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    unsigned lines = 0;
    for (ssize_t got = 1; got > 0;) {
        got = ::read(descriptor, block, sizeof block);
        benchmark::DoNotOptimize(block[0]);
        lines += got > 0;
    }
    ::close(descriptor);
    return lines;
}

// The wanted node is the one that is met last.
// Allowed is the share that finding and unescaping have in reading everything, by what a scene may
// cost beyond the text of its streams.
bool compareFilter(const std::string& kind, const orbo::Data::Stream& stream) {
    const double beyond = kind == ".kx" ? 0.35 : 0.1;
    const Folder folder;
    const std::string file = folder.file("large" + kind);
    std::vector<std::string> nodes;
    for (int i = 100; i < 200; ++i) nodes.push_back("node" + std::to_string(i));
    makeScene(file, 4096, stream, nodes);
    const auto scene = readScene(file);
    const Elements few = makeElements(10);
    scene->associations()["first"].channel("channel").setDataStream(makeStream(few));
    std::string errors;
    require(scene->write(errors), errors);
    const std::set<std::string> wanted{"first"};
    require(readScene(file, &wanted)->associations().size() == 1, "the wanted node");

    Bench bench(kRounds);
    bench.measure("one node", [&] { return readScene(file, &wanted); });
    bench.measure("plain reads of 64 KiB", [&] { return readPlainly(file); });
    bench.measure("all nodes", [&] { return readScene(file); });
    bench.run();
    bench.compare("read one node out of 100 MiB, " + kind, "one node", "all nodes",
                  beyond / (1 + beyond));
    bench.compare("", "one node", "plain reads of 64 KiB", 2);
    return bench.result() == 0;
}

std::unique_ptr<orbo::Data::Accessor> loadNode(const std::string& file, const std::string& node) {
    auto scene = orbo::Data::Accessor::accessorByExtension(file);
    orbo::Data::ReadPolicy policy;
    policy.nodesOnDemand = true;
    scene->setReadPolicy(policy);
    std::string errors;
    require(scene->read(file, errors) && scene->load(node, errors), errors);
    return scene;
}

// Without the wanted node, everything is looked through, too.
bool compareNodes(const std::string& kind) {
    const Folder folder;
    const std::string file = folder.file("many" + kind);
    std::vector<std::string> nodes;
    for (int i = 0; i < 500; ++i) nodes.push_back("node" + std::to_string(i));
    const Elements elements = makeElements(kElementsOfOneMiB / 50);
    makeScene(file, 4096, makeStream(elements), nodes);
    const std::set<std::string> wanted{"node250"};
    const std::set<std::string> missing{"nobody"};
    Bench bench(kRounds);
    bench.measure("one node", [&] { return readScene(file, &wanted); });
    bench.measure("one node on demand", [&] { return loadNode(file, "node250"); });
    bench.measure("looking for it", [&] { return readScene(file, &missing); });
    bench.run();
    bench.compare("read one of 500 nodes, " + kind, "one node", "looking for it", 3);
    bench.compare("", "one node on demand", "looking for it", 3);
    return bench.result() == 0;
}

// Without a limit: from the disk, which mostly decides.
void compareDisk(const std::string& kind, const orbo::Data::Stream& stream) {
    const Folder folder;
    const std::string file = folder.file("disk" + kind);
    std::vector<std::string> nodes;
    for (int i = 0; i < 20; ++i) nodes.push_back("node" + std::to_string(i));
    makeScene(file, 4096, stream, nodes);
    const auto drop = [file] { dropFromMemory(file); };
    Bench bench(kRounds, 1, Clock::kWall);
    bench.measureBehind("scene", drop, [&] { return readScene(file); });
    bench.measureBehind("plain reads of 64 KiB", drop, [&] { return readPlainly(file); });
    bench.measure("scene in memory", [&] { return readScene(file); });
    bench.run();
    bench.compare("read 20 MiB from the disk, " + kind, "scene", "plain reads of 64 KiB");
    bench.compare("", "scene", "scene in memory");
}

}  // namespace

int main() {
    const Elements elements = makeElements(kElementsOfOneMiB);
    const orbo::Data::Stream stream = makeStream(elements);
    bool held = true;
    for (const char* const kind : {".kx", ".ky"}) held = compareDistances(kind, stream) && held;
    for (const char* const kind : {".kx", ".ky"}) held = compareFilter(kind, stream) && held;
    for (const char* const kind : {".kx", ".ky"}) held = compareNodes(kind) && held;
    for (const char* const kind : {".kx", ".ky"}) compareDisk(kind, stream);
    return held ? 0 : 1;
}
