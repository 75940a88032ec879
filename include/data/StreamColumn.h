// One member of all elements of a stream, in plain memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/MemberType.h>

#include <cstddef>
#include <string>
#include <utility>

namespace orbo::Data {

/// What a column of any type knows: where the values are, or why there are none to be had.
struct ColumnPlace {
    char* first = nullptr;
    std::size_t stride = 0;             // bytes from one element to the next
    unsigned int valuesPerElement = 0;  // 16 for each matrix
    unsigned int count = 0;             // of elements
    std::string problem;
};

/// A strided view of one member, for loops that touch every element; from `Stream::column`. Good
/// as long as handles on the stream's elements are. Values may be changed; strings, which are
/// `char*`, as through `Handle::asString`.
template <typename T>
class StreamColumn {
  public:
    explicit StreamColumn(ColumnPlace place) : fPlace(std::move(place)) {}

    /// Of elements.
    [[nodiscard]] unsigned int size() const { return fPlace.count; }
    [[nodiscard]] bool empty() const { return fPlace.count == 0; }
    /// The first of the element's values, which follow each other.
    [[nodiscard]] T* operator[](unsigned int element) const {
        return reinterpret_cast<T*>(fPlace.first + element * fPlace.stride);
    }
    /// Of the first element; null for an empty column.
    [[nodiscard]] T* data() const { return reinterpret_cast<T*>(fPlace.first); }
    /// Bytes from the values of one element to those of the next.
    [[nodiscard]] std::size_t stride() const { return fPlace.stride; }
    [[nodiscard]] unsigned int valuesPerElement() const { return fPlace.valuesPerElement; }
    /// Why the column cannot be had; empty for one that can, also of a stream without elements or
    /// whose elements have no data (`Stream::clear`).
    [[nodiscard]] const std::string& problem() const { return fPlace.problem; }

  private:
    ColumnPlace fPlace;
};

}  // namespace orbo::Data
