// Texts of scenes as Python's, whatever bytes they have.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Python {

namespace nb = nanobind;

/// Bytes that are no UTF-8 become lone surrogates, as in file names, and come back as they were.
nb::str textOf(std::string_view bytes);
/// A null string becomes `None`.
nb::object textOrNone(const char* bytes);
/// Makes texts of strings of which many are equal, as those of a column mostly are: equal ones are
/// one object while it remembers them.
class TextCache {
  public:
    /// For about so many texts.
    explicit TextCache(std::size_t texts);

    /// The bytes must be there, unchanged, while the object lives.
    nb::object textOrNone(const char* bytes);

  private:
    struct Entry {
        std::string_view bytes;
        nb::object text;
    };
    std::vector<Entry> fEntries;  // at the hash of their bytes; a power of two of them
};

/// Gives the bytes of a `str`, or of a `bytes`. Throws `TypeError` for anything else, naming
/// `what`.
std::string bytesOf(nb::handle text, const char* what);
/// Gives the bytes of the name of something that the library keeps with a NUL behind it; throws
/// `ValueError` for a name with a NUL inside.
std::string nameOf(nb::handle text, const char* what);

}  // namespace orbo::Python
