// Texts of scenes as Python's, whatever bytes they have.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <string>
#include <string_view>

namespace orbo::Python {

namespace nb = nanobind;

/// Bytes that are no UTF-8 become lone surrogates, as in file names, and come back as they were.
nb::str textOf(std::string_view bytes);
/// A null string becomes `None`.
nb::object textOrNone(const char* bytes);
/// Gives the bytes of a `str`, or of a `bytes`. Throws `TypeError` for anything else, naming
/// `what`.
std::string bytesOf(nb::handle text, const char* what);
/// Gives the bytes of the name of something that the library keeps with a NUL behind it; throws
/// `ValueError` for a name with a NUL inside.
std::string nameOf(nb::handle text, const char* what);

}  // namespace orbo::Python
