// What can be told about an expression before any element is looked at.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Outlook.h"

#include <algorithm>

namespace orbo::Quilmeta {

namespace {

using Kind = Node::Kind;

const FoundMembers kNoMembers;

constexpr Truth kTruths[] = {Truth::kFalse, Truth::kUnknown, Truth::kTrue};

}  // namespace

Outlook::Outlook(const Syntax& syntax, const Place& place, const FoundMembers* members)
    : fSyntax(syntax),
      fPlace(place),
      fMembers(members),
      fOutcomes(syntax.conditions, kAnyOutcome),
      fEvaluator(place, members ? *members : kNoMembers, fOutcomes) {
    look(syntax.root);
}

/// Notes and returns what the condition can come to.
Outcomes Outlook::look(const Node& node) {
    Outcomes found = 0;
    if (node.kind == Kind::kOr || node.kind == Kind::kAnd) {
        found = lookAtRow(node);
    } else if (node.kind == Kind::kNot) {
        const Outcomes inner = look(node.operands[0]);
        for (const Truth truth : kTruths)
            if ((inner & outcome(truth)) != 0) found |= outcome(inverse(truth));
    } else {
        found = lookAtComparison(node);
    }
    return fOutcomes[node.condition] = found;
}

/// What is wrong with operands is of no interest beside one that settles the row.
Outcomes Outlook::lookAtRow(const Node& node) {
    const bool isAnd = node.kind == Kind::kAnd;
    const Outcomes deciding = outcome(isAnd ? Truth::kFalse : Truth::kTrue);
    const std::optional<Problem> before = fProblem;
    Outcomes row = outcome(isAnd ? Truth::kTrue : Truth::kFalse);
    bool isDecided = false;
    for (const Node& operand : node.operands) {
        const Outcomes other = look(operand);
        isDecided = isDecided || other == deciding;
        Outcomes joined = 0;
        for (const Truth a : kTruths)
            for (const Truth b : kTruths)
                if ((row & outcome(a)) != 0 && (other & outcome(b)) != 0)
                    joined |= outcome(isAnd ? std::min(a, b) : std::max(a, b));
        row = joined;
    }
    if (isDecided) fProblem = before;
    return row;
}

Outcomes Outlook::lookAtComparison(const Node& node) {
    if (fMembers && !fProblem) findProblem(node);
    const bool isUnknown = std::any_of(node.operands.begin(), node.operands.end(),
                                       [this](const Node& value) { return lacksMember(value); });
    if (isUnknown && node.kind != Kind::kExists) return outcome(Truth::kUnknown);
    if (!isSettled(node)) return kAnyOutcome;
    Lanes lanes;
    lanes.count = 1;
    Column result;
    fEvaluator.evaluateCondition(node, lanes, result);
    return outcome(result.truths[0]);
}

/// Notes the first member in the node that is not used as what it is.
void Outlook::findProblem(const Node& node) {
    if (node.kind == Kind::kExists) return;
    if (node.kind == Kind::kMember) {
        const std::string text =
            problemWith(node, fSyntax.names[node.name], (*fMembers)[node.name]);
        if (!text.empty() && !fProblem) fProblem = Problem{node.at, text};
    }
    for (const Node& operand : node.operands) findProblem(operand);
}

bool Outlook::lacks(const Node& member) const {
    return fMembers && !(*fMembers)[member.name].has(member.part);
}

/// Whether the value is unknown because of a member that the structure lacks.
bool Outlook::lacksMember(const Node& node) const {
    if (node.kind == Kind::kMember) return lacks(node);
    if (node.kind != Kind::kSum && node.kind != Kind::kProduct && node.kind != Kind::kNegate)
        return false;
    return std::any_of(node.operands.begin(), node.operands.end(),
                       [this](const Node& operand) { return lacksMember(operand); });
}

bool Outlook::isSettled(const Node& node) const {
    if (node.kind == Kind::kField) return fPlace[node.field].has_value();
    if (node.kind == Kind::kIndex) return false;
    if (node.kind == Kind::kMember) return lacks(node);
    if (node.kind == Kind::kExists) return fMembers != nullptr;
    return std::all_of(node.operands.begin(), node.operands.end(),
                       [this](const Node& operand) { return isSettled(operand); });
}

}  // namespace orbo::Quilmeta
