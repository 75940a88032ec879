// Access to the values of a member by their C++ type.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Member.h>
#include <data/MemberType.h>
#include <fmt/format.h>

#include <cstddef>
#include <string>

namespace orbo::Quilmeta {

/// Visitors get this type for a string.
using Text = char*;

/// Returns "int8", "float[3]" and the like.
inline std::string typeText(const Data::Member& member) {
    const char* name = Data::Member::typeName(member.type());
    return member.length() == 1 ? name : fmt::format("{}[{}]", name, member.length());
}

/// The numbers, booleans or strings of one value: 16 for a matrix, else 1.
inline size_t partsPerValue(Data::Member::eDataType type) {
    return Data::visitMemberType(type,
                                 [](auto found) { return static_cast<size_t>(found.kScalars); });
}

/// The type of one part: float for a matrix of floats, and the type itself for what is no matrix.
inline Data::Member::eDataType partType(Data::Member::eDataType type) {
    return Data::visitMemberType(
        type, [](auto found) { return Data::dataTypeOf<typename decltype(found)::Scalar>(); });
}

/// The member's numbers, booleans or strings, which lie side by side.
inline size_t partsOf(const Data::Member& member) {
    return member.length() * partsPerValue(member.type());
}

/// Calls `use(parts)` with a typed pointer to the first part of the handle's current member, which
/// must be `member`.
template <typename Use>
void withParts(const Data::Handle& handle, const Data::Member& member, Use&& use) {
    Data::visitMemberType(member.type(), [&](auto type) {
        using Part = typename decltype(type)::Scalar;
        use(static_cast<const Part*>(handle.asType(member.type())));
    });
}

}  // namespace orbo::Quilmeta
