// Shares work out among threads that end with it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace orbo::Data {

/// Calls `work(number)` once for each number below `count`, in no order, by up to `threads` threads
/// of which the calling one is the first; by fewer where the system gives no more. `work` throws
/// nothing.
template <typename Work>
void shareOut(unsigned threads, std::size_t count, const Work& work) {
    std::atomic<std::size_t> next{0};
    const auto takePart = [&]() noexcept {
        for (std::size_t i = next++; i < count; i = next++) work(i);
    };
    std::vector<std::thread> others;
    try {
        const std::size_t most = std::min<std::size_t>(threads, count);
        others.reserve(most);
        while (others.size() + 1 < most) others.emplace_back(takePart);
    } catch (const std::system_error&) {
    } catch (const std::bad_alloc&) {
    }
    takePart();
    for (std::thread& other : others) other.join();
}

}  // namespace orbo::Data
