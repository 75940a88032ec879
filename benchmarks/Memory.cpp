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
                "the text", text, 1.5, "B");
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

int main() {
    Bench bench(1);
    for (const char* const kind : {".kx", ".ky"}) countPeak(bench, kind);
    constexpr unsigned kMany = 1000;
    const double more = allocationsOfNumbers(kMany) - allocationsOfNumbers(1);
    bench.count("allocations for each number", more / (1000 * (kMany - 1)), "none", 0.01, 1,
                "blocks");
    countIndices(bench, "left eye");
    countIndices(bench, "left eye of the character");
    return bench.result();
}
