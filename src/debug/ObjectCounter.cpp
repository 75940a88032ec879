// Exact counts of a class's objects, cheap from any number of threads.
// SPDX-License-Identifier: Apache-2.0
#include "debug/ObjectCounter.h"

namespace orbo::Debug {

// No other thread gets the cell of one that has ended: its last counts might not be seen there.
std::size_t ObjectCounter::cellOfThisThread() noexcept {
    static std::atomic<std::size_t> nextCell{kOnlyThread + 1};
    // This needs no destructor: a thread-local with one would keep the library from being unloaded.
    static thread_local std::size_t cell = kCells;
    if (cell == kCells) {
        const std::size_t next = nextCell.load(std::memory_order_relaxed);
        cell = next < kShared ? nextCell.fetch_add(1, std::memory_order_relaxed) : kShared;
        if (cell > kShared) cell = kShared;
    }
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
