// Streams made of tables of other packages.
// SPDX-License-Identifier: Apache-2.0
#include "Tables.h"

#include <optional>
#include <string>

#include "Bindings.h"
#include "Structures.h"
#include "Text.h"

namespace orbo::Python {

namespace {

std::shared_ptr<StreamState> madeOf(nb::handle name, nb::handle table, nb::handle structure,
                                    nb::handle index, nb::handle indexType) {
    const nb::object stream =
        nb::module_::import_("quilmeta._frames")
            .attr("stream_of_table")(name, table, structure, index, indexType);
    return nb::cast<std::shared_ptr<StreamState>>(stream);
}

}  // namespace

bool isTable(nb::handle object) {
    return !PyType_Check(object.ptr()) &&
           (nb::hasattr(object, "__arrow_c_stream__") || nb::hasattr(object, "__arrow_c_array__"));
}

bool StreamSource::hasRows() const {
    if (data.is_none() && source.is_none())
        throw nb::type_error("a stream is made of a structure, or of data");
    if (!data.is_none() || isTable(source)) return true;
    if (!index.is_none()) throw nb::type_error("index= names columns of data, and there are none");
    return false;
}

std::string StreamSource::indexTypeOrNumeric() const {
    return indexType.is_none() ? "numeric" : bytesOf(indexType, "the type of indices");
}

std::shared_ptr<StreamState> streamOfRows(nb::handle name, const StreamSource& from) {
    if (from.data.is_none())
        return madeOf(name, from.source, nb::none(), from.index, from.indexType);
    if (isTable(from.source))
        throw nb::type_error("there are two tables: one takes the place of the structure");
    return madeOf(name, from.data, from.source, from.index, from.indexType);
}

std::shared_ptr<StreamState> streamLike(const StreamState& old, nb::handle table) {
    old.demandPresent();
    const StructureValue structure{StructurePtr(&old.stream().structure())};
    return madeOf(textOf(old.stream().name()), table, nb::cast(structure), nb::none(),
                  textOf(old.stream().indexType()));
}

void defineFromTables(nb::class_<StreamState>& type) {
    const std::string rest =
        "structure: typing.Any = None, index: str | collections.abc.Iterable[str] | None = None, "
        "index_type: str | None = None) -> Stream";
    const auto define = [&](const std::string& function) {
        // The name may come first, as for a stream, or the data, as other packages have it.
        type.def_static(
            function.c_str(),
            [](const nb::str& name, nb::handle data, nb::handle structure, nb::handle index,
               nb::handle indexType) { return madeOf(name, data, structure, index, indexType); },
            nb::arg("name"), nb::arg("data").none(), nb::arg("structure") = nb::none(),
            nb::arg("index") = nb::none(), nb::arg("index_type") = nb::none(),
            nb::sig(("def " + function + "(name: str, data: typing.Any, " + rest).c_str()),
            "A stream of no scene with an element for each row of a table, which any package may "
            "hand over by `__arrow_c_stream__`. Columns become members. The structure has the name "
            "that is given, that of the stream which the table was made of, or that of this one; "
            "a structure that is given says what the members are to be. Indices are in the columns "
            "`index` names, or in those called \"index\", or \"index0\" and \"index1\" for pairs; "
            "without those they are the labels of a frame of pandas, or the numbers of the rows. "
            "`index_type` says which type of a plug-in they are.");
        type.def_static(
            function.c_str(),
            [](nb::handle data, const std::optional<nb::str>& name, nb::handle structure,
               nb::handle index, nb::handle indexType) {
                return madeOf(name ? nb::object(*name) : nb::none(), data, structure, index,
                              indexType);
            },
            nb::arg("data").none(), nb::arg("name") = nb::none(), nb::arg("structure") = nb::none(),
            nb::arg("index") = nb::none(), nb::arg("index_type") = nb::none(),
            nb::sig(("def " + function + "(data: typing.Any, name: str | None = None, " + rest)
                        .c_str()),
            "The same; tables of Arrow know the name of the stream that they were made of.");
    };
    for (const char* const function : {"from_arrow", "from_pandas", "from_polars"})
        define(function);
}

}  // namespace orbo::Python
