// How long the command line takes to start and the library to load. Not linked with the library,
// so that each process of its own loads it anew.
// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <time.h>

#include "Bench.h"

using namespace orbo::Benchmarks;

namespace {

double threadNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double nanosecondsToLoad(const char* library) {
    return apart([library] {
        const double start = threadNanoseconds();
        require(::dlopen(library, RTLD_LAZY) != nullptr, library);
        return threadNanoseconds() - start;
    });
}

double nanosecondsOfInitialisers() {
    return apart([] {
        void* const library = ::dlopen(BENCH_INITIALISERS, RTLD_LAZY);
        require(library != nullptr, BENCH_INITIALISERS);
        const auto nanoseconds =
            reinterpret_cast<double (*)()>(::dlsym(library, "nanosecondsOfInitialisers"));
        require(nanoseconds != nullptr, "nanosecondsOfInitialisers");
        return nanoseconds();
    });
}

}  // namespace

int main() {
    Bench bench(21, 1, Clock::kWall);
    bench.sample("version", [] { return usageOf({BENCH_QUILMETA, "--version"}).wall; });
    bench.sample("load",
                 [] { return nanosecondsToLoad(BENCH_LIBRARY) - nanosecondsToLoad(BENCH_EMPTY); });
    bench.sample("initialisers", nanosecondsOfInitialisers);
    bench.run();
    bench.atMost("quilmeta --version", "version", 5e6);
    bench.count("quilmeta --version, instructions", instructionsOf({BENCH_QUILMETA, "--version"}),
                "a program that includes <iostream>", instructionsOf({BENCH_IOSTREAM}), 1.2, "");
    bench.atMost("the library's initialisers", "initialisers", 1e5);
    bench.atMost("load the library", "load", 1e5);
    return bench.result();
}
