// MEMBER=VALUE and its relatives.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/MemberName.h"

#include <data/Handle.h>
#include <data/Structure.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// What is to be assigned to elements of one structure.
///
///     MEMBER=TEXT    all values of the member, with blanks or commas between, 16 of a matrix; a
///                    string is the whole text as it is
///     MEMBER:=JSON   all values as a document of `export` has them: null, a value or a list
///     MEMBER+=TEXT   adds to numbers, -= subtracts and *= multiplies: all by one operand, or each
///                    by its own
///
/// MEMBER[k] is one of its values, and one of the numbers of a matrix.
class Assignments {
  public:
    /// Reads the assignments, which must outlive this object, as must the structure. Throws
    /// `CommandError` that names the member and the text, also for a value that is given twice.
    Assignments(const Data::Structure& structure, const std::vector<std::string>& texts);

    /// Assigns to an element of the structure. Throws `CommandError` when a result does not fit its
    /// type; the element may then hold some of the values.
    void apply(Data::Handle& element) const;

  private:
    enum class Operation { kText, kJson, kAdd, kSubtract, kMultiply };
    struct Target : NamedMember {
        Operation operation = Operation::kText;
        std::string_view text = {};
    };
    class GivenValues;

    static std::optional<Target> findTarget(const Data::Structure& structure,
                                            std::string_view assignment, size_t equals);
    static Target parseTarget(const Data::Structure& structure, std::string_view assignment);
    static void assign(Data::Handle& element, const Target& target);
    static void assignJson(const Target& target, void* slots);
    static size_t countOf(const Target& target);
    template <typename Value>
    static void assignText(const Target& target, Value* slots);
    static void assignText(const Target& target, char** slot);
    template <typename Value>
    static void calculate(const Target& target, Value* slots);

    std::vector<Target> fTargets;
};

}  // namespace orbo::Quilmeta
