// What a change of one value costs, safe from power cuts, beside a new copy of the scene.
// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "Bench.h"

using namespace orbo::Benchmarks;

namespace {

constexpr std::uint64_t kSceneSize = 256 * kMiB;
constexpr unsigned kElementsOfOneMiB = 22'000;
constexpr double kKiB = 1024;

// Bytes where the scene has a hole, so that copying has something to copy.
void fill(const std::string& file) {
    const std::vector<char> block(kMiB, 'x');
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    bool good = descriptor >= 0;
    for (std::uint64_t at = 64; at + kMiB < kSceneSize; at += kMiB) {
        good = good && ::pwrite(descriptor, block.data(), kMiB, static_cast<off_t>(at)) ==
                           static_cast<ssize_t>(kMiB);
    }
    require(good && ::fsync(descriptor) == 0, "a full scene");
    ::close(descriptor);
}

void copyAndRename(const std::string& file) {
    const std::string copy = file + ".new";
    std::vector<char> block(kMiB);
    const int from = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const int to = ::open(copy.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool good = true;
    for (ssize_t got = 1; got > 0 && good;) {
        got = ::read(from, block.data(), block.size());
        good = got >= 0 && ::write(to, block.data(), static_cast<std::size_t>(got)) == got;
    }
    require(good && ::fsync(to) == 0 && std::rename(copy.c_str(), file.c_str()) == 0, "a copy");
    ::close(from);
    ::close(to);
}

void change(orbo::Data::Accessor& scene) {
    orbo::Data::Stream* stream =
        scene.associations()["node"].channel("channel").dataStream("stream");
    *stream->element(7).asInt32() ^= 1;
    std::string errors;
    require(scene.write(errors), errors);
}

// As `quilmeta` reads what it is going to change.
std::unique_ptr<orbo::Data::Accessor> readCarefully(const std::string& file) {
    auto scene = orbo::Data::Accessor::accessorByExtension(file);
    scene->setWritePolicy(orbo::Data::WritePolicy::careful());
    std::string errors;
    require(scene->read(file, errors), errors);
    return scene;
}

bool compare(const std::string& kind, const orbo::Data::Stream& stream) {
    const Folder folder;
    const std::string file = folder.file("scene" + kind);
    const auto section = static_cast<double>(makeScene(file, kSceneSize, stream));
    fill(file);
    const auto scene = readScene(file);

    Bench bench(9, 1, Clock::kWall);
    bench.measure("rewrite", [&] { change(*scene); });
    bench.measure("copy of 256 MiB", [&] { copyAndRename(file); });
    bench.run();
    bench.compare("change a value behind 256 MiB, " + kind, "rewrite", "copy of 256 MiB");
    const double before = processNumber("io", "wchar");
    change(*scene);
    const double written = processNumber("io", "wchar") - before;
    bench.count("", written, "with its journal", 64.0 * kKiB, 1, "B");
    const double start = processNumber("io", "rchar");
    change(*readCarefully(file));
    const double read = processNumber("io", "rchar") - start;
    // Each scan reads a block in front of the section and one with the trailer.
    constexpr double kAround = 6 * 64.0 * kKiB;
    bench.count("", read, "the section twice, with the read", 2 * section + kAround, 1, "B");
    return bench.result() == 0;
}

using Words = std::vector<std::string>;

Words showing(const std::string& file) { return {BENCH_QUILMETA, "show", "--quiet", file}; }

// Another value each time.
Words setting(const std::string& file) {
    static int value = 0;
    return {BENCH_QUILMETA,
            "set",
            "--quiet",
            file,
            "--node",
            "node0",
            "--channel",
            "channel",
            "--stream",
            "stream",
            "--index",
            "7",
            "values=" + std::to_string(++value % 9)};
}

// The command beside one that only reads. The metadata has so many elements, in so many nodes.
bool compareCommands(const std::string& kind, unsigned count, unsigned nodes) {
    const Folder folder;
    const std::string file = folder.file("scene" + kind);
    Words names;
    for (unsigned i = 0; i < nodes; ++i) names.push_back("node" + std::to_string(i));
    // What a child counts as its memory is at least that of the process that began it.
    const double section = apart([&] {
        const Elements all = makeElements(count / nodes);
        return static_cast<double>(makeScene(file, 4096, makeStream(all), names));
    });
    // The first change puts a guard in front of the section, and so moves all of it.
    usageOf(setting(file));
    const std::string where =
        " in " + std::to_string(nodes) + (nodes == 1 ? " node, " : " nodes, ") + kind;
    Bench bench(7);
    if (count <= kElementsOfOneMiB) {
        bench.count("set" + where + ", instructions", instructionsOf(setting(file)), "show",
                    instructionsOf(showing(file)), 1.5, "instr");
        return bench.result() == 0;
    }
    bench.sample("set", [&] { return usageOf(setting(file)).cpu; });
    bench.sample("show", [&] { return usageOf(showing(file)).cpu; });
    bench.run();
    bench.compare("set" + where, "set", "show", 1.5);
    bench.count("", usageOf(setting(file)).peak - usageOf(showing(file)).peak,
                "the section, beyond show's peak", section, 1.2, "B");
    return bench.result() == 0;
}

}  // namespace

int main() {
    const Elements elements = makeElements(kElementsOfOneMiB);
    const orbo::Data::Stream stream = makeStream(elements);
    bool held = true;
    for (const char* const kind : {".kx", ".ky"}) {
        held = compare(kind, stream) && held;
        for (const unsigned nodes : {1U, 20U}) {
            for (const unsigned count : {kElementsOfOneMiB, 20 * kElementsOfOneMiB})
                held = compareCommands(kind, count, nodes) && held;
        }
    }
    return held ? 0 : 1;
}
