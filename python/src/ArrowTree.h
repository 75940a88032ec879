// Tables on their way to another library: types, values, and handing both over.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Python {

namespace nb = nanobind;

/// The type of a column, with those of what it is made of.
struct ArrowType {
    std::string format;
    std::string name;
    bool isNullable = false;
    std::vector<std::pair<std::string, std::string>> metadata;
    std::vector<ArrowType> children;
};

/// The values of a column. A buffer without bytes is none.
struct ArrowValues {
    std::int64_t length = 0;
    std::int64_t nulls = 0;
    std::vector<std::vector<char>> buffers;
    std::vector<ArrowValues> children;
};

/// A capsule with the type alone.
nb::object schemaCapsule(const ArrowType& type);
/// A capsule with a stream of one table, whose values live as long as somebody uses them.
nb::object streamCapsule(ArrowType type, ArrowValues values);

}  // namespace orbo::Python
