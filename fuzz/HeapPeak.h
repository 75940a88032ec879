// The most memory that some work has in use at once.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

namespace orbo::Fuzz {

/// In bytes that it asked for, beyond what is in use before: the same each time.
std::size_t heapPeakOf(const std::function<void()>& work);

}  // namespace orbo::Fuzz
