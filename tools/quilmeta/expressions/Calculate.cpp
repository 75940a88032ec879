// Calculates with columns.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Compare.h"

#include <cmath>
#include <limits>

namespace orbo::Quilmeta {

namespace {

/// False when there is no result.
bool calculateIntegers(Integer left, Integer right, char sign, Integer& result) {
    switch (sign) {
        case '+':
            return !__builtin_add_overflow(left, right, &result);
        case '-':
            return !__builtin_sub_overflow(left, right, &result);
        case '*':
            return !__builtin_mul_overflow(left, right, &result);
        default:
            if (right == 0) return false;
            result = left / right;  // neither is the least there is
            return true;
    }
}

double calculateReals(double left, double right, char sign) {
    static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();
    if (sign == '/' && right == 0) return kUnknown;
    const double result = sign == '+'   ? left + right
                          : sign == '-' ? left - right
                          : sign == '*' ? left * right
                                        : left / right;
    const bool isOverflow = std::isinf(result) && !std::isinf(left) && !std::isinf(right);
    return isOverflow ? kUnknown : result;
}

double realAt(const Column& column, size_t slot) {
    if (column.kind() == Column::Kind::kReal) return column.reals[slot];
    if (column.isUnknownInteger(slot)) return std::numeric_limits<double>::quiet_NaN();
    return static_cast<double>(column.integers[slot]);
}

void calculateIntegers(const Column& left, const Column& right, char sign, size_t filled,
                       Column& result) {
    result.isUnsigned = left.isUnsigned || right.isUnsigned;
    result.hasUnknown = true;
    const Integer least = std::numeric_limits<long long>::min();
    const Integer greatest = result.isUnsigned
                                 ? Integer{std::numeric_limits<unsigned long long>::max()}
                                 : Integer{std::numeric_limits<long long>::max()};
    for (size_t i = 0; i < filled; ++i) {
        const size_t a = left.slot(i);
        const size_t b = right.slot(i);
        Integer value = 0;
        const bool isKnown = !left.isUnknownInteger(a) && !right.isUnknownInteger(b) &&
                             calculateIntegers(left.integers[a], right.integers[b], sign, value);
        result.unknown[i] = !isKnown || value < least || value > greatest;
        result.integers[i] = value;
    }
}

}  // namespace

void calculate(const Column& left, const Column& right, char sign, size_t count, Column& result) {
    if (!left.isNumber() || !right.isNumber()) return result.setUnknown();
    const bool isUniform = left.isUniform() && right.isUniform();
    const size_t filled = isUniform ? 1 : count;
    if (left.kind() == Column::Kind::kInteger && right.kind() == Column::Kind::kInteger) {
        result.set(Column::Kind::kInteger, isUniform);
        return calculateIntegers(left, right, sign, filled, result);
    }
    result.set(Column::Kind::kReal, isUniform);
    for (size_t i = 0; i < filled; ++i)
        result.reals[i] =
            calculateReals(realAt(left, left.slot(i)), realAt(right, right.slot(i)), sign);
}

}  // namespace orbo::Quilmeta
