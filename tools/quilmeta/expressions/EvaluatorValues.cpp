// Works out an expression for elements: values.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexPair.h>
#include <data/MemberType.h>

#include <cstring>
#include <limits>
#include <type_traits>

#include "expressions/Compare.h"
#include "expressions/Evaluator.h"
#include "expressions/Scratch.h"

namespace orbo::Quilmeta {

namespace {

using Kind = Node::Kind;

const Data::IndexPair* pairOf(const Data::ElementIndex& index) {
    return dynamic_cast<const Data::IndexPair*>(index.complexIndex());
}

NumberPair numbersOf(const Data::ElementIndex& index) {
    unsigned int first = 0;
    unsigned int second = 0;
    pairOf(index)->getIndexPair(first, second);
    return {first, second};
}

/// Takes the values of one member, of type `Part`, from the chunks.
template <typename Part>
void loadParts(const Lanes& lanes, size_t offset, Column& result) {
    const auto each = [&](auto* slots, auto&& valueOf) {
        for (size_t i = 0; i < lanes.count; ++i) {
            Part part;
            std::memcpy(&part, lanes.chunks[i] + offset, sizeof part);
            slots[i] = valueOf(part);
        }
    };
    if constexpr (std::is_same_v<Part, bool>) {
        result.set(Column::Kind::kTruth, false);
        each(result.truths, [](bool part) { return truthOf(part); });
    } else if constexpr (std::is_same_v<Part, char*>) {
        result.set(Column::Kind::kString, false);
        each(result.texts, [](const char* text) {
            return TextView{text, text ? std::strlen(text) : 0};
        });
    } else if constexpr (std::is_floating_point_v<Part>) {
        result.set(Column::Kind::kReal, false);
        result.isFloat = std::is_same_v<Part, float>;
        each(result.reals, [](Part part) { return double{part}; });
    } else {
        result.set(Column::Kind::kInteger, false);
        result.isUnsigned = std::is_same_v<Part, unsigned long long>;
        each(result.integers, [](Part part) { return Integer{part}; });
    }
    result.isStored = true;
}

void loadTexts(const Lanes& lanes, Column& result) {
    result.set(Column::Kind::kString, false);
    std::array<size_t, kBlockSize + 1> ends;
    ends[0] = 0;
    result.buffer.clear();
    for (size_t i = 0; i < lanes.count; ++i) {
        result.buffer += lanes.indices[i].complexIndex()->asString();
        ends[i + 1] = result.buffer.size();
    }
    for (size_t i = 0; i < lanes.count; ++i)
        result.texts[i] = {result.buffer.data() + ends[i], ends[i + 1] - ends[i]};
}

void loadIndex(const Node& node, const Lanes& lanes, Column& result) {
    if (node.part) {
        if (lanes.indexKind != IndexKind::kPair) return result.setUnknown();
        result.set(Column::Kind::kInteger, false);
        for (size_t i = 0; i < lanes.count; ++i) {
            const NumberPair pair = numbersOf(lanes.indices[i]);
            result.integers[i] = *node.part == 0 ? pair.first : pair.second;
        }
    } else if (lanes.indexKind == IndexKind::kText) {
        loadTexts(lanes, result);
    } else if (lanes.indexKind == IndexKind::kPair) {
        result.set(Column::Kind::kPair, false);
        for (size_t i = 0; i < lanes.count; ++i) result.pairs[i] = numbersOf(lanes.indices[i]);
    } else {
        result.set(Column::Kind::kInteger, false);
        for (size_t i = 0; i < lanes.count; ++i) result.integers[i] = lanes.indices[i].index();
    }
}

}  // namespace

IndexKind kindOf(const Data::ElementIndex& index) {
    if (!index.complexIndex()) return IndexKind::kNumber;
    return pairOf(index) ? IndexKind::kPair : IndexKind::kText;
}

void loadLiteral(const Literal& literal, Column& result) {
    switch (literal.kind) {
        case Literal::Kind::kNull:
            return result.set(Column::Kind::kNull, true);
        case Literal::Kind::kTruth:
            return result.setTruth(truthOf(literal.truth));
        case Literal::Kind::kInteger:
            result.set(Column::Kind::kInteger, true);
            result.isUnsigned = literal.integer > std::numeric_limits<long long>::max();
            result.integers[0] = literal.integer;
            return;
        case Literal::Kind::kDecimal:
            result.set(Column::Kind::kReal, true);
            result.hasNarrow = true;
            result.narrow = literal.narrow;
            result.reals[0] = literal.decimal;
            return;
        case Literal::Kind::kString:
            return result.setText(literal.text);
    }
}

void loadPair(const Node& list, Column& result) {
    result.setUnknown();
    const auto isIndexNumber = [](const Node& item) {
        return item.literal.kind == Literal::Kind::kInteger;
    };
    if (list.operands.size() != 2 || !isIndexNumber(list.operands[0]) ||
        !isIndexNumber(list.operands[1]))
        return;
    result.set(Column::Kind::kPair, true);
    result.pairs[0] = {list.operands[0].literal.integer, list.operands[1].literal.integer};
}

void loadMember(const FoundMember& member, size_t part, const Lanes& lanes, Column& result) {
    if (!lanes.hasData || part >= member.parts) return result.setUnknown();
    Data::visitMemberType(member.type, [&](auto type) {
        using Part = typename decltype(type)::Scalar;
        loadParts<Part>(lanes, member.offset + part * sizeof(Part), result);
    });
}

void Evaluator::evaluateValue(const Node& node, const Lanes& lanes, Column& result) {
    switch (node.kind) {
        case Kind::kSum:
        case Kind::kProduct:
            return calculateRow(node, lanes, result);
        case Kind::kNegate: {
            const Scratch::Lease<Column> zero(*fScratch);
            const Scratch::Lease<Column> value(*fScratch);
            zero->set(Column::Kind::kInteger, true);
            zero->integers[0] = 0;
            evaluate(node.operands[0], lanes, *value);
            return calculate(*zero, *value, '-', lanes.count, result);
        }
        case Kind::kField:
            return fPlace[node.field] ? result.setText(*fPlace[node.field]) : result.setUnknown();
        case Kind::kIndex:
            return loadIndex(node, lanes, result);
        case Kind::kMember: {
            const FoundMember& member = memberOf(node);
            const bool isWhole = !node.part && member.parts > 1;
            if (isWhole) return result.setUnknown();
            return loadMember(member, node.part.value_or(0), lanes, result);
        }
        default:
            return loadLiteral(node.literal, result);
    }
}

/// Calculates from left to right.
void Evaluator::calculateRow(const Node& node, const Lanes& lanes, Column& result) {
    Scratch::Lease<Column> left(*fScratch);
    Scratch::Lease<Column> next(*fScratch);
    const Scratch::Lease<Column> right(*fScratch);
    evaluate(node.operands[0], lanes, *left);
    for (size_t i = 1; i < node.operands.size(); ++i) {
        evaluate(node.operands[i], lanes, *right);
        const bool isLast = i + 1 == node.operands.size();
        calculate(*left, *right, node.signs[i - 1], lanes.count, isLast ? result : *next);
        left.swap(next);
    }
}

}  // namespace orbo::Quilmeta
