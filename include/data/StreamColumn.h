// One member of all elements of a stream, in plain memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/MemberType.h>

#include <cstddef>
#include <string>
#include <utility>

namespace orbo::Data {

/// Tells a column of any type where the values are, or why there are none to be had.
struct ColumnPlace {
    char* first = nullptr;
    std::size_t stride = 0;             // bytes from one element to the next
    unsigned int valuesPerElement = 0;  // 16 for each matrix
    unsigned int count = 0;             // of elements
    std::string problem;
};

/// One member of every element of a stream with dense storage, for loops over plain memory: what
/// `Stream::column` returns. It is good as long as handles on the stream's elements are.
///
///     const StreamColumn<float> radius = stream.column<float>("radius");
///     for (unsigned int i = 0; i < radius.size(); ++i) *radius[i] *= 2;
///
/// Values may be changed unless `T` is `const`. Strings are `char*`, owned by their slots as those
/// of `Handle::asString`.
template <typename T>
class StreamColumn {
  public:
    /// Made by `Stream::column`.
    explicit StreamColumn(ColumnPlace place) : fPlace(std::move(place)) {}

    /// Gives the number of elements; 0 when the column cannot be had, too.
    [[nodiscard]] unsigned int size() const { return fPlace.count; }
    [[nodiscard]] bool empty() const { return fPlace.count == 0; }
    /// Gives the first of the element's values, which follow each other. `element` is less than
    /// `size()`.
    [[nodiscard]] T* operator[](unsigned int element) const {
        return reinterpret_cast<T*>(fPlace.first + element * fPlace.stride);
    }
    /// Gives the first value of the first element; null for an empty column.
    [[nodiscard]] T* data() const { return reinterpret_cast<T*>(fPlace.first); }
    /// Gives the bytes from the values of one element to those of the next.
    [[nodiscard]] std::size_t stride() const { return fPlace.stride; }
    /// Gives the member's length, times 16 for matrices.
    [[nodiscard]] unsigned int valuesPerElement() const { return fPlace.valuesPerElement; }
    /// Gives a sentence that says why the column cannot be had. It is empty when it can, even if
    /// the stream has no elements, or has elements without data after `Stream::clear`.
    [[nodiscard]] const std::string& problem() const { return fPlace.problem; }

  private:
    ColumnPlace fPlace;
};

}  // namespace orbo::Data
