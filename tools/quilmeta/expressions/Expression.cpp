// Conditions on elements, as users write them.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Expression.h"

#include "expressions/Outlook.h"
#include "expressions/Parser.h"
#include "values/ClosestName.h"
#include "values/SafeText.h"

namespace orbo::Quilmeta {

namespace {

/// Calls `use` for the first place of each member whose value the expression asks for.
template <typename Use>
void forEachMember(const Node& node, std::vector<bool>& done, const Use& use) {
    if (node.kind == Node::Kind::kExists) return;
    if (node.kind == Node::Kind::kMember && !done[node.name]) {
        done[node.name] = true;
        use(node);
    }
    for (const Node& operand : node.operands) forEachMember(operand, done, use);
}

}  // namespace

std::string existsCondition(const std::string& member) {
    std::string plain = "exists(" + member + ')';
    try {
        const std::vector<std::string> names = parseExpression(plain).names;
        const bool isOne = names.size() == 1;
        if (isOne && (names[0] == member || member.rfind(names[0] + '[', 0) == 0)) return plain;
    } catch (const ExpressionError&) {
        // The name is no plain word.
    }
    return "exists(member[" + inQuotes(member) + "])";
}

void MembersSeen::add(const Data::Structure& structure) {
    for (const Data::Member& member : structure)
        if (fNames.find(member.name()) == fNames.end()) fNames.emplace(member.name());
}

bool Expression::canMatch(const Place& place) const {
    return Outlook(*fSyntax, place, nullptr).canBeTrue();
}

std::vector<std::string> Expression::warnings(const MembersSeen& seen) const {
    std::vector<std::string> warnings;
    std::vector<bool> done(fSyntax->names.size());
    forEachMember(fSyntax->root, done, [&](const Node& member) {
        const std::string& name = fSyntax->names[member.name];
        if (seen.names().find(name) != seen.names().end()) return;
        std::string hint = keywordMeant(name);
        if (hint.empty()) hint = didYouMean(name, seen.names());
        const std::string problem = "no structure has a member " + inQuotes(name) + hint;
        warnings.push_back(problemAt(fSyntax->text, member.at, problem));
    });
    return warnings;
}

}  // namespace orbo::Quilmeta
