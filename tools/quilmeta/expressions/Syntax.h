// The tree that an expression is parsed into.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <re2/re2.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "values/Glob.h"

namespace orbo::Quilmeta {

/// Holds every integer of 64 bits, with or without sign, and sums of them.
__extension__ typedef __int128 Integer;

/// A constant in an expression.
struct Literal {
    enum class Kind : unsigned char { kNull, kTruth, kInteger, kDecimal, kString };

    Kind kind = Kind::kNull;
    bool truth = false;
    Integer integer = 0;
    double decimal = 0;
    float narrow = 0;  ///< the decimal rounded to float, from its digits
    std::string text;
};

/// Where an element is, all by name.
enum class Field : unsigned char { kFile, kNode, kChannel, kStream, kStructure, kIndexType };
constexpr size_t kFieldCount = 6;

enum class Comparison : unsigned char { kEqual, kUnequal, kLess, kAtMost, kGreater, kAtLeast };

struct Node {
    enum class Kind : unsigned char {
        kOr,
        kAnd,
        kNot,
        kCompare,
        kIn,       ///< a value and a `kList` or `kRange`
        kGlob,     ///< a value; the pattern is in `glob`
        kRegex,    ///< a value; the pattern is in `regex`
        kExists,   ///< a `kMember`; the last of those that are true or false
        kSum,      ///< `signs` has a + or - for every operand but the first
        kProduct,  ///< `signs` has a * or / for every operand but the first
        kNegate,
        kField,
        kIndex,
        kMember,
        kLiteral,
        kList,  ///< literals, lists and ranges
        kRange  ///< two literals
    };
    /// What a member is asked for; in a structure where it has several values only the last is
    /// right.
    enum class Use : unsigned char { kValue, kCondition, kList };

    Node() = default;
    Node(Kind nodeKind, size_t place) : kind(nodeKind), at(place) {}

    Kind kind = Kind::kLiteral;
    Comparison comparison = Comparison::kEqual;
    Field field = Field::kFile;
    Use use = Use::kValue;
    bool negated = false;        ///< for `kGlob` and `kRegex`
    size_t at = 0;               ///< the byte of the expression that a message points at
    size_t condition = 0;        ///< the number of the root, and of what stands beside and, or, not
    size_t name = 0;             ///< the place of a member's name in `Syntax::names`
    std::optional<size_t> part;  ///< the `k` of a member or an index
    std::vector<Node> operands;
    std::string signs;
    Literal literal;  ///< also the pattern of `kGlob` and `kRegex`
    std::optional<Glob> glob;
    std::shared_ptr<const RE2> regex;
};

/// An expression that was parsed.
struct Syntax {
    std::string text;
    Node root;
    std::vector<std::string> names;  ///< of members, each once
    size_t conditions = 0;           ///< the number of nodes that have a number
    bool usesIndex = false;
};

/// Parses the text; throws `ExpressionError`. Takes time and memory in proportion to its size.
Syntax parseExpression(std::string text);

}  // namespace orbo::Quilmeta
