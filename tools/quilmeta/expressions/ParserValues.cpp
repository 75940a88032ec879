// Makes the tree of an expression: values, arithmetic, lists.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/ExpressionError.h"
#include "expressions/Parser.h"
#include "values/SafeText.h"

#include <fmt/format.h>

#include <utility>

namespace orbo::Quilmeta {

namespace {

using Kind = Node::Kind;

struct FieldWord {
    std::string_view word;
    Field field;
};
constexpr FieldWord kFields[] = {
    {"file", Field::kFile},     {"node", Field::kNode},           {"channel", Field::kChannel},
    {"stream", Field::kStream}, {"structure", Field::kStructure}, {"indextype", Field::kIndexType},
};
constexpr std::string_view kOperatorWords[] = {"and", "or", "not", "in"};

void negate(Literal& literal) {
    literal.integer = -literal.integer;
    literal.decimal = -literal.decimal;
    literal.narrow = -literal.narrow;
}

bool isNumber(const Literal& literal) {
    return literal.kind == Literal::Kind::kInteger || literal.kind == Literal::Kind::kDecimal;
}

Node literalNode(Literal literal, size_t at) {
    Node node(Kind::kLiteral, at);
    node.literal = std::move(literal);
    return node;
}

Node truthNode(bool truth, size_t at) {
    Literal literal;
    literal.kind = Literal::Kind::kTruth;
    literal.truth = truth;
    return literalNode(std::move(literal), at);
}

}  // namespace

/// Lets everything pass that stands for one value.
Node Parser::asOperand(Node node) {
    if (node.kind == Kind::kList) fail(node.at, "a list can only be compared, with ==, != or in");
    return node;
}

Node Parser::parseSum() { return parseArithmetic(Kind::kSum, "+-", &Parser::parseProduct); }

Node Parser::parseProduct() {
    return parseArithmetic(Kind::kProduct, "*/", &Parser::parseNegation);
}

/// Operands in a row become one node, so that a long row makes no deep tree.
Node Parser::parseArithmetic(Kind kind, std::string_view signs, Node (Parser::*operand)()) {
    const auto goesOn = [&] {
        return fToken.kind == Token::Kind::kSign && fToken.text.size() == 1 &&
               signs.find(fToken.text[0]) != signs.npos;
    };
    Node first = (this->*operand)();
    if (!goesOn()) return first;
    Node row(kind, fToken.at);
    row.operands.push_back(asOperand(std::move(first)));
    while (goesOn()) {
        row.signs += fToken.text;
        advance();
        row.operands.push_back(asOperand((this->*operand)()));
    }
    return row;
}

/// A minus in front of the digits of a number belongs to the number.
Node Parser::parseNegation() {
    if (!isSign("-")) return parsePrimary();
    const Nesting nesting(*this);
    const size_t at = fToken.at;
    advance();
    if (fToken.kind == Token::Kind::kLiteral && isNumber(fToken.literal)) {
        Node number = parsePrimary();
        negate(number.literal);
        number.at = at;
        return number;
    }
    Node node(Kind::kNegate, at);
    node.operands.push_back(asOperand(parseNegation()));
    return node;
}

Node Parser::parsePrimary() {
    if (fToken.kind == Token::Kind::kLiteral) return parseLiteral();
    if (fToken.kind == Token::Kind::kWord) return parseWord();
    if (isSign("(")) return parseParentheses();
    failAtToken("a value");
}

Node Parser::parseLiteral() {
    Node node = literalNode(std::move(fToken.literal), fToken.at);
    advance();
    return node;
}

/// Parentheses hold an expression or, when there is a comma, a list.
Node Parser::parseParentheses() {
    const Nesting nesting(*this);
    const size_t at = fToken.at;
    advance();
    if (isSign(")")) fail(at, "a list needs a value");
    Node first = parseOr();
    if (isSign(",") || isSign("..")) return parseList(parseRange(std::move(first)), at);
    demandSign(")");
    return first;
}

/// Reads the rest of a list, of which the first item has been read.
Node Parser::parseList(Node first, size_t at) {
    Node list(Kind::kList, at);
    list.operands.push_back(std::move(first));
    while (takeSign(","))
        if (!isSign(")")) list.operands.push_back(parseListed());
    demandSign(")");
    for (const Node& item : list.operands)
        if (item.kind != Kind::kLiteral && item.kind != Kind::kList && item.kind != Kind::kRange)
            fail(item.at, "a list has plain values only");
    return list;
}

Node Parser::parseListed() { return parseRange(parseSum()); }

Node Parser::parseRange(Node first) {
    if (!isSign("..")) return first;
    Node range(Kind::kRange, first.at);
    advance();
    range.operands.push_back(std::move(first));
    range.operands.push_back(parseSum());
    const auto isEnd = [](const Node& node) {
        return node.kind == Kind::kLiteral &&
               (isNumber(node.literal) || node.literal.kind == Literal::Kind::kString);
    };
    for (const Node& end : range.operands)
        if (!isEnd(end)) fail(end.at, "a range goes from number to number or string to string");
    if (isNumber(range.operands[0].literal) != isNumber(range.operands[1].literal))
        fail(range.operands[1].at, "both ends of a range are numbers, or both are strings");
    return range;
}

Node Parser::parseWord() {
    const size_t at = fToken.at;
    for (const FieldWord& row : kFields) {
        if (!takeWord(row.word)) continue;
        Node node(Kind::kField, at);
        node.field = row.field;
        return node;
    }
    for (const std::string_view word : kOperatorWords)
        if (isWord(word)) failAtToken("a value");
    if (takeWord("true")) return truthNode(true, at);
    if (takeWord("false")) return truthNode(false, at);
    if (takeWord("null")) return literalNode({}, at);
    if (isWord("index")) return parseIndex();
    if (isWord("exists")) return parseExists();
    return parseMember();
}

Node Parser::parseIndex() {
    Node node(Kind::kIndex, fToken.at);
    advance();
    fSyntax.usesIndex = true;
    const size_t at = fToken.at;
    readPart(node);
    if (node.part && *node.part > 1) fail(at, "an index has the numbers index[0] and index[1]");
    return node;
}

Node Parser::parseExists() {
    const Nesting nesting(*this);
    Node node(Kind::kExists, fToken.at);
    advance();
    demandSign("(");
    if (fToken.kind != Token::Kind::kWord) failAtToken("the name of a member");
    Node member = parseWord();
    if (member.kind != Kind::kMember)
        fail(member.at, "this is no member; odd names are written as member[\"odd name\"]");
    demandSign(")");
    node.operands.push_back(std::move(member));
    return node;
}

Node Parser::parseMember() {
    const size_t at = fToken.at;
    std::string name(fToken.text);
    advance();
    if (name == "member") {
        demandSign("[");
        if (fToken.kind != Token::Kind::kLiteral || fToken.literal.kind != Literal::Kind::kString)
            failAtToken("the name of a member in double quotes");
        name = std::move(fToken.literal.text);
        advance();
        demandSign("]");
    }
    Node node = namedMember(name, at);
    readPart(node);
    return node;
}

Node Parser::namedMember(const std::string& name, size_t at) {
    Node node(Kind::kMember, at);
    const auto [found, isNew] = fNames.emplace(name, fSyntax.names.size());
    if (isNew) fSyntax.names.push_back(name);
    node.name = found->second;
    return node;
}

void Parser::readPart(Node& node) {
    if (!takeSign("[")) return;
    const Literal& literal = fToken.literal;
    if (fToken.kind != Token::Kind::kLiteral || literal.kind != Literal::Kind::kInteger)
        failAtToken("the number of a value");
    // No member has as many values.
    static constexpr Integer kMost = Integer{1} << 40;
    node.part = static_cast<size_t>(literal.integer < kMost ? literal.integer : kMost);
    advance();
    demandSign("]");
}

}  // namespace orbo::Quilmeta
