// Watches, and fails, the allocations of the library's sources and of this program.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace orbo::Allocations {

/// 0 lets everything pass; n fails the n-th allocation from now.
extern unsigned long untilFailure;
/// Whether all allocations behind that one fail, too.
extern bool failForGood;
extern bool haveFailed;

/// Bytes in use, and the most since `startPeak`.
std::size_t inUse();
std::size_t peak();
void startPeak();

}  // namespace orbo::Allocations
