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
    constexpr double kSizesAndHeader = 4096;
    bench.count("", written, "section, journal, size fields", 3 * section + kSizesAndHeader, 1,
                "B");
    return bench.result() == 0;
}

}  // namespace

int main() {
    const Elements elements = makeElements(kElementsOfOneMiB);
    const orbo::Data::Stream stream = makeStream(elements);
    bool held = true;
    for (const char* const kind : {".kx", ".ky"}) held = compare(kind, stream) && held;
    return held ? 0 : 1;
}
