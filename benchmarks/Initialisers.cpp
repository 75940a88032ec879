// Notes when the first initialiser of a library begins and when the last one has ended. Linked
// last. SPDX-License-Identifier: Apache-2.0
#include <time.h>

namespace {

double threadNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double begin = 0;
double end = 0;

// The first of the priorities that are not the compiler's own.
[[gnu::constructor(101)]] void noteBegin() { begin = threadNanoseconds(); }
[[gnu::constructor]] void noteEnd() { end = threadNanoseconds(); }

}  // namespace

extern "C" [[gnu::visibility("default")]] double nanosecondsOfInitialisers() { return end - begin; }
