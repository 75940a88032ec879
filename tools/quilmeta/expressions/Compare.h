// Compares and calculates with columns.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Column.h"

namespace orbo::Quilmeta {

/// Sets `result` to the truth of a comparison for `count` elements. What cannot be compared gives
/// unknown; only null is compared with null.
void compareColumns(const Column& left, const Column& right, Comparison comparison, size_t count,
                    Column& result);

/// Sets `result` to `left sign right`, with a sign out of + - * /. Overflow, division by zero and
/// what is no number give unknown.
void calculate(const Column& left, const Column& right, char sign, size_t count, Column& result);

/// Compares without rounding. -1, 0 or 1, and 2 for NaN.
int compareExactly(Integer integer, double real);

}  // namespace orbo::Quilmeta
