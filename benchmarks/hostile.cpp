// Measures what hostile scenes cost: time and memory for each, and how long scenes of 100 GiB take
// to open. `hostile [NAME... | sparse]`; exit 1 when a limit is exceeded.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/Index.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <string>

#include "HostileScenes.h"

namespace {

using namespace orbo::Benchmarks;
using orbo::Data::Accessor;

constexpr double kMiB = 1024 * 1024;
constexpr double kMillisecondsPerMiB = 100;
constexpr double kFreeMiB = 16;
constexpr double kMemoryFactor = 4;
constexpr double kOpenMilliseconds = 50;

struct Cost {
    double readMilliseconds;
    double writeMilliseconds;  // of a careful write that changes nothing
    double mib;                // most memory while reading, beyond what was there before
};

// Of this process, so that what else the machine does is not counted.
double processorMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double statusMiB(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word != field + ":") continue;
        double kib = 0;
        status >> kib;
        return kib / 1024;
    }
    return 0;
}

void read(Accessor& accessor, const std::string& file) {
    std::string errors;
    try {
        accessor.read(file, errors);
    } catch (const orbo::Data::Index::eCreationErrors&) {
    }
}

Cost measure(const std::string& file) {
    Cost cost{};
    std::ofstream("/proc/self/clear_refs") << "5";  // the most memory is what there is now
    const double before = statusMiB("VmRSS");
    const auto accessor = Accessor::accessorByExtension(file);
    accessor->setWritePolicy(orbo::Data::WritePolicy::careful());
    const double start = processorMilliseconds();
    read(*accessor, file);
    const double between = processorMilliseconds();
    cost.mib = std::max(0.0, statusMiB("VmHWM") - before);
    std::string errors;
    accessor->write(errors);
    cost.readMilliseconds = between - start;
    cost.writeMilliseconds = processorMilliseconds() - between;
    return cost;
}

// In a process of its own, for the memory of the one before would hide the next one's.
Cost measureApart(const std::function<Cost()>& work) {
    int ends[2];
    if (::pipe(ends) != 0) std::exit(2);
    const pid_t child = ::fork();
    if (child == 0) {
        const Cost cost = work();
        ::_exit(::write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 2);
    }
    ::close(ends[1]);
    Cost cost{-1, -1, -1};
    const bool got = ::read(ends[0], &cost, sizeof cost) == sizeof cost;
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!got || status != 0) std::printf("    the process failed\n");
    return cost;
}

bool check(const HostileScene& scene, const std::string& folder, double mib) {
    const std::string file = folder + (scene.binary ? "/scene.ky" : "/scene.kx");
    measureApart([&] {
        std::ofstream(file, std::ios::binary) << scene.make(static_cast<std::size_t>(mib * kMiB));
        return Cost{};
    });
    std::ifstream in(file, std::ios::binary | std::ios::ate);
    const double size = static_cast<double>(in.tellg()) / kMiB;
    const Cost cost = measureApart([&] { return measure(file); });
    const double factor = std::max(0.0, cost.mib - kFreeMiB) / size;
    const bool slow =
        cost.readMilliseconds < 0 || cost.readMilliseconds > kMillisecondsPerMiB * size;
    const bool large = factor > kMemoryFactor;
    std::printf("%-32s %-6s %6.1f %9.1f %9.1f %9.1f %7.1f%s%s\n", scene.name.c_str(),
                scene.binary ? "binary" : "text", size, cost.readMilliseconds,
                cost.writeMilliseconds, cost.mib, factor, slow ? "  SLOW" : "",
                large ? "  LARGE" : "");
    std::fflush(stdout);
    return !slow && !large;
}

