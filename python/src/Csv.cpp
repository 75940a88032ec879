// Streams as comma-separated values.
// SPDX-License-Identifier: Apache-2.0
#include <string>
#include <utility>

#include "Bindings.h"
#include "ChangeFindings.h"
#include "Documents.h"
#include "Problems.h"
#include "Signatures.h"
#include "Streams.h"
#include "TextOutput.h"
#include "editing/CsvTable.h"

namespace orbo::Python {

namespace {

nb::str tableOf(const StreamState& state) {
    state.demandPresent();
    TextOutput output;
    Quilmeta::writeTable(state.stream(), output);
    return textOf(output.text());
}

/// Gives how many elements were set, and how many removed.
nb::tuple load(StreamState& state, nb::handle table, bool creates, bool replaces) {
    const GivenTable given(table);
    state.demandWritable();
    state.demandMovable();
    const Quilmeta::TableLoad how{creates, replaces};
    try {
        // What is wrong shows in a copy, and leaves the stream as it is.
        Data::Stream copy = copyOf(state, state.stream().name());
        Quilmeta::loadTable(given.text(), copy, how);
    } catch (const Quilmeta::CommandError& error) {
        raiseTable(error, given.file());
    }
    // Storage that is dense for the sake of columns has no gaps.
    state.makeMapped();
    state.noteMoved();
    const auto counts = Quilmeta::loadTable(given.text(), state.stream(), how);
    return nb::make_tuple(counts.set, counts.removed);
}

}  // namespace

void defineCsv() {
    nb::borrow<nb::class_<StreamState>>(nb::type<StreamState>())
        .def("to_csv", tableOf,
             "A table as `quilmeta table` writes it: a line for each element, with its index and "
             "the digits that read back as the very same values.")
        .def("load_csv", load, nb::arg("table"), nb::kw_only(), nb::arg("create") = false,
             nb::arg("replace") = false,
             nb::sig("def load_csv(self, table: " QUILMETA_PATH
                     ", *, create: bool = False, replace: bool = False) -> tuple[int, int]"),
             "Sets elements to what a table has for them: one that `to_csv` gives, or a file of "
             "one. Columns may be left out, and stand in any order. Elements that the stream lacks "
             "are made with `create`, those that the table lacks are removed with `replace`. "
             "Returns how many were set, and how many removed. Raises DocumentError with all that "
             "is wrong, by lines, and changes nothing.");
}

}  // namespace orbo::Python
