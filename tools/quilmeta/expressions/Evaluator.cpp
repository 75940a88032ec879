// Works out an expression for elements: conditions.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Evaluator.h"

#include "expressions/Compare.h"
#include "expressions/Scratch.h"

#include <algorithm>

namespace orbo::Quilmeta {

namespace {

using Kind = Node::Kind;

/// Makes what `value` is the truths of a condition: only booleans are true or false.
void becomeCondition(Column& value) {
    if (value.kind() != Column::Kind::kTruth) value.setTruth(Truth::kUnknown);
}

void invert(Column& truths, size_t count) {
    const size_t filled = truths.filled(count);
    for (size_t i = 0; i < filled; ++i) truths.truths[i] = inverse(truths.truths[i]);
}

/// The comparison with both sides exchanged.
Comparison mirrored(Comparison comparison) {
    switch (comparison) {
        case Comparison::kLess:
            return Comparison::kGreater;
        case Comparison::kAtMost:
            return Comparison::kAtLeast;
        case Comparison::kGreater:
            return Comparison::kLess;
        case Comparison::kAtLeast:
            return Comparison::kAtMost;
        default:
            return comparison;
    }
}

/// Joins truths with "and" or "or" into `result`, whose lane for truth `i` is `lanes[i]`.
void join(Column& result, const Column& truths, const LaneNumbers& lanes, bool isAnd) {
    for (size_t i = 0; i < lanes.count; ++i) {
        Truth& truth = result.truths[lanes.numbers[i]];
        const Truth other = truths.truths[truths.slot(i)];
        truth = isAnd ? std::min(truth, other) : std::max(truth, other);
    }
}

}  // namespace

Evaluator::Evaluator(const Place& place, const FoundMembers& members,
                     const std::vector<Outcomes>& settled)
    : fPlace(place), fMembers(members), fSettled(settled), fScratch(std::make_unique<Scratch>()) {}

Evaluator::~Evaluator() = default;

void Evaluator::evaluateCondition(const Node& node, const Lanes& lanes, Column& result) {
    for (const Truth truth : {Truth::kFalse, Truth::kUnknown, Truth::kTrue})
        if (fSettled[node.condition] == outcome(truth)) return result.setTruth(truth);
    evaluate(node, lanes, result);
    becomeCondition(result);
}

void Evaluator::evaluate(const Node& node, const Lanes& lanes, Column& result) {
    switch (node.kind) {
        case Kind::kOr:
        case Kind::kAnd:
            return combine(node, lanes, result);
        case Kind::kNot:
            evaluateCondition(node.operands[0], lanes, result);
            return invert(result, lanes.count);
        case Kind::kCompare:
            return compare(node, lanes, result);
        case Kind::kIn:
            return findInList(node, lanes, result);
        case Kind::kGlob:
        case Kind::kRegex:
            return match(node, lanes, result);
        case Kind::kExists: {
            const Node& member = node.operands[0];
            return result.setTruth(truthOf(memberOf(member).has(member.part)));
        }
        default:
            return evaluateValue(node, lanes, result);
    }
}

/// Evaluates each operand only for the elements that those in front of it left open.
void Evaluator::combine(const Node& node, const Lanes& lanes, Column& result) {
    const bool isAnd = node.kind == Kind::kAnd;
    const Truth decided = isAnd ? Truth::kFalse : Truth::kTrue;
    result.setTruth(inverse(decided));
    for (const Node& operand : node.operands) {
        if (result.isUniform()) {
            if (result.truths[0] == decided) return;
            const Truth before = result.truths[0];
            evaluateCondition(operand, lanes, result);
            const size_t filled = result.filled(lanes.count);
            for (size_t i = 0; i < filled; ++i)
                result.truths[i] =
                    isAnd ? std::min(result.truths[i], before) : std::max(result.truths[i], before);
            continue;
        }
        Scratch::Lease<LaneNumbers> open(*fScratch);
        open->count = 0;
        for (size_t i = 0; i < lanes.count; ++i) {
            open->numbers[open->count] = static_cast<unsigned char>(i);
            open->count += result.truths[i] != decided;
        }
        if (open->count == 0) return;
        combineOperand(operand, lanes, *open, isAnd, result);
    }
}

void Evaluator::combineOperand(const Node& operand, const Lanes& lanes, const LaneNumbers& open,
                               bool isAnd, Column& result) {
    const Scratch::Lease<Column> truths(*fScratch);
    if (open.count == lanes.count) {
        evaluateCondition(operand, lanes, *truths);
    } else {
        const Scratch::Lease<Lanes> fewer(*fScratch);
        fewer->count = open.count;
        fewer->hasData = lanes.hasData;
        fewer->indexKind = lanes.indexKind;
        for (size_t i = 0; i < open.count; ++i) {
            fewer->chunks[i] = lanes.chunks[open.numbers[i]];
            fewer->indices[i] = lanes.indices[open.numbers[i]];
        }
        evaluateCondition(operand, *fewer, *truths);
    }
    join(result, *truths, open, isAnd);
}

void Evaluator::compare(const Node& node, const Lanes& lanes, Column& result) {
    const Node& left = node.operands[0];
    const Node& right = node.operands[1];
    if (right.kind == Kind::kList)
        return compareWithList(left, right, node.comparison, lanes, result);
    if (left.kind == Kind::kList)
        return compareWithList(right, left, mirrored(node.comparison), lanes, result);
    const Scratch::Lease<Column> first(*fScratch);
    const Scratch::Lease<Column> second(*fScratch);
    evaluate(left, lanes, *first);
    evaluate(right, lanes, *second);
    compareColumns(*first, *second, node.comparison, lanes.count, result);
}

/// Compares an index with a pair, or all values of a member with as many others.
void Evaluator::compareWithList(const Node& value, const Node& list, Comparison comparison,
                                const Lanes& lanes, Column& result) {
    const Scratch::Lease<Column> first(*fScratch);
    const Scratch::Lease<Column> second(*fScratch);
    if (value.kind == Kind::kIndex) {
        evaluate(value, lanes, *first);
        loadPair(list, *second);
        return compareColumns(*first, *second, comparison, lanes.count, result);
    }
    const FoundMember& member = memberOf(value);
    const bool isThere = lanes.hasData && member.parts != 0;
    result.setTruth(isThere ? truthOf(member.parts == list.operands.size()) : Truth::kUnknown);
    if (result.truths[0] == Truth::kTrue) {
        const Scratch::Lease<Column> truths(*fScratch);
        result.setTruths(Truth::kTrue, lanes.count);
        for (size_t part = 0; part < member.parts; ++part) {
            loadMember(member, part, lanes, *first);
            loadLiteral(list.operands[part].literal, *second);
            compareColumns(*first, *second, Comparison::kEqual, lanes.count, *truths);
            for (size_t i = 0; i < lanes.count; ++i)
                result.truths[i] = std::min(result.truths[i], truths->truths[truths->slot(i)]);
        }
    }
    if (comparison == Comparison::kUnequal) invert(result, lanes.count);
}

void Evaluator::findInList(const Node& node, const Lanes& lanes, Column& result) {
    const Node& value = node.operands[0];
    const Scratch::Lease<Column> column(*fScratch);
    const Scratch::Lease<Column> item(*fScratch);
    const Scratch::Lease<Column> truths(*fScratch);
    evaluate(value, lanes, *column);
    result.setTruths(Truth::kFalse, lanes.count);
    for (const Node& listed : node.operands[1].operands) {
        if (listed.kind == Kind::kList) {
            compareWithList(value, listed, Comparison::kEqual, lanes, *truths);
        } else if (listed.kind == Kind::kRange) {
            findInRange(*column, listed, lanes.count, *truths);
        } else {
            loadLiteral(listed.literal, *item);
            compareColumns(*column, *item, Comparison::kEqual, lanes.count, *truths);
        }
        for (size_t i = 0; i < lanes.count; ++i)
            result.truths[i] = std::max(result.truths[i], truths->truths[truths->slot(i)]);
    }
}

void Evaluator::findInRange(const Column& value, const Node& range, size_t count, Column& result) {
    const Scratch::Lease<Column> end(*fScratch);
    const Scratch::Lease<Column> below(*fScratch);
    loadLiteral(range.operands[0].literal, *end);
    compareColumns(value, *end, Comparison::kAtLeast, count, result);
    loadLiteral(range.operands[1].literal, *end);
    compareColumns(value, *end, Comparison::kAtMost, count, *below);
    const size_t filled = result.filled(count);
    for (size_t i = 0; i < filled; ++i)
        result.truths[i] = std::min(result.truths[i], below->truths[below->slot(i)]);
}

void Evaluator::match(const Node& node, const Lanes& lanes, Column& result) {
    const Scratch::Lease<Column> texts(*fScratch);
    evaluate(node.operands[0], lanes, *texts);
    if (texts->kind() != Column::Kind::kString) return result.setTruth(Truth::kUnknown);
    result.set(Column::Kind::kTruth, texts->isUniform());
    const size_t filled = result.filled(lanes.count);
    for (size_t i = 0; i < filled; ++i) {
        const TextView text = texts->texts[i];
        if (!text.data) {
            result.truths[i] = Truth::kUnknown;
            continue;
        }
        const bool matches = node.glob ? node.glob->matches(text.view())
                                       : RE2::PartialMatch({text.data, text.size}, *node.regex);
        result.truths[i] = truthOf(matches != node.negated);
    }
}

}  // namespace orbo::Quilmeta
