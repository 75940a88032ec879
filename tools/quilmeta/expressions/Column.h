// The values of one expression for a block of elements.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Syntax.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// In this order `and` is the least, `or` the greatest.
enum class Truth : unsigned char { kFalse, kUnknown, kTrue };

constexpr Truth truthOf(bool holds) { return holds ? Truth::kTrue : Truth::kFalse; }
constexpr Truth inverse(Truth truth) { return static_cast<Truth>(2 - static_cast<int>(truth)); }

/// The most elements of a block.
constexpr size_t kBlockSize = 128;

/// A string whose characters are somebody else's; null where `data` is.
struct TextView {
    const char* data;
    size_t size;

    [[nodiscard]] std::string_view view() const { return {data, size}; }
};

struct NumberPair {
    Integer first, second;
};

/// Values of one kind, one for each element of a block, or one for all. Lanes without a value are
/// unknown.
class Column {
  public:
    enum class Kind : unsigned char { kUnknown, kNull, kTruth, kInteger, kReal, kString, kPair };

    void set(Kind kind, bool isUniform) {
        fKind = kind;
        fIsUniform = isUniform;
        isUnsigned = isFloat = isStored = hasNarrow = hasUnknown = false;
    }
    void setUnknown() { set(Kind::kUnknown, true); }
    void setTruth(Truth truth) {
        set(Kind::kTruth, true);
        truths[0] = truth;
    }
    void setTruths(Truth truth, size_t count) {
        set(Kind::kTruth, false);
        for (size_t i = 0; i < count; ++i) truths[i] = truth;
    }
    void setText(std::string_view text) {
        set(Kind::kString, true);
        texts[0] = {text.data(), text.size()};
    }

    [[nodiscard]] Kind kind() const { return fKind; }
    [[nodiscard]] bool isUniform() const { return fIsUniform; }
    [[nodiscard]] bool isNumber() const { return fKind == Kind::kInteger || fKind == Kind::kReal; }
    /// The slots that are filled in a block of `count`.
    [[nodiscard]] size_t filled(size_t count) const { return fIsUniform ? 1 : count; }
    /// Where the value of an element is.
    [[nodiscard]] size_t slot(size_t lane) const { return fIsUniform ? 0 : lane; }
    /// Only integers can be unknown apart from their value: reals are NaN then.
    [[nodiscard]] bool isUnknownInteger(size_t slot) const { return hasUnknown && unknown[slot]; }

    bool isUnsigned;  ///< integers that may be above the largest int64
    bool isFloat;     ///< the very values of a float member
    bool isStored;    ///< the very values of a member, which may be NaN without being unknown
    bool hasNarrow;   ///< a decimal literal, with `narrow`
    bool hasUnknown;  ///< `unknown` is set
    float narrow;

    union {
        Truth truths[kBlockSize];
        Integer integers[kBlockSize];
        double reals[kBlockSize];
        TextView texts[kBlockSize];
        NumberPair pairs[kBlockSize];
    };
    bool unknown[kBlockSize];
    std::string buffer;  ///< texts that are nowhere else

  private:
    Kind fKind = Kind::kUnknown;
    bool fIsUniform = true;
};

}  // namespace orbo::Quilmeta
