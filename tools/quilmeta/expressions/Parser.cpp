// Makes the tree of an expression: conditions and comparisons.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/Parser.h"

#include "expressions/ExpressionError.h"
#include "values/SafeText.h"

#include <fmt/format.h>

#include <utility>

namespace orbo::Quilmeta {

namespace {

using Kind = Node::Kind;

struct ComparisonSign {
    std::string_view sign;
    Comparison comparison;
};
constexpr ComparisonSign kComparisons[] = {
    {"==", Comparison::kEqual},  {"!=", Comparison::kUnequal}, {"<", Comparison::kLess},
    {"<=", Comparison::kAtMost}, {">", Comparison::kGreater},  {">=", Comparison::kAtLeast},
};

const ComparisonSign* comparisonOf(const Token& token) {
    if (token.kind != Token::Kind::kSign) return nullptr;
    for (const ComparisonSign& row : kComparisons)
        if (row.sign == token.text) return &row;
    return nullptr;
}

bool isMatchSign(const Token& token) {
    if (token.kind != Token::Kind::kSign) return false;
    return token.text == "~" || token.text == "!~" || token.text == "=~" || token.text == "!=~";
}

bool isConditionKind(const Node& node) {
    return node.kind <= Kind::kExists ||
           (node.kind == Kind::kLiteral && node.literal.kind == Literal::Kind::kTruth);
}

std::string lowerCase(std::string_view word) {
    std::string text(word);
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

std::shared_ptr<const RE2> compileRegex(const std::string& pattern) {
    RE2::Options options;
    options.set_log_errors(false);
    return std::make_shared<const RE2>(pattern, options);
}

}  // namespace

std::string keywordMeant(std::string_view word) {
    static constexpr std::string_view kWords[] = {
        "and",  "or",      "not",    "in",        "true",      "false", "null",  "file",
        "node", "channel", "stream", "structure", "indextype", "index", "exists"};
    const std::string lower = lowerCase(word);
    if (lower == word) return {};
    for (const std::string_view keyword : kWords)
        if (lower == keyword) return fmt::format(", did you mean \"{}\"?", keyword);
    return {};
}

Syntax parseExpression(std::string text) {
    Syntax syntax = Parser(text).parse();
    syntax.text = std::move(text);
    return syntax;
}

Syntax Parser::parse() {
    fSyntax.root = asCondition(parseOr());
    if (fToken.kind != Token::Kind::kEnd) failAtToken("an operator");
    return std::move(fSyntax);
}

void Parser::fail(size_t at, std::string_view problem) const {
    throw ExpressionError(fText, at, problem);
}

void Parser::failAtToken(std::string_view needed) const {
    if (fToken.kind == Token::Kind::kEnd)
        fail(fToken.at, fmt::format("the expression ends where {} is needed", needed));
    std::string hint = keywordMeant(fPrevious);
    if (hint.empty()) hint = keywordMeant(fToken.text);
    fail(fToken.at, fmt::format("{} is needed here{}", needed, hint));
}

bool Parser::isWord(std::string_view word) const {
    return fToken.kind == Token::Kind::kWord && fToken.text == word;
}

bool Parser::isSign(std::string_view sign) const {
    return fToken.kind == Token::Kind::kSign && fToken.text == sign;
}

bool Parser::takeWord(std::string_view word) {
    const bool found = isWord(word);
    if (found) advance();
    return found;
}

bool Parser::takeSign(std::string_view sign) {
    const bool found = isSign(sign);
    if (found) advance();
    return found;
}

void Parser::demandSign(std::string_view sign) {
    if (!takeSign(sign)) failAtToken(fmt::format("\"{}\"", sign));
}

Node Parser::asCondition(Node node) {
    if (node.kind == Kind::kMember)
        node.use = Node::Use::kCondition;
    else if (!isConditionKind(node))
        fail(node.at, "this is no condition: compare it with something");
    node.condition = fSyntax.conditions++;
    return node;
}

/// Operands in a row become one node, so that a long row makes no deep tree.
Node Parser::parseConditions(Kind kind, std::string_view word, Node (Parser::*operand)()) {
    Node first = (this->*operand)();
    if (!isWord(word)) return first;
    Node row(kind, first.at);
    row.operands.push_back(asCondition(std::move(first)));
    while (takeWord(word)) row.operands.push_back(asCondition((this->*operand)()));
    return row;
}

Node Parser::parseOr() { return parseConditions(Kind::kOr, "or", &Parser::parseAnd); }

Node Parser::parseAnd() { return parseConditions(Kind::kAnd, "and", &Parser::parseNot); }

Node Parser::parseNot() {
    if (!isWord("not")) return parseComparison();
    const Nesting nesting(*this);
    Node node(Kind::kNot, fToken.at);
    advance();
    node.operands.push_back(asCondition(parseNot()));
    return node;
}

Node Parser::parseComparison() {
    Node value = parseSum();
    if (isWord("not")) fail(fToken.at, "\"not\" stands in front, as in: not side in (0, 1)");
    const Token sign = fToken;
    if (takeWord("in")) {
        value = parseIn(std::move(value), sign.at);
    } else if (isMatchSign(sign)) {
        advance();
        value = parseMatch(std::move(value), sign);
    } else if (const ComparisonSign* row = comparisonOf(sign)) {
        advance();
        value = parseCompare(std::move(value), row->comparison, sign.at);
    } else {
        return value;
    }
    if (isWord("in") || comparisonOf(fToken) || isMatchSign(fToken))
        fail(fToken.at, "comparisons do not chain: join two of them with \"and\"");
    return value;
}

Node Parser::parseCompare(Node value, Comparison comparison, size_t at) {
    Node other = parseSum();
    if (other.kind == Kind::kList)
        compareList(value, other, comparison);
    else if (value.kind == Kind::kList)
        compareList(other, value, comparison);
    Node node(Kind::kCompare, at);
    node.comparison = comparison;
    node.operands.push_back(std::move(value));
    node.operands.push_back(std::move(other));
    return node;
}

/// Marks a member that is compared with a list. Fails where there is no such comparison.
void Parser::compareList(Node& value, const Node& list, Comparison comparison) {
    const bool isIndex = value.kind == Kind::kIndex && !value.part;
    const bool isMember = value.kind == Kind::kMember && !value.part;
    if (!isIndex && !isMember)
        fail(list.at, "only a member without [k] or the index is compared with a list");
    for (const Node& item : list.operands)
        if (item.kind != Kind::kLiteral) fail(item.at, "a plain value is needed here");
    if (isIndex) return;
    if (comparison != Comparison::kEqual && comparison != Comparison::kUnequal)
        fail(list.at, "a list of values has no order: compare it with == or !=");
    value.use = Node::Use::kList;
}

Node Parser::parseIn(Node value, size_t at) {
    value = asOperand(std::move(value));
    Node list(Kind::kList, fToken.at);
    if (isSign("(")) {
        const Nesting nesting(*this);
        advance();
        list = parseList(parseListed(), list.at);
    } else {
        list.operands.push_back(parseListed());
        if (list.operands[0].kind != Kind::kRange)
            fail(list.at, "behind \"in\" a range or a list in parentheses is needed");
    }
    for (const Node& item : list.operands)
        if (item.kind == Kind::kList) compareList(value, item, Comparison::kEqual);
    Node node(Kind::kIn, at);
    node.operands.push_back(std::move(value));
    node.operands.push_back(std::move(list));
    return node;
}

Node Parser::parseMatch(Node value, const Token& sign) {
    const bool isRegex = sign.text.find('=') != sign.text.npos;
    Node node(isRegex ? Kind::kRegex : Kind::kGlob, sign.at);
    node.negated = sign.text.front() == '!';
    node.operands.push_back(asOperand(std::move(value)));
    Node pattern = parsePrimary();
    if (pattern.kind != Kind::kLiteral || pattern.literal.kind != Literal::Kind::kString)
        fail(pattern.at, "a pattern in double quotes is needed here");
    node.literal = std::move(pattern.literal);
    if (!isRegex) {
        node.glob.emplace(node.literal.text);
        return node;
    }
    node.regex = compileRegex(node.literal.text);
    if (!node.regex->ok()) fail(pattern.at, "bad regular expression: " + node.regex->error());
    return node;
}

}  // namespace orbo::Quilmeta
