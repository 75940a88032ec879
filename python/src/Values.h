// Values of members as Python's.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/Member.h>

namespace orbo::Python {

namespace nb = nanobind;

/// Gives the values that lie at `values`: one alone, or a tuple. A matrix is a tuple of four rows, a
/// null string is `None`.
nb::object valueOf(const Data::Member& member, const char* values);
/// Stores a value, or a sequence of as many values as the member has. All of them are looked at
/// before the first is stored: what throws has changed nothing. `TypeError`, `ValueError` and
/// `OverflowError` name the member.
void storeValue(const Data::Member& member, char* values, nb::handle value);

}  // namespace orbo::Python
