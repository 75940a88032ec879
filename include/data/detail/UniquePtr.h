// std::unique_ptr alone.
// SPDX-License-Identifier: Apache-2.0
#pragma once

// <memory> brings shared pointers and algorithms along, and costs a compiler ten times as much.
#if __has_include(<bits/unique_ptr.h>)
#include <bits/unique_ptr.h>
#else
#include <memory>
#endif
