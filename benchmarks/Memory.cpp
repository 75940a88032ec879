// How much memory reading takes, and how many blocks.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexString.h>
#include <data/StreamSerializerRaw.h>
#include <malloc.h>

#include <fstream>
#include <sstream>

#include "Bench.h"

extern "C" {
// NOLINTBEGIN: names of the C library, in whose place these stand.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
static double allocations = 0;
void* malloc(std::size_t size) { return ++allocations, __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) {
    return ++allocations, __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) { return ++allocations, __libc_realloc(block, size); }
// NOLINTEND
}

using namespace orbo::Benchmarks;
using orbo::Data::Index;
using orbo::Data::IndexString;
using orbo::Data::Stream;

namespace {

template <typename Work>
double allocationsOf(const Work& work) {
    const double before = allocations;
    const auto result = work();
    return allocations - before;
}

// Bytes beyond the model and what was there before, at the peak.
double excessOf(const std::string& file) {
    ::malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";  // the most memory is what there is now
    constexpr double kKiB = 1024;
    const double resident = processNumber("status", "VmRSS") * kKiB;
    const double heap = heapBytes();
    const auto scene = readScene(file);
    const double model = heapBytes() - heap;
    return processNumber("status", "VmHWM") * kKiB - resident - model;
}

void countPeak(Bench& bench, const std::string& kind) {
    const Elements elements = makeElements(5 * kElements);
    const Folder folder;
    const std::string file = folder.file("scene" + kind);
    const double text = static_cast<double>(makeScene(file, 4096, makeStream(elements)));
    bench.count("peak of reading beyond the model, " + kind, apart([&] { return excessOf(file); }),
                "the text", text, 1.1, "B");
}

/// What a process has in use for the model of the scene.
double modelOf(const std::string& file) {
    const double before = heapBytes();
    const auto scene = readScene(file);
    return heapBytes() - before;
}

Stream makeFloats(unsigned lines) {
    constexpr unsigned kNumbers = 100;
    const auto structure = makeStructure("HundredFloats", orbo::Data::Member::kFloat, kNumbers);
    Stream stream(*structure, "stream");
    orbo::Data::Handle handle(*structure);
    handle.setPositionByMemberIndex(0);
    for (unsigned i = 0; i < lines; ++i) {
        for (unsigned k = 0; k < kNumbers; ++k) {
            handle.asFloat()[k] =
                0.001F * static_cast<float>(100'000 + (i * kNumbers + k) % 899'999);
        }
        stream.setElement(i, handle);
    }
    return stream;
}

void countModel(Bench& bench, const std::string& what, const Stream& stream, double allowed) {
    const Folder folder;
    const std::string file = folder.file("scene.ky");
    const double text = static_cast<double>(makeScene(file, 4096, stream));
    bench.count("the model, " + what, apart([&] { return modelOf(file); }), "the text", text,
                allowed, "B");
}

double residentAfter(const std::string& file, unsigned reads) {
    for (unsigned i = 0; i < reads; ++i) readScene(file);
    constexpr double kKiB = 1024;
    return processNumber("status", "VmRSS") * kKiB;
}

void countReads(Bench& bench, const std::string& self, const std::string& kind) {
    const Folder folder;
    const std::string file = folder.file("scene" + kind);
    constexpr unsigned kElementsOf100KB = 2200;
    makeScene(file, 4096, makeStream(makeElements(kElementsOf100KB)));
    const auto after = [&](unsigned reads) {
        return apart([&] { return residentAfter(file, reads); });
    };
    bench.count("resident after 1000 reads, " + kind, after(1000), "after 3", after(3), 1.01, "B");
    const auto instructions = [&](const std::string& function) {
        return instructionsOf({"--toggle-collect=" + function, self, "read", file});
    };
    bench.count("destroying a model, " + kind, instructions("countedEnd"), "reading it",
                instructions("countedRead"), 0.25, "instr");
}

// Of reading a thousand elements of so many numbers.
double allocationsOfNumbers(unsigned numbers) {
    const std::string name = "Numbers" + std::to_string(numbers);
    const auto structure = makeStructure(name.c_str(), orbo::Data::Member::kFloat, numbers);
    Stream stream(*structure, "stream");
    const orbo::Data::Handle handle(*structure);
    for (unsigned i = 0; i < 1000; ++i) stream.setElement(i, handle);
    const std::string text = textOf(stream);
    return allocationsOf([&] {
        std::istringstream in(text);
        std::string errors;
        return std::unique_ptr<Stream>(
            orbo::Data::StreamSerializerRaw::theFormat().read(in, errors));
    });
}

void countIndices(Bench& bench, const std::string& text) {
    const double made =
        allocationsOf([&] { return Index::doCreate(IndexString::theTypeName(), text); });
    const Index index{IndexString(text)};
    const double copied = allocationsOf([&] { return Index(index); });
    const std::string subject = "string index of " + std::to_string(text.size()) + " characters, ";
    bench.count(subject + "made", made, "a block", 1, 1, "blocks");
    bench.count(subject + "copied", copied, "a block", 1, 1, "blocks");
}

}  // namespace

// The work that valgrind counts.
extern "C" [[gnu::noinline]] void countedRead(const std::string& file,
                                              std::unique_ptr<orbo::Data::Accessor>& scene) {
    scene = readScene(file);
}
extern "C" [[gnu::noinline]] void countedEnd(std::unique_ptr<orbo::Data::Accessor>& scene) {
    scene.reset();
}

int main(int argc, char** argv) {
    if (argc == 3) {
        std::unique_ptr<orbo::Data::Accessor> scene;
        countedRead(argv[2], scene);
        countedEnd(scene);
        return 0;
    }
    Bench bench(1);
    // First, while the process is small, so that what reads leave behind shows.
    for (const char* const kind : {".kx", ".ky"}) countReads(bench, argv[0], kind);
    for (const char* const kind : {".kx", ".ky"}) countPeak(bench, kind);
    countModel(bench, "base shape", makeStream(makeElements(kElements)), 3);
    countModel(bench, "100 floats a line", makeFloats(2000), 1.3);
    constexpr unsigned kMany = 1000;
    const double more = allocationsOfNumbers(kMany) - allocationsOfNumbers(1);
    bench.count("allocations for each number", more / (1000 * (kMany - 1)), "none", 0.01, 1,
                "blocks");
    countIndices(bench, "left eye");
    countIndices(bench, "left eye of the character");
    return bench.result();
}
