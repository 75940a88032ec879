// The members that an expression names, as one structure has them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Syntax.h"

#include <data/Member.h>
#include <data/Structure.h>

#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Where the values of a member are in the chunk of an element.
struct FoundMember {
    Data::Member::eDataType type = Data::Member::kInvalid;
    size_t offset = 0;  ///< of the first value
    size_t parts = 0;   ///< numbers, booleans or strings, which lie side by side; 0 for no member
    std::string typeText;

    /// Whether the value, or any value without `part`, is there.
    [[nodiscard]] bool has(const std::optional<size_t>& part) const {
        return part.value_or(0) < parts;
    }
};

/// In the order of `Syntax::names`.
using FoundMembers = std::vector<FoundMember>;

FoundMembers findMembers(const Syntax& syntax, const Data::Structure& structure);

/// Says what is wrong with the use of a member; empty when nothing is. `name` is the member's.
std::string problemWith(const Node& member, const std::string& name, const FoundMember& found);

}  // namespace orbo::Quilmeta
