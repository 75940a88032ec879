// What hostile scenes cost a byte beside a usual one, in instructions of reading and destroying.
// SPDX-License-Identifier: Apache-2.0
#include <data/Index.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "Bench.h"
#include "HostileScenes.h"

using namespace orbo::Benchmarks;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t kSize = 256 * 1024;
constexpr double kAllowed = 20;

double instructions(const std::string& self, const std::string& file) {
    return instructionsOf({"--toggle-collect=countedRead", self, "read", file});
}

/// Takes off what a scene without metadata costs, which files of few bytes would mostly show.
double perByte(const std::string& self, const std::string& file, double empty) {
    const double more = instructions(self, file) - empty;
    return std::max(0.0, more) / static_cast<double>(fs::file_size(file));
}

double costOfBase(const std::string& self, const Folder& folder, double empty) {
    constexpr unsigned kElementsOf256KiB = 5500;
    const std::string file = folder.file("base.kx");
    makeScene(file, 4096, makeStream(makeElements(kElementsOf256KiB)));
    return perByte(self, file, empty);
}

/// The inputs on which fuzzing spent most, as the target's own program counts them. Returns the
/// worst.
double countKept(Bench& bench, const std::string& target, double base) {
    std::string command = BENCH_FUZZ_COSTS + target + " --instructions";
    for (const auto& input : fs::directory_iterator(BENCH_FUZZ_WORST + target))
        command += " '" + input.path().string() + "'";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(::popen(command.c_str(), "r"),
                                                              ::pclose);
    double worst = 0;
    double cost = 0;
    for (char file[512]; out && std::fscanf(out.get(), "%lf %511s", &cost, file) == 2;) {
        worst = std::max(worst, cost);
        const std::string name = fs::path(file).filename().string().substr(0, 8);
        bench.count("kept: " + target + " " + name, cost, "base shape, a byte", base, kAllowed,
                    "instr");
    }
    require(worst > 0, "inputs of " + target + " are counted");
    return worst;
}

}  // namespace

// The work that valgrind counts.
extern "C" [[gnu::noinline]] void countedRead(const std::string& file) {
    const auto accessor = orbo::Data::Accessor::accessorByExtension(file);
    require(accessor != nullptr, file);
    std::string errors;
    try {
        accessor->read(file, errors);
    } catch (const orbo::Data::Index::eCreationErrors&) {
        // Index types that nobody registered are among what is hostile.
    }
}

int main(int argc, char** argv) {
    if (argc == 3) {
        countedRead(argv[2]);
        return 0;
    }
    const std::string self = argv[0];
    const Folder folder;
    const std::string emptyFile = folder.file("empty.kx");
    std::ofstream(emptyFile) << "//Quil ASCII 2016 scene\n// End of empty.kx\n";
    const double empty = instructions(self, emptyFile);
    const double base = costOfBase(self, folder, empty);
    Bench bench(0);
    double worst = 0;
    for (const HostileScene& scene : hostileScenes()) {
        const std::string file = folder.file(scene.binary ? "scene.ky" : "scene.kx");
        std::ofstream(file, std::ios::binary) << scene.make(kSize);
        const double cost = perByte(self, file, empty);
        worst = std::max(worst, cost);
        bench.count("hostile: " + scene.name, cost, "base shape, a byte", base, kAllowed, "instr");
    }
    bench.count("all hostile shapes, worst", worst, "base shape, a byte", base, kAllowed, "instr");
    worst = 0;
    for (const char* const target : {"text-scene", "binary-scene", "associations-text"})
        worst = std::max(worst, countKept(bench, target, base));
    bench.count("all that fuzzing kept, worst", worst, "base shape, a byte", base, kAllowed,
                "instr");
    return bench.result();
}
