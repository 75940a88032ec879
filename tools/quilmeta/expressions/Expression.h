// Conditions on elements, as users write them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/ExpressionError.h"
#include "expressions/Place.h"
#include "expressions/Syntax.h"

#include <data/Structure.h>

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// Names of members that structures have, to find those that an expression asks for in vain.
class MembersSeen {
  public:
    void add(const Data::Structure& structure);
    void add(const MembersSeen& others) {
        fNames.insert(others.fNames.begin(), others.fNames.end());
    }
    [[nodiscard]] const std::set<std::string, std::less<>>& names() const { return fNames; }

  private:
    std::set<std::string, std::less<>> fNames;
};

/// Returns "exists(roughness)": the condition that selects the elements with this member. Odd names
/// become `member["odd name"]`.
std::string existsCondition(const std::string& member);

/// An expression that was parsed. Copies share it, and any number of threads may use it at once.
///
///     const Expression expression("channel == \"edge\" and sharpness > 0.9");
///     const StreamFilter filter(expression, stream.structure());
///     filter.forEach(stream, place, [](const ElementIndex& index, const auto& element) { ... });
///
/// docs/expressions.md says what may be in one.
class Expression {
  public:
    /// Throws `ExpressionError`. Takes time in proportion to the size of the text.
    explicit Expression(std::string text)
        : fSyntax(std::make_shared<const Syntax>(parseExpression(std::move(text)))) {}

    [[nodiscard]] const std::string& text() const { return fSyntax->text; }
    [[nodiscard]] const Syntax& syntax() const { return *fSyntax; }
    /// False when no element at the place can match, whatever else there is: a node that cannot
    /// match need not be read. Fields of the place that are not set may be anything.
    [[nodiscard]] bool canMatch(const Place& place) const;
    /// A warning for each member, outside of exists(), that no structure has, with a caret below it
    /// and what was perhaps meant.
    [[nodiscard]] std::vector<std::string> warnings(const MembersSeen& seen) const;

  private:
    friend class StreamFilter;

    std::shared_ptr<const Syntax> fSyntax;
};

}  // namespace orbo::Quilmeta
