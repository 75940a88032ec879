// Streams as tables of Arrow.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include "Bindings.h"
#include "Columns.h"
#include "Model.h"

namespace orbo::Python {

/// A capsule with a stream of one table: a column for the index, or two for pairs, and one for each
/// member. It is a copy, which has nothing to do with the elements any more.
nb::object arrowStreamOf(const StreamState& stream, const Rows& rows);
/// A capsule with the types of that table, which depend on the texts.
nb::object arrowSchemaOf(const StreamState& stream, const Rows& rows);
/// A capsule with the types of the members alone.
nb::object arrowSchemaOf(const Data::Structure& structure);

/// Defines what streams and selections have for other packages. `stateOf` and `rowsOf` give the
/// stream of one, and which of its elements it has.
template <typename Class, typename StateOf, typename RowsOf>
void defineTables(Class& type, StateOf stateOf, RowsOf rowsOf) {
    const auto call = [](const char* name) {
        return [name](nb::handle self) {
            return nb::module_::import_("quilmeta._frames").attr(name)(self);
        };
    };
    using Self = typename Class::Type;
    type.def(
            "__arrow_c_stream__",
            [=](const Self& self, nb::handle) {
                return arrowStreamOf(stateOf(self), rowsOf(self));
            },
            nb::arg("requested_schema") = nb::none(),
            nb::sig("def __arrow_c_stream__(self, requested_schema: object = None) -> object"),
            "A copy as a table of Arrow, for any package that takes one.")
        .def(
            "__arrow_c_schema__",
            [=](const Self& self) { return arrowSchemaOf(stateOf(self), rowsOf(self)); },
            nb::sig("def __arrow_c_schema__(self) -> object"), "The types of that table.")
        .def("to_arrow", call("to_arrow"), nb::sig("def to_arrow(self) -> typing.Any"),
             "A copy as a `pyarrow.Table`: a column for the index, or two for pairs, and one for "
             "each member. Lists and matrices are lists of a fixed size.")
        .def("to_pandas", call("to_pandas"), nb::sig("def to_pandas(self) -> typing.Any"),
             "A copy as a `pandas.DataFrame` with the indices of the elements. Lists and matrices "
             "are arrays in a column of objects.")
        .def("to_polars", call("to_polars"), nb::sig("def to_polars(self) -> typing.Any"),
             "A copy as a `polars.DataFrame`, with columns as `to_arrow` has them.");
}

}  // namespace orbo::Python
