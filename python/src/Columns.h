// One member of many elements, as arrays.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/Index.h>

#include <memory>
#include <string>
#include <vector>

#include "Model.h"

namespace orbo::Python {

using Indices = std::vector<Data::Index>;

/// Elements of a stream: those of a list, or all.
class Rows {
  public:
    static Rows all() { return Rows(nullptr); }
    /// Keeps a reference on the list.
    static Rows of(const Indices& indices) { return Rows(&indices); }

    [[nodiscard]] std::size_t count(const StreamState& stream) const;
    /// Calls `use(values)` for each element with where the member lies in it. Throws `StaleError`
    /// when one of the list is gone.
    template <typename Use>
    void forEach(const StreamState& stream, const Data::Member& member, const Use& use) const;

    /// Null for all.
    [[nodiscard]] const Indices* list() const { return fIndices; }

  private:
    explicit Rows(const Indices* indices) : fIndices(indices) {}

    const Indices* fIndices;
};

/// The indices of all elements, in order.
Indices indicesOf(StreamState& stream);
/// Gives a member of all elements. Where the storage is dense, or can be made so, the array is a
/// view of the elements, which may be written when the scene may; otherwise it is a copy to be
/// read. Strings are copied. Without NumPy, arrays are `memoryview`s, and strings a tuple.
nb::object columnOf(StreamState& stream, const std::string& member);
/// Gives a copy of a member of these elements, to be read.
nb::object gather(const StreamState& stream, const Rows& rows, const std::string& member);
/// Sets a member of these elements: to one value for all, or to as many as there are elements. All
/// values are looked at before the first is stored.
void scatter(StreamState& stream, const Rows& rows, const std::string& member, nb::handle values);

}  // namespace orbo::Python
