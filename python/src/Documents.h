// Patches and documents that a call is given.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <functional>
#include <string>

#include "json/JsonReader.h"
#include "patches/Patch.h"

namespace orbo::Python {

namespace nb = nanobind;

/// The JSON that a call is given: a dict, a text, or the path of a file. A text begins with a
/// brace or a bracket, which no path of a document does.
class GivenDocument {
  public:
    /// Runs Python code for a dict. Throws `TypeError` for anything else, and the `OSError` of a
    /// file that cannot be read.
    GivenDocument(nb::handle given, const char* what);

    /// The name of the file; "" without one.
    [[nodiscard]] const std::string& file() const { return fFile; }
    /// Calls `read` with the source, and without the interpreter's lock. Throws `DocumentError`
    /// when the document is wrong.
    void read(const std::function<void(Quilmeta::JsonSource& source)>& read) const;

  private:
    std::string fFile;
    std::string fText;
};

/// The table that a call is given: a text, which has a line end, or the path of a file.
class GivenTable {
  public:
    /// Throws `TypeError` for anything else, and the `OSError` of a file that cannot be read.
    explicit GivenTable(nb::handle given);

    [[nodiscard]] const std::string& file() const { return fFile; }
    [[nodiscard]] const std::string& text() const { return fText; }

  private:
    std::string fFile;
    std::string fText;
};

}  // namespace orbo::Python
