// The C++ type behind each data type of a member.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Member.h>
#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <type_traits>

namespace orbo::Quilmeta {

/// Text is a type of its own, so that a visitor can tell it from numbers.
using Text = char*;

/// Calls `use` with a null pointer of the C++ type: `bool*`, one of the number types, `Text*`. A
/// matrix has the type of its numbers.
template <typename Use>
decltype(auto) withType(Data::Member::eDataType type, Use&& use) {
    using Data::Member;
    switch (type) {
        case Member::kBoolean:
            return use(static_cast<bool*>(nullptr));
        case Member::kDouble:
        case Member::kDoubleMatrix4x4:
            return use(static_cast<double*>(nullptr));
        case Member::kFloat:
        case Member::kFloatMatrix4x4:
            return use(static_cast<float*>(nullptr));
        case Member::kInt8:
            return use(static_cast<signed char*>(nullptr));
        case Member::kInt16:
            return use(static_cast<short*>(nullptr));
        case Member::kInt32:
            return use(static_cast<int*>(nullptr));
        case Member::kInt64:
            return use(static_cast<long long*>(nullptr));
        case Member::kUInt8:
            return use(static_cast<unsigned char*>(nullptr));
        case Member::kUInt16:
            return use(static_cast<unsigned short*>(nullptr));
        case Member::kUInt32:
            return use(static_cast<unsigned int*>(nullptr));
        case Member::kUInt64:
            return use(static_cast<unsigned long long*>(nullptr));
        default:
            return use(static_cast<Text*>(nullptr));
    }
}

/// "int8", "float[3]".
inline std::string typeText(const Data::Member& member) {
    const char* name = Data::Member::typeName(member.type());
    return member.length() == 1 ? name : fmt::format("{}[{}]", name, member.length());
}

/// What each value of the type takes up in a list: 16 for a matrix, else 1.
inline size_t partsPerValue(Data::Member::eDataType type) {
    return type == Data::Member::kDoubleMatrix4x4 || type == Data::Member::kFloatMatrix4x4 ? 16 : 1;
}

/// The member's numbers, booleans or strings, one behind the other.
inline size_t partsOf(const Data::Member& member) {
    return member.length() * partsPerValue(member.type());
}

/// Calls `use(parts)` with a typed pointer to the first part of the handle's current member, which
/// is `member`.
template <typename Use>
void withParts(const Data::Handle& handle, const Data::Member& member, Use&& use) {
    withType(member.type(), [&](auto* null) {
        using Part = std::remove_pointer_t<decltype(null)>;
        use(static_cast<const Part*>(handle.asType(member.type())));
    });
}

}  // namespace orbo::Quilmeta
