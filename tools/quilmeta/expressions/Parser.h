// Makes the tree of an expression.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Lexer.h"
#include "expressions/Syntax.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// `, did you mean "and"?` for a word of the language in capital letters; empty for all others.
std::string keywordMeant(std::string_view word);

/// Parses by recursive descent, one function for each rule, loosest operators first.
class Parser {
  public:
    /// The text must outlive the parser.
    explicit Parser(const std::string& text) : fText(text), fLexer(text) { advance(); }

    /// Everything but the text. Throws `ExpressionError`.
    Syntax parse();

  private:
    class Nesting;

    Node parseOr();
    Node parseAnd();
    Node parseNot();
    Node parseComparison();
    Node parseConditions(Node::Kind kind, std::string_view word, Node (Parser::*operand)());
    Node parseCompare(Node value, Comparison comparison, size_t at);
    Node parseIn(Node value, size_t at);
    Node parseMatch(Node value, const Token& sign);
    Node asCondition(Node node);
    void compareList(Node& value, const Node& list, Comparison comparison);

    Node parseSum();
    Node parseProduct();
    Node parseArithmetic(Node::Kind kind, std::string_view signs, Node (Parser::*operand)());
    Node parseNegation();
    Node parsePrimary();
    Node parseLiteral();
    Node parseParentheses();
    Node parseList(Node first, size_t at);
    Node parseListed();
    Node parseRange(Node first);
    Node parseWord();
    Node parseIndex();
    Node parseExists();
    Node parseMember();
    Node namedMember(const std::string& name, size_t at);
    void readPart(Node& node);
    Node asOperand(Node node);

    void advance() {
        fPrevious = fToken.text;
        fToken = fLexer.next();
    }
    [[nodiscard]] bool isWord(std::string_view word) const;
    [[nodiscard]] bool isSign(std::string_view sign) const;
    bool takeWord(std::string_view word);
    bool takeSign(std::string_view sign);
    void demandSign(std::string_view sign);
    [[noreturn]] void fail(size_t at, std::string_view problem) const;
    [[noreturn]] void failAtToken(std::string_view needed) const;

    const std::string& fText;
    Lexer fLexer;
    Token fToken;
    std::string_view fPrevious;  ///< the text of the token before
    size_t fDepth = 0;
    Syntax fSyntax;
    std::map<std::string, size_t> fNames;
};

/// Counts how deep rules are nested, so that no text can exhaust the stack.
class Parser::Nesting {
  public:
    explicit Nesting(Parser& parser) : fParser(parser) {
        static constexpr size_t kMost = 100;
        if (++parser.fDepth > kMost) parser.fail(parser.fToken.at, "this is nested too deeply");
    }
    ~Nesting() { --fParser.fDepth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

  private:
    Parser& fParser;
};

}  // namespace orbo::Quilmeta
