// Streams made of tables of other packages.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <memory>

#include "Model.h"

namespace orbo::Python {

/// What a program says a new stream is made of.
struct StreamSource {
    nb::handle source;     // a structure, or a table itself
    nb::handle indexType;  // None for that of the table, or for numbers
    nb::handle data;       // a table, or None
    nb::handle index;      // names of columns, or None

    /// Whether there is a table.
    [[nodiscard]] bool hasRows() const;
    /// The type of indices for an empty stream.
    [[nodiscard]] std::string indexTypeOrNumeric() const;
};

/// Whether an object hands over a table by Arrow's interface.
bool isTable(nb::handle object);
/// Makes a stream of no scene of the table.
std::shared_ptr<StreamState> streamOfRows(nb::handle name, const StreamSource& source);
/// The same, with the structure and the type of indices of a stream that it replaces.
std::shared_ptr<StreamState> streamLike(const StreamState& old, nb::handle table);

/// Defines `from_arrow` and its like.
void defineFromTables(nb::class_<StreamState>& type);

}  // namespace orbo::Python
