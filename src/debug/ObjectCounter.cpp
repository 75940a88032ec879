// Exact counts of a class's objects, cheap from any number of threads.
// SPDX-License-Identifier: Apache-2.0
#include "debug/ObjectCounter.h"

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define METADATA_SINGLE_THREADED __libc_single_threaded
#else
#define METADATA_SINGLE_THREADED false
#endif

namespace orbo::Debug {

// While the process has one thread, a locked instruction would only cost time.
void ObjectCounter::add(Number& number) noexcept {
    if (METADATA_SINGLE_THREADED) {
        number.store(number.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    } else {
        number.fetch_add(1, std::memory_order_relaxed);
    }
}

std::size_t ObjectCounter::cellOfThisThread() noexcept {
    static std::atomic<std::size_t> nextCell{0};
    // No destructor: a thread-local with one would keep the library from being unloaded.
    static thread_local std::size_t cell = kCells;
    if (cell == kCells) cell = nextCell.fetch_add(1, std::memory_order_relaxed) % kCells;
    return cell;
}

unsigned long long ObjectCounter::created() const noexcept {
    unsigned long long sum = 0;
    for (const Cell& cell : fCells) sum += cell.created.load(std::memory_order_relaxed);
    return sum;
}

unsigned long long ObjectCounter::alive() const noexcept {
    unsigned long long destroyed = 0;
    for (const Cell& cell : fCells) destroyed += cell.destroyed.load(std::memory_order_relaxed);
    return created() - destroyed;
}

}  // namespace orbo::Debug
