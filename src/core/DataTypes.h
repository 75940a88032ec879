// The table of data types: all that is known about each, said once.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <array>

namespace orbo::Data {

struct DataType {
    const char* name;
    int size;            // bytes of one value
    int alignment;       // bytes
    int numbers;         // in one value
    const char* word;    // in messages, at the start of a sentence
    const char* inside;  // in messages, inside a sentence
};

inline constexpr std::array<DataType, Member::kInvalid + 1> kDataTypes{{
    {"bool", 1, 1, 1, "Boolean", "boolean"},
    {"double", 8, 8, 1, "Double", "double"},
    {"dbl4x4", 128, 8, 16, "Double matrix", "double matrix"},
    {"float", 4, 4, 1, "Float", "float"},
    {"flt4x4", 64, 4, 16, "Float matrix", "float matrix"},
    {"int8", 1, 1, 1, "Int8", "Int8"},
    {"int16", 2, 2, 1, "Int16", "Int16"},
    {"int32", 4, 4, 1, "Int32", "Int32"},
    {"int64", 8, 8, 1, "Int64", "Int64"},
    {"string", sizeof(char*), alignof(char*), 1, "String", "String"},
    {"uint8", 1, 1, 1, "UInt8", "UInt8"},
    {"uint16", 2, 2, 1, "UInt16", "UInt16"},
    {"uint32", 4, 4, 1, "UInt32", "UInt32"},
    {"uint64", 8, 8, 1, "UInt64", "UInt64"},
    {"invalid", 0, 0, 0, "Invalid", "invalid"},
}};

/// Everything that is no type has the properties of `kInvalid`.
constexpr const DataType& dataType(Member::eDataType type) {
    return kDataTypes[type >= 0 && type < Member::kInvalid ? type : Member::kInvalid];
}

constexpr bool storesData(Member::eDataType type) { return dataType(type).size != 0; }

}  // namespace orbo::Data
