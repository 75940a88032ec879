// What can be told about an expression before any element is looked at.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Evaluator.h"
#include "expressions/Members.h"
#include "expressions/Place.h"
#include "expressions/Syntax.h"

#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// The possible outcomes of each condition of an expression at a place. Elements need not be walked
/// where the whole expression cannot be true.
class Outlook {
  public:
    /// A misuse of a member that is not behind something that is settled.
    struct Problem {
        size_t at;
        std::string text;
    };

    /// Without `members` nothing is known about the structure. All must outlive the object.
    Outlook(const Syntax& syntax, const Place& place, const FoundMembers* members);

    [[nodiscard]] bool canBeTrue() const {
        return (fOutcomes[fSyntax.root.condition] & outcome(Truth::kTrue)) != 0;
    }
    /// By the number of the condition.
    [[nodiscard]] const std::vector<Outcomes>& outcomes() const { return fOutcomes; }
    [[nodiscard]] const std::optional<Problem>& problem() const { return fProblem; }

  private:
    Outcomes look(const Node& node);
    Outcomes lookAtRow(const Node& node);
    Outcomes lookAtComparison(const Node& node);
    void findProblem(const Node& node);
    [[nodiscard]] bool lacksMember(const Node& node) const;
    [[nodiscard]] bool isSettled(const Node& node) const;
    [[nodiscard]] bool lacks(const Node& member) const;

    const Syntax& fSyntax;
    const Place& fPlace;
    const FoundMembers* fMembers;
    std::vector<Outcomes> fOutcomes;
    std::optional<Problem> fProblem;
    Evaluator fEvaluator;
};

}  // namespace orbo::Quilmeta
