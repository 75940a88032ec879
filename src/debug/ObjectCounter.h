// Exact counts of a class's objects, cheap from any number of threads.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "debug/OneThread.h"

namespace orbo::Debug {

/// One static per counted class. Needs no construction at load time and no destruction at unload,
/// so it is good before and after everything else. Each thread counts in a cell of its own (several
/// threads may share one, the sums stay exact).
class ObjectCounter {
  public:
    void objectCreated() noexcept { fetchAdd(cell().created, 1ULL); }
    void objectDestroyed() noexcept { fetchAdd(cell().destroyed, 1ULL); }

    [[nodiscard]] unsigned long long created() const noexcept;
    [[nodiscard]] unsigned long long alive() const noexcept;

  private:
    using Number = std::atomic<unsigned long long>;
    struct alignas(64) Cell {
        Number created{0};
        Number destroyed{0};
    };

    static std::size_t cellOfThisThread() noexcept;
    Cell& cell() noexcept { return fCells[hasOneThread() ? 0 : cellOfThisThread()]; }

    static constexpr std::size_t kCells = 16;
    std::array<Cell, kCells> fCells{};
};

}  // namespace orbo::Debug