// The scene's own bytes are a hole in the file.
bool checkSparse(const std::string& file, const std::string& front, const std::string& end) {
    constexpr off_t kSize = off_t{100} << 30;
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    const auto put = [&](const std::string& text, off_t at) {
        return ::pwrite(descriptor, text.data(), text.size(), at) ==
               static_cast<ssize_t>(text.size());
    };
    const bool made = put(front, 0) && put(end, kSize);
    ::close(descriptor);
    std::size_t nodes = 0;
    double milliseconds = 1e9;
    for (int i = 0; i < 5; ++i) {
        const auto start = std::chrono::steady_clock::now();
        std::string errors;
        const auto accessor = Accessor::readFile(file, errors);
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        nodes = accessor ? accessor->associations().size() : 0;
        milliseconds = std::min(milliseconds, time.count());
    }
    ::unlink(file.c_str());
    const bool good = made && nodes == 1 && milliseconds < kOpenMilliseconds;
    std::printf("%-32s %6.2f ms, %zu node%s\n", "100 GiB, sparse", milliseconds, nodes,
                good ? "" : "  FAILED");
    return good;
}

std::string number(std::uint64_t value, int bytes) {
    std::string result;
    while (bytes-- > 0) result += static_cast<char>(value >> (8 * bytes) & 0xFFu);
    return result;
}

bool checkSparseScenes(const std::string& folder) {
    const std::string text =
        "channel\nname c\nstream\nname s\nstructure S\nendStream\nendChannel\nendAssociations\n";
    std::string escaped;
    for (const char c : text) escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
    const std::string raw("raw\0", 4);
    std::string chunks;
    for (const auto& [tag, data] :
         {std::pair<std::string, std::string>{"DATS", raw + "name=S:int8=x" + '\0'},
          {"MTDA", "n" + std::string(1, '\0') + raw + text + '\0'}}) {
        chunks += tag + number(0, 4) + number(data.size(), 8) + data +
                  std::string((8 - data.size() % 8) % 8, '\0');
    }
    constexpr std::uint64_t kSize = std::uint64_t{100} << 30;
    const std::string end = "FOR8" + number(0, 4) + number(chunks.size() + 28, 8) + "TRLR" +
                            chunks + "BCSZ" + number(0, 4) + number(4, 8) +
                            number(chunks.size() + 20, 4) + number(0, 4);
    const bool textIsGood = checkSparse(
        folder + "/scene.kx", "//Quil ASCII 2016 scene\n",
        ";\nselect -ne a;\nselect -ne b;\ndataStructure -fmt \"raw\" -as \"name=S:int8=x\";\n"
        "applyMetadata -fmt \"raw\" -v \"" +
            escaped + "\" \n\t\tn;\n// End of scene.kx\n");
    const bool binaryIsGood =
        checkSparse(folder + "/scene.ky",
                    "FOR8" + number(0, 4) + number(kSize + end.size() - 16, 8) + "Quil", end);
    return textIsGood && binaryIsGood;
}

}  // namespace

int main(int argc, char** argv) {
    std::string folder = "/tmp/hostileXXXXXX";
    if (!::mkdtemp(folder.data())) return 2;
    std::printf(
        "Limits: read %.0f ms for each MiB; memory %.0f MiB and %.0f times the metadata.\n\n",
        kMillisecondsPerMiB, kFreeMiB, kMemoryFactor);
    std::printf("%-32s %-6s %6s %9s %9s %9s %7s\n", "scene", "kind", "MiB", "read ms", "write ms",
                "mem MiB", "factor");
    bool good = true;
    for (const HostileScene& scene : hostileScenes()) {
        const bool wanted = argc < 2 || std::find(argv + 1, argv + argc, scene.name) != argv + argc;
        for (const double mib : {1.0, 4.0}) {
            if (wanted) good = check(scene, folder, mib) && good;
        }
    }
    if (argc < 2 || argv[1] == std::string("sparse")) good = checkSparseScenes(folder) && good;
    ::unlink((folder + "/scene.kx").c_str());
    ::unlink((folder + "/scene.ky").c_str());
    ::rmdir(folder.c_str());
    return good ? 0 : 1;
}
