// Patterns of names: *, ? and \.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// A pattern for a whole text. "*" stands for any bytes, none included, whatever they are: also
/// ":", "|" and "/". "?" stands for one character of UTF-8, or for one byte that is part of none.
/// "\" takes what is behind it literally; at the end it stands for itself.
class Glob {
  public:
    explicit Glob(std::string_view pattern);
    /// A pattern that only this text matches.
    static Glob literal(std::string_view text);

    /// Takes time in proportion to both lengths, multiplied, at worst.
    [[nodiscard]] bool matches(std::string_view text) const;
    /// What each wildcard stands for, in order; "*" takes as little as it can. No value without a
    /// match.
    [[nodiscard]] std::optional<std::vector<std::string_view>> captures(
        std::string_view text) const;
    /// The text that is the only one to match; no value for a pattern with wildcards.
    [[nodiscard]] const std::optional<std::string>& onlyText() const { return fOnlyText; }
    /// The pattern's wildcards in order, "*" or "?" each, such as "*?".
    [[nodiscard]] std::string wildcards() const;
    /// The text that this pattern makes of `values`, which take the places of its wildcards in
    /// order; there must be one for each.
    [[nodiscard]] std::string filledWith(const std::vector<std::string_view>& values) const;

  private:
    Glob() = default;

    enum class Kind : unsigned char { kText, kOne, kAny };
    struct Piece {
        Kind kind;
        std::string text;  // of kText alone, never empty
    };

    void addText(char byte);
    bool match(std::string_view text, std::vector<std::string_view>* captures) const;

    std::vector<Piece> fPieces;
    std::optional<std::string> fOnlyText;
};

}  // namespace orbo::Quilmeta
