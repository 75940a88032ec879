// Streams made of tables of other packages.
// SPDX-License-Identifier: Apache-2.0
#include "Tables.h"

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

}  // namespace orbo::Python
