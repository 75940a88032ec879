// Exact counts of a class's objects, cheap from any number of threads.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include <debug/Count.h>
#include <debug/Counted.h>

#include "debug/OneThread.h"

namespace orbo {

namespace Debug {

/// One static object per counted class. It needs no construction when the library loads and no
/// destruction when it unloads, so it works before and after everything else. The first threads
/// count in cells of their own, which takes no locked instruction; all later ones share the last.
class ObjectCounter {
  public:
    void objectCreated() noexcept { count(&Cell::created); }
    void objectDestroyed() noexcept { count(&Cell::destroyed); }

    [[nodiscard]] unsigned long long created() const noexcept;
    [[nodiscard]] unsigned long long alive() const noexcept;

  private:
    using Number = std::atomic<unsigned long long>;
    struct alignas(64) Cell {
        Number created{0};
        Number destroyed{0};
    };

    static std::size_t cellOfThisThread() noexcept;
    // The call is marked as unlikely so that constructors need not save registers for it.
    void count(Number Cell::*number) noexcept {
        if (__builtin_expect(hasOneThread(), true)) {
            addAlone(fCells[kOnlyThread].*number, 1ULL);
        } else if (const std::size_t cell = cellOfThisThread(); cell < kShared) {
            addAlone(fCells[cell].*number, 1ULL);
        } else {
            (fCells[kShared].*number).fetch_add(1, std::memory_order_relaxed);
        }
    }

    static constexpr std::size_t kCells = 16;
    static constexpr std::size_t kOnlyThread = 0;
    static constexpr std::size_t kShared = kCells - 1;
    std::array<Cell, kCells> fCells{};
};

}  // namespace Debug

// A source that defines the constructors of a counted class includes this, and instantiates
// `Counted` for the class.

template <typename T>
Debug::ObjectCounter Counted<T>::_objects;

template <typename T>
inline Counted<T>::Counted() noexcept {
    _objects.objectCreated();
}

template <typename T>
inline Counted<T>::~Counted() {
    _objects.objectDestroyed();
}

template <typename T>
unsigned long long Counted<T>::objectsCreated() {
    return _objects.created();
}

template <typename T>
unsigned long long Counted<T>::objectsAlive() {
    return _objects.alive();
}

template <typename T>
bool Counted<T>::Debug(const T*, Debug::Count& count) {
    count = objectsAlive();
    return true;
}

}  // namespace orbo
