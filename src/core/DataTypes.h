// The table of data types: names, words for messages, sizes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/MemberType.h>

#include <array>

namespace orbo::Data {

struct DataType {
    const char* name;
    const char* word;                             // in messages, at the start of a sentence
    const char* inside;                           // in messages, inside a sentence
    int size = 0;                                 // bytes of one value
    int alignment = 0;                            // bytes
    int numbers = 0;                              // in one value
    Member::eDataType number = Member::kInvalid;  // the data type of one of them
};

/// The rows are in the order of `Member::eDataType`. Sizes follow from the C++ types.
constexpr std::array<DataType, Member::kInvalid + 1> makeDataTypes() {
    std::array<DataType, Member::kInvalid + 1> rows{{
        {"bool", "Boolean", "boolean"},
        {"double", "Double", "double"},
        {"dbl4x4", "Double matrix", "double matrix"},
        {"float", "Float", "float"},
        {"flt4x4", "Float matrix", "float matrix"},
        {"int8", "Int8", "Int8"},
        {"int16", "Int16", "Int16"},
        {"int32", "Int32", "Int32"},
        {"int64", "Int64", "Int64"},
        {"string", "String", "String"},
        {"uint8", "UInt8", "UInt8"},
        {"uint16", "UInt16", "UInt16"},
        {"uint32", "UInt32", "UInt32"},
        {"uint64", "UInt64", "UInt64"},
        {"invalid", "Invalid", "invalid"},
    }};
    for (int i = 0; i < Member::kInvalid; ++i) {
        visitMemberType(static_cast<Member::eDataType>(i), [&row = rows[i]](auto type) {
            using Scalar = typename decltype(type)::Scalar;
            row.size = static_cast<int>(sizeof(Scalar)) * type.kScalars;
            row.alignment = alignof(Scalar);
            row.numbers = type.kScalars;
            row.number = dataTypeOf<Scalar>();
        });
    }
    return rows;
}

inline constexpr std::array<DataType, Member::kInvalid + 1> kDataTypes = makeDataTypes();

/// Returns the row of `kInvalid` for everything that is not a type.
constexpr const DataType& dataType(Member::eDataType type) {
    return kDataTypes[type >= 0 && type < Member::kInvalid ? type : Member::kInvalid];
}

constexpr bool storesData(Member::eDataType type) { return dataType(type).size != 0; }

}  // namespace orbo::Data
