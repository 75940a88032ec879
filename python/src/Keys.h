// Indices of elements as Python's keys: int, pair of int, str, or a type from a plug-in.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/ElementIndex.h>
#include <data/Index.h>

#include <optional>
#include <string>

namespace orbo::Python {

namespace nb = nanobind;

/// Gives nothing for a number that no index can have, such as -1. Throws `TypeError` for what is no
/// key.
std::optional<Data::Index> indexOf(nb::handle key);
nb::object keyOf(const Data::Index& index);
nb::object keyOf(const Data::ElementIndex& index);
/// Gives the index that a text of a type stands for, which nobody here needs to know.
Data::Index indexOfType(const std::string& type, const std::string& text);
/// Gives the key as messages show it: 5, (3, 7), "lid".
std::string shownKey(nb::handle key);

}  // namespace orbo::Python
