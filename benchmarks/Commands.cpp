// What the command line takes beside the library's reading: time over many scenes, and memory for
// large ones.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>

#include <filesystem>
#include <fstream>
#include <utility>

#include "Bench.h"

using namespace orbo::Benchmarks;

namespace {

constexpr double kMemoryBeside = 256.0 * kMiB;

using Words = std::vector<std::string>;

Usage quilmeta(Words words, const Words& files = {}) {
    words.insert(words.begin(), BENCH_QUILMETA);
    words.emplace_back("--quiet");
    words.insert(words.end(), files.begin(), files.end());
    return usageOf(words);
}

/// Copies a scene that is a hole but for its ends.
void copyEnds(const std::string& from, const std::string& to) {
    constexpr std::streamoff kEnd = 1 << 20;
    std::ifstream in(from, std::ios::binary);
    std::ofstream out(to, std::ios::binary);
    const auto size = static_cast<std::streamoff>(std::filesystem::file_size(from));
    for (const std::streamoff at : {std::streamoff{0}, size - kEnd}) {
        std::string bytes(kEnd, '\0');
        in.seekg(at).read(bytes.data(), kEnd);
        out.seekp(at).write(bytes.data(), kEnd);
    }
    require(in && out.flush(), to);
}

/// A thousand scenes of 20 MB with 100 KB of metadata, of both kinds.
Words makeScenes(const Folder& folder) {
    constexpr unsigned kScenes = 1000;
    constexpr unsigned kElementsOf100KB = 2200;
    const Elements elements = makeElements(kElementsOf100KB);
    const orbo::Data::Stream stream = makeStream(elements);
    Words files;
    for (const char* const kind : {".kx", ".ky"}) {
        const std::string first = folder.file(std::string("0") + kind);
        makeScene(first, 20'000'000, stream);
        for (unsigned i = 1; i <= kScenes / 2; ++i) {
            files.push_back(folder.file(std::to_string(i) + kind));
            copyEnds(first, files.back());
        }
    }
    return files;
}

bool compareManyScenes() {
    const Folder folder;
    const Words files = makeScenes(folder);
    const auto read = [&] {
        for (const std::string& file : files) readScene(file);
    };
    const Words find = {"find", "--where", "values == 7 and position[1] > 1e30"};
    const Words edit = {"edit", "--dry-run", "--where", "values == 7", "values=8"};
    const struct {
        const char* jobs;
        const char* title;
        double Usage::*time;
        double allowed;
    } kRows[] = {{"-j1", ", one job", &Usage::cpu, 1.2}, {"-j2", ", two jobs", &Usage::wall, 0.55}};
    bool held = true;
    for (const auto& row : kRows) {
        const auto with = [&](Words words) {
            words.emplace_back(row.jobs);
            return quilmeta(words, files).*row.time;
        };
        Bench bench(5, static_cast<double>(files.size()));
        bench.sample("reading them", [&] { return usageOf(read).*row.time; });
        bench.sample("find", [&] { return with(find); });
        bench.sample("edit", [&] { return with(edit); });
        bench.run();
        const std::string where = std::string(" in 1000 scenes") + row.title;
        bench.compare("find" + where, "find", "reading them", row.allowed);
        bench.compare("edit --dry-run" + where, "edit", "reading them", row.allowed);
        held = bench.result() == 0 && held;
    }
    return held;
}

/// 100 MiB of metadata in so many nodes of one size. Made in a process of its own: what a child
/// counts as its memory is at least that of the process that began it.
void makeLarge(const std::string& file, unsigned nodes) {
    constexpr unsigned kElementsOf100MiB = 2'200'000;
    Words names;
    for (unsigned i = 0; i < nodes; ++i) names.push_back("node" + std::to_string(i));
    usageOf([&] {
        const Elements elements = makeElements(kElementsOf100MiB / nodes);
        makeScene(file, 4096, makeStream(elements), names);
    });
}

Words change(const std::string& file) {
    return {"set",      file,     "--node",  "node0", "--channel", "channel",
            "--stream", "stream", "--index", "7",     "values=-1"};
}

bool compareLargeScenes(const std::string& kind) {
    const Folder folder;
    const std::string one = folder.file("one" + kind), other = folder.file("other" + kind);
    const std::string document = folder.file("document.json");
    constexpr unsigned kNodes = 20;
    makeLarge(one, kNodes);
    makeLarge(other, kNodes);
    const double set = quilmeta(change(other)).peak;
    Bench bench(5);
    bench.sample("diff", [&] { return quilmeta({"diff", one, other}).cpu; });
    bench.sample("reading one", [&] { return usageOf([&] { readScene(one); }).cpu; });
    bench.run();
    bench.compare("diff of 100 MiB, " + kind, "diff", "reading one", 2.2);
    const double exported = quilmeta({"export", one, "-o", document}).peak;
    const double node = usageOf([&] {
                            const std::set<std::string> first = {"node0"};
                            readScene(one, &first);
                        }).peak;
    bench.count("peak of export, " + kind, exported, "two nodes and 256 MiB",
                2 * node + kMemoryBeside, 1, "B");
    bench.count("peak of import, " + kind, quilmeta({"import", one, document}).peak,
                "that of set and 256 MiB", set + kMemoryBeside, 1, "B");
    return bench.result() == 0;
}

/// What commands cost beside reading the same scene of 1 MB, in instructions.
bool compareWithShow(const std::string& kind, unsigned nodes) {
    constexpr unsigned kElementsOf1MB = 22'000;
    constexpr double kTwice = 2;
    const Folder folder;
    const std::string scene = folder.file("scene" + kind);
    Words names;
    for (unsigned i = 0; i < nodes; ++i) names.push_back("node" + std::to_string(i));
    makeScene(scene, 4096, makeStream(makeElements(kElementsOf1MB / nodes)), names);
    const auto instructions = [&](const char* command) {
        return instructionsOf({BENCH_QUILMETA, command, scene});
    };
    Bench bench(0);
    const double show = instructions("show");
    const std::string where = " of " + std::to_string(nodes) + " nodes, " + kind;
    for (const char* const command : {"check", "export"}) {
        bench.count(command + where, instructions(command), "show", show, kTwice, "instr");
    }
    return bench.result() == 0;
}

}  // namespace

int main() {
    bool held = true;
    for (const char* const kind : {".kx", ".ky"}) {
        for (const unsigned nodes : {1u, 20u}) held = compareWithShow(kind, nodes) && held;
    }
    held = compareManyScenes() && held;
    for (const char* const kind : {".kx", ".ky"}) held = compareLargeScenes(kind) && held;
    return held ? 0 : 1;
}
