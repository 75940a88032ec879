// Whether the process has but one thread, for counts that need not be locked then.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

#include <atomic>

namespace orbo {

/// False also where nobody knows.
inline bool hasOneThread() noexcept {
#if __has_include(<sys/single_threaded.h>)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

/// Adds and returns what was there, without a locked instruction while there is one thread.
template <typename Number>
Number fetchAdd(std::atomic<Number>& number, Number more) noexcept {
    if (!hasOneThread()) return number.fetch_add(more);
    const Number before = number.load(std::memory_order_relaxed);
    number.store(before + more, std::memory_order_relaxed);
    return before;
}

}  // namespace orbo
