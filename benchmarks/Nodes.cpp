// What many nodes of few elements cost, beside the same elements in one stream.
// SPDX-License-Identifier: Apache-2.0
#include "Bench.h"

using namespace orbo::Benchmarks;

namespace {

constexpr unsigned kElementsOfOne = 50;
constexpr double kAllowed = 1.5;

const char* const kKinds[] = {".kx", ".ky"};

/// "nodes" and "stream", of each kind.
class Scenes {
  public:
    explicit Scenes(unsigned nodes) {
        std::vector<std::string> names;
        for (unsigned i = 0; i < nodes; ++i) names.push_back("node" + std::to_string(i));
        for (const char* const kind : kKinds) {
            makeScene(file("nodes", kind), 4096, makeStream(makeElements(kElementsOfOne)), names);
            makeScene(file("stream", kind), 4096, makeStream(makeElements(nodes * kElementsOfOne)));
        }
    }
    [[nodiscard]] std::string file(const std::string& name, const char* kind) const {
        return fFolder.file(name + kind);
    }

  private:
    Folder fFolder;
};

double instructions(const char* self, const std::string& file) {
    return instructionsOf({"--toggle-collect=countedRead", self, "read", file});
}

}  // namespace

// The work that valgrind counts.
extern "C" [[gnu::noinline]] void countedRead(const std::string& file) { readScene(file); }

int main(int argc, char** argv) {
    if (argc == 3) {
        countedRead(argv[2]);
        return 0;
    }
    constexpr unsigned kNodes = 20'000;
    constexpr unsigned kCounted = 2'000;
    const Scenes scenes(kNodes);
    const Scenes counted(kCounted);
    Bench bench(9, kNodes * kElementsOfOne);
    for (const char* const kind : kKinds) {
        for (const char* const name : {"nodes", "stream"}) {
            const std::string file = scenes.file(name, kind);
            bench.measure(name + std::string(kind), [file] { return readScene(file); });
        }
    }
    bench.run();
    for (const std::string kind : kKinds) {
        bench.compare("read 20,000 nodes of 50 elements, " + kind, "nodes" + kind, "stream" + kind,
                      kAllowed);
        bench.count("read 2,000 nodes of 50 elements, " + kind + ", instructions",
                    instructions(argv[0], counted.file("nodes", kind.c_str())), "one stream",
                    instructions(argv[0], counted.file("stream", kind.c_str())), kAllowed, "instr");
    }
    return bench.result();
}
