// Compares columns.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Compare.h"

#include <cmath>
#include <tuple>

namespace orbo::Quilmeta {

namespace {

constexpr int kUnordered = 2;

/// What a comparison makes of less, equal, greater and unordered.
struct Verdicts {
    Truth truths[4];

    explicit constexpr Verdicts(Comparison comparison)
        : truths{truthOf(comparison == Comparison::kUnequal || comparison == Comparison::kLess ||
                         comparison == Comparison::kAtMost),
                 truthOf(comparison == Comparison::kEqual || comparison == Comparison::kAtMost ||
                         comparison == Comparison::kAtLeast),
                 truthOf(comparison == Comparison::kUnequal || comparison == Comparison::kGreater ||
                         comparison == Comparison::kAtLeast),
                 Truth::kUnknown} {}
    Truth operator[](int order) const { return truths[order + 1]; }
};

template <typename Value>
int orderOf(Value left, Value right) {
    return left < right ? -1 : right < left ? 1 : left == right ? 0 : kUnordered;
}

int orderOf(TextView left, TextView right) {
    if (!left.data || !right.data) return kUnordered;
    const int order = left.view().compare(right.view());
    return order < 0 ? -1 : order > 0;
}

int orderOf(NumberPair left, NumberPair right) {
    return orderOf(std::tie(left.first, left.second), std::tie(right.first, right.second));
}

/// `order(left slot, right slot)` compares two values.
template <typename Order>
void fill(const Column& left, const Column& right, const Verdicts& verdicts, size_t count,
          Column& result, Order&& order) {
    result.set(Column::Kind::kTruth, left.isUniform() && right.isUniform());
    const size_t filled = result.filled(count);
    const size_t leftStep = left.isUniform() ? 0 : 1;
    const size_t rightStep = right.isUniform() ? 0 : 1;
    for (size_t i = 0; i < filled; ++i)
        result.truths[i] = verdicts[order(i * leftStep, i * rightStep)];
}

/// The value of a decimal literal that is compared with `other`.
double decimalBeside(const Column& other, const Column& literal) {
    return other.isFloat && !std::isinf(literal.narrow) ? literal.narrow : literal.reals[0];
}

void compareReals(const Column& left, const Column& right, const Verdicts& verdicts, size_t count,
                  Column& result) {
    if (right.hasNarrow) {
        const double limit = decimalBeside(left, right);
        return fill(left, right, verdicts, count, result,
                    [&](size_t a, size_t) { return orderOf(left.reals[a], limit); });
    }
    if (left.hasNarrow) {
        const double limit = decimalBeside(right, left);
        return fill(left, right, verdicts, count, result,
                    [&](size_t, size_t b) { return orderOf(limit, right.reals[b]); });
    }
    fill(left, right, verdicts, count, result,
         [&](size_t a, size_t b) { return orderOf(left.reals[a], right.reals[b]); });
}

void compareNumbers(const Column& left, const Column& right, const Verdicts& verdicts, size_t count,
                    Column& result) {
    using Kind = Column::Kind;
    if (left.kind() == Kind::kReal && right.kind() == Kind::kReal)
        return compareReals(left, right, verdicts, count, result);
    if (left.kind() == Kind::kInteger && right.kind() == Kind::kInteger)
        return fill(left, right, verdicts, count, result, [&](size_t a, size_t b) {
            if (left.isUnknownInteger(a) || right.isUnknownInteger(b)) return kUnordered;
            return orderOf(left.integers[a], right.integers[b]);
        });
    if (left.kind() == Kind::kInteger)
        return fill(left, right, verdicts, count, result, [&](size_t a, size_t b) {
            if (left.isUnknownInteger(a)) return kUnordered;
            return compareExactly(left.integers[a], right.reals[b]);
        });
    fill(left, right, verdicts, count, result, [&](size_t a, size_t b) {
        if (right.isUnknownInteger(b)) return kUnordered;
        const int order = compareExactly(right.integers[b], left.reals[a]);
        return order == kUnordered ? order : -order;
    });
}

Truth isNull(const Column& column, size_t slot) {
    switch (column.kind()) {
        case Column::Kind::kUnknown:
            return Truth::kUnknown;
        case Column::Kind::kNull:
            return Truth::kTrue;
        case Column::Kind::kTruth:
            return column.truths[slot] == Truth::kUnknown ? Truth::kUnknown : Truth::kFalse;
        case Column::Kind::kInteger:
            return column.isUnknownInteger(slot) ? Truth::kUnknown : Truth::kFalse;
        case Column::Kind::kReal:
            return std::isnan(column.reals[slot]) && !column.isStored ? Truth::kUnknown
                                                                      : Truth::kFalse;
        case Column::Kind::kString:
            return truthOf(!column.texts[slot].data);
        default:
            return Truth::kFalse;
    }
}

void compareWithNull(const Column& column, bool isEqual, size_t count, Column& result) {
    result.set(Column::Kind::kTruth, column.isUniform());
    const size_t filled = result.filled(count);
    for (size_t i = 0; i < filled; ++i) {
        const Truth truth = isNull(column, i);
        result.truths[i] = isEqual ? truth : inverse(truth);
    }
}

void compareTruths(const Column& left, const Column& right, const Verdicts& verdicts, size_t count,
                   Column& result) {
    fill(left, right, verdicts, count, result, [&](size_t a, size_t b) {
        const Truth first = left.truths[a];
        const Truth second = right.truths[b];
        if (first == Truth::kUnknown || second == Truth::kUnknown) return kUnordered;
        return first == second ? 0 : -1;
    });
}

}  // namespace

int compareExactly(Integer integer, double real) {
    if (std::isnan(real)) return kUnordered;
    static constexpr double kBeyond = 1.7e38;  // a little less than 2^127
    if (real >= kBeyond) return -1;
    if (real <= -kBeyond) return 1;
    const double whole = std::trunc(real);
    const int order = orderOf(integer, static_cast<Integer>(whole));
    return order != 0 ? order : -orderOf(real, whole);
}

void compareColumns(const Column& left, const Column& right, Comparison comparison, size_t count,
                    Column& result) {
    using Kind = Column::Kind;
    const bool isEquality = comparison <= Comparison::kUnequal;
    const Verdicts verdicts(comparison);
    if (isEquality && right.kind() == Kind::kNull)
        return compareWithNull(left, comparison == Comparison::kEqual, count, result);
    if (isEquality && left.kind() == Kind::kNull)
        return compareWithNull(right, comparison == Comparison::kEqual, count, result);
    if (left.isNumber() && right.isNumber())
        return compareNumbers(left, right, verdicts, count, result);
    if (left.kind() == Kind::kString && right.kind() == Kind::kString)
        return fill(left, right, verdicts, count, result,
                    [&](size_t a, size_t b) { return orderOf(left.texts[a], right.texts[b]); });
    if (left.kind() == Kind::kPair && right.kind() == Kind::kPair)
        return fill(left, right, verdicts, count, result,
                    [&](size_t a, size_t b) { return orderOf(left.pairs[a], right.pairs[b]); });
    if (isEquality && left.kind() == Kind::kTruth && right.kind() == Kind::kTruth)
        return compareTruths(left, right, verdicts, count, result);
    result.setTruth(Truth::kUnknown);
}

}  // namespace orbo::Quilmeta
