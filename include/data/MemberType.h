// The C++ types behind the data types of members, for code that handles all of them alike.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <type_traits>

namespace orbo::Data {

/// Describes what a chunk holds for one value of a data type: `kScalars` objects of type `Scalar`,
/// side by side. A matrix has 16, every other type has one. The scalar of a string is a `char*`.
///
/// All scalars of one value have `Member::typeSize` bytes, and each has the alignment that
/// `Member::typeAlignment` gives. A `char*` is the slot of a string, which owns its text.
template <typename T, int kCount = 1>
struct MemberType {
    using Scalar = T;
    static constexpr int kScalars = kCount;
};

/// Calls `visit` with the `MemberType` of a data type, and returns what `visit` returns. For what
/// is not a data type `visit` is not called, and the result is a default one.
///
///     const int size = visitMemberType(member.type(), [](auto type) {
///         using T = typename decltype(type)::Scalar;
///         return static_cast<int>(sizeof(T)) * type.kScalars;
///     });
///
/// It throws what `visit` throws, and costs one jump. Every call of `visit` must return the same
/// type, which has a default value.
template <typename Visit>
constexpr auto visitMemberType(Member::eDataType type, Visit&& visit)
    -> decltype(visit(MemberType<bool>())) {
    switch (type) {
        case Member::kBoolean:
            return visit(MemberType<bool>());
        case Member::kDouble:
            return visit(MemberType<double>());
        case Member::kDoubleMatrix4x4:
            return visit(MemberType<double, 16>());
        case Member::kFloat:
            return visit(MemberType<float>());
        case Member::kFloatMatrix4x4:
            return visit(MemberType<float, 16>());
        case Member::kInt8:
            return visit(MemberType<signed char>());
        case Member::kInt16:
            return visit(MemberType<short>());
        case Member::kInt32:
            return visit(MemberType<int>());
        case Member::kInt64:
            return visit(MemberType<long long>());
        case Member::kString:
            return visit(MemberType<char*>());
        case Member::kUInt8:
            return visit(MemberType<unsigned char>());
        case Member::kUInt16:
            return visit(MemberType<unsigned short>());
        case Member::kUInt32:
            return visit(MemberType<unsigned int>());
        case Member::kUInt64:
            return visit(MemberType<unsigned long long>());
        default:
            return decltype(visit(MemberType<bool>()))();
    }
}

/// Gives the data type with one scalar of type `T`: `kFloat` for `float`, `kString` for `char*`. A
/// `long` counts as an integer of its size. For every other type it is `kInvalid`, and so it is for
/// a `char`, which is neither `signed char` nor `unsigned char`. The compiler works it out:
///
///     static_assert(dataTypeOf<std::int32_t>() == Member::kInt32);
template <typename T>
constexpr Member::eDataType dataTypeOf() {
    for (int number = 0; number < Member::kInvalid; ++number) {
        const auto type = static_cast<Member::eDataType>(number);
        const bool found = visitMemberType(type, [](auto candidate) {
            using Scalar = typename decltype(candidate)::Scalar;
            constexpr bool kIsSame =
                std::is_same_v<T, Scalar> ||
                (std::is_same_v<T, long> && std::is_same_v<Scalar, long long>) ||
                (std::is_same_v<T, unsigned long> && std::is_same_v<Scalar, unsigned long long>);
            return candidate.kScalars == 1 && kIsSame && sizeof(T) == sizeof(Scalar);
        });
        if (found) return type;
    }
    return Member::kInvalid;
}

}  // namespace orbo::Data
