// What the calls of the operating system here have in common.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <system_error>

namespace orbo::Files {

/// Repeats a call that a signal has interrupted. The number of repetitions is limited so that a
/// file system that always interrupts cannot hang us.
template <typename Call>
auto untilNotInterrupted(Call call) {
    constexpr int kMostInterruptions = 1000;
    auto result = call();
    for (int i = 0; i < kMostInterruptions && result == -1 && errno == EINTR; ++i) result = call();
    return result;
}

inline std::error_code lastError() { return {errno, std::generic_category()}; }

inline bool isAnyOf(int error, std::initializer_list<int> errors) {
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

}  // namespace orbo::Files
