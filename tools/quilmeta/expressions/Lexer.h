// Cuts an expression into tokens.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Syntax.h"

#include <cstddef>
#include <string_view>

namespace orbo::Quilmeta {

struct Token {
    enum class Kind : unsigned char { kEnd, kWord, kLiteral, kSign };

    Kind kind = Kind::kEnd;
    size_t at = 0;          ///< the first byte
    std::string_view text;  ///< as it is written
    Literal literal;        ///< a number or a string
};

/// `text` must outlive the lexer and its tokens.
class Lexer {
  public:
    explicit Lexer(std::string_view text) : fText(text) {}

    /// Returns tokens up to `kEnd`, which it repeats. Throws `ExpressionError`.
    Token next();

  private:
    Token word();
    Token number();
    Token string();
    Token sign();
    void readEscape(std::string& out);
    unsigned int readHex(size_t escape);
    size_t endOfDigits(size_t at) const;
    [[nodiscard]] Token token(Token::Kind kind, size_t begin) const;
    [[noreturn]] void fail(size_t at, std::string_view problem) const;

    std::string_view fText;
    size_t fAt = 0;
};

}  // namespace orbo::Quilmeta
