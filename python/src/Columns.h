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

/// The indices of all elements, in order.
Indices indicesOf(const StreamState& stream);
/// Gives a member of all elements. Where the storage is dense, or can be made so, the array is a
/// view of the elements, which may be written when the scene may; otherwise it is a copy to be
/// read. Strings are copied. Without NumPy, arrays are `memoryview`s, and strings a tuple.
nb::object columnOf(StreamState& stream, const std::string& member);
/// Gives a copy of a member of these elements, to be read.
nb::object gather(const StreamState& stream, const Indices& indices, const std::string& member);
/// Sets a member of these elements: to one value for all, or to as many as there are elements. All
/// values are looked at before the first is stored.
void scatter(StreamState& stream, const Indices& indices, const std::string& member,
             nb::handle values);

}  // namespace orbo::Python
