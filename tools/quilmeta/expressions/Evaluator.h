// Works out an expression for elements, a block at a time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Column.h"
#include "expressions/Members.h"
#include "expressions/Place.h"
#include "expressions/Syntax.h"

#include <data/ElementIndex.h>

#include <array>
#include <memory>
#include <vector>

namespace orbo::Quilmeta {

enum class IndexKind : unsigned char { kNumber, kPair, kText };

IndexKind kindOf(const Data::ElementIndex& index);

/// Elements that are alike: indices of one kind, and all of them with or without data.
struct Lanes {
    size_t count = 0;
    bool hasData = false;
    IndexKind indexKind = IndexKind::kNumber;
    std::array<const char*, kBlockSize> chunks;
    std::array<Data::ElementIndex, kBlockSize> indices;  ///< only where they are used
};

/// The outcomes of a condition that are possible, as the sum of 1 << truth.
using Outcomes = unsigned char;
constexpr Outcomes outcome(Truth truth) {
    return static_cast<Outcomes>(1 << static_cast<int>(truth));
}
constexpr Outcomes kAnyOutcome = 7;

struct LaneNumbers;
class Scratch;

/// Keeps the memory that it works with. What it is made of must outlive it; one thread uses it.
class Evaluator {
  public:
    /// `settled` has the outcomes of each condition of the expression, by its number.
    Evaluator(const Place& place, const FoundMembers& members,
              const std::vector<Outcomes>& settled);
    ~Evaluator();

    /// Sets `result` to truths.
    void evaluateCondition(const Node& node, const Lanes& lanes, Column& result);
    /// Sets `result` to whatever the node gives. The fields in it are known.
    void evaluate(const Node& node, const Lanes& lanes, Column& result);

  private:
    void combine(const Node& node, const Lanes& lanes, Column& result);
    void combineOperand(const Node& operand, const Lanes& lanes, const LaneNumbers& open,
                        bool isAnd, Column& result);
    void compare(const Node& node, const Lanes& lanes, Column& result);
    void compareWithList(const Node& value, const Node& list, Comparison comparison,
                         const Lanes& lanes, Column& result);
    void findInList(const Node& node, const Lanes& lanes, Column& result);
    void findInRange(const Column& value, const Node& range, size_t count, Column& result);
    void match(const Node& node, const Lanes& lanes, Column& result);
    void evaluateValue(const Node& node, const Lanes& lanes, Column& result);
    void calculateRow(const Node& node, const Lanes& lanes, Column& result);
    const FoundMember& memberOf(const Node& node) const { return fMembers[node.name]; }

    const Place& fPlace;
    const FoundMembers& fMembers;
    const std::vector<Outcomes>& fSettled;
    std::unique_ptr<Scratch> fScratch;
};

}  // namespace orbo::Quilmeta
