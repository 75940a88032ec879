// Says what inputs of a target take, a line for each, tab-separated: `fuzz-costs-TARGET FILE...`
// prints nanoseconds and bytes of memory a byte, and the file; with --instructions in front of the
// files, instructions a byte as valgrind counts them, and the file.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "Thrift.h"

using namespace orbo::Fuzz;

namespace {

constexpr int kRuns = 5;

Work workOfFile(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    if (bytes.empty()) bytes = kNothing;
    return workOf(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

/// Of this program as it counts the file.
double instructions(const std::string& self, const std::string& file) {
    const std::string command =
        "valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect=countedWork '" +
        self + "' --count '" + file + "' 2>&1";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(::popen(command.c_str(), "r"),
                                                              ::pclose);
    double count = 0;
    char line[256];
    while (out && std::fgets(line, sizeof line, out.get())) {
        const char* const found = std::strstr(line, "Collected : ");
        if (found) count = std::atof(found + 12);
    }
    if (count > 0) return count;
    std::fprintf(stderr, "valgrind cannot count %s\n", file.c_str());
    std::exit(2);
}

int printInstructions(const std::string& self, int count, char** files) {
    const double nothing = instructions(self, "/dev/null");
    for (int i = 0; i < count; ++i) {
        const double more = std::max(0.0, instructions(self, files[i]) - nothing);
        std::printf("%.2f\t%s\n", more / chargedBytes(workOfFile(files[i])), files[i]);
    }
    return 0;
}

}  // namespace

// The work that valgrind counts.
extern "C" [[gnu::noinline]] void countedWork(const std::function<void()>& run) { run(); }

int main(int argc, char** argv) {
    const std::string first = argc > 2 ? argv[1] : "";
    if (first == "--instructions") return printInstructions(argv[0], argc - 2, argv + 2);
    if (first == "--count") {
        const Work work = workOfFile(argv[2]);
        work.run();  // what a process does once
        countedWork(work.run);
        return 0;
    }
    for (int i = 1; i < argc; ++i) {
        const Cost cost = costOf(workOfFile(argv[i]), kRuns);
        std::printf("%.2f\t%.2f\t%s\n", cost.nanoseconds, cost.memory, argv[i]);
    }
    return argc > 1 ? 0 : 2;
}
