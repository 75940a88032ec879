// Visits the floating-point numbers of an element.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/DataTypes.h"

namespace orbo::Data {

/// Calls `visit(number)` for each float or double of a member, those of matrices included, until it
/// returns false. `chunk` is the element's data.
template <typename Visit>
void visitFloatingNumbers(const Member& member, const char* chunk, const Visit& visit) {
    visitMemberType(member.type(), [&](auto type) {
        using Scalar = typename decltype(type)::Scalar;
        if constexpr (std::is_floating_point_v<Scalar>) {
            const char* values = chunk + member.offset();
            std::uint64_t count = std::uint64_t{member.length()} * type.kScalars;
            for (; count > 0; --count, values += sizeof(Scalar)) {
                Scalar number;
                std::memcpy(&number, values, sizeof number);
                if (!visit(number)) return;
            }
        }
    });
}

}  // namespace orbo::Data
