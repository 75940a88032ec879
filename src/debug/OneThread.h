// Tells whether the process has only one thread, so that counts need no locked instructions.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

#include <atomic>

namespace orbo {

/// False also where the system does not tell.
inline bool hasOneThread() noexcept {
#if __has_include(<sys/single_threaded.h>)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

/// Adds without a locked instruction, and returns the value from before. Call it only while there
/// is one thread.
template <typename Number>
Number addAlone(std::atomic<Number>& number, Number more) noexcept {
    const Number before = number.load(std::memory_order_relaxed);
    number.store(before + more, std::memory_order_relaxed);
    return before;
}

/// Adds, and returns the value from before, without a locked instruction while there is one thread.
template <typename Number>
Number fetchAdd(std::atomic<Number>& number, Number more) noexcept {
    return hasOneThread() ? addAlone(number, more) : number.fetch_add(more);
}

}  // namespace orbo
