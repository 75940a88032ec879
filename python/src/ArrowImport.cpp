// Tables that other libraries hand over by Arrow's interface, and streams made of them.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/Structure.h>

#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "ArrowAbi.h"
#include "ArrowColumn.h"
#include "ArrowNames.h"
#include "ArrowStore.h"
#include "Bindings.h"
#include "Keys.h"
#include "Problems.h"
#include "Structures.h"
#include "Text.h"
#include "core/Layout.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Data::Index;
using Data::Member;
using Quilmeta::inQuotes;

/// A record that must be released, whatever happens. That, and all that a producer does, is done
/// without Python's lock, which other threads of the producer may want before they end.
template <typename Record>
class Owned {
  public:
    Owned() : fRecord(std::make_unique<Record>()) {}
    /// Takes the content of a capsule, which stays without one.
    Owned(nb::handle capsule, const char* name) : Owned() {
        auto* const given = static_cast<Record*>(PyCapsule_GetPointer(capsule.ptr(), name));
        if (!given) nb::raise_python_error();
        if (!given->release) throw nb::value_error("the table has been handed over already");
        *fRecord = *given;
        given->release = nullptr;
    }
    Owned(Owned&&) = default;
    Owned& operator=(Owned&&) = delete;
    ~Owned() { release(); }

    void release() {
        if (!fRecord || !fRecord->release) return;
        const nb::gil_scoped_release unlocked;
        fRecord->release(fRecord.get());
        fRecord->release = nullptr;
    }

    [[nodiscard]] Record* get() const { return fRecord.get(); }
    Record* operator->() const { return fRecord.get(); }

  private:
    std::unique_ptr<Record> fRecord;
};

/// Asks the stream, and raises what the producer says is wrong.
template <typename Ask, typename Record>
void demand(ArrowArrayStream& stream, Ask ask, Record* out) {
    int error = 0;
    {
        const nb::gil_scoped_release unlocked;
        error = ask(&stream, out);
    }
    if (PyErr_Occurred()) nb::raise_python_error();
    if (error == 0) return;
    const char* const message = stream.get_last_error(&stream);
    const std::string what = message ? message : std::strerror(error);
    raise("QuilError", "the table cannot be read: " + Quilmeta::safeLine(what));
}

Owned<ArrowSchema> schemaOf(ArrowArrayStream& stream) {
    Owned<ArrowSchema> schema;
    demand(stream, stream.get_schema, schema.get());
    return schema;
}

std::vector<ArrowColumnType> columnTypesOf(const ArrowSchema& schema) {
    if (std::string_view(schema.format) != "+s")
        throw nb::type_error("this is no table: it has no columns");
    std::vector<ArrowColumnType> types;
    for (std::int64_t k = 0; k < schema.n_children; ++k) types.emplace_back(*schema.children[k]);
    return types;
}

/// A description of a column for Python: name, mark of an index, member or None, type in words.
nb::tuple described(const ArrowColumnType& type, const std::vector<std::int64_t>& sizes) {
    unsigned int length = 1;
    const Member::eDataType memberType = type.memberType(sizes, length);
    nb::object member = nb::none();
    if (memberType != Member::kInvalid)
        member = nb::module_::import_("quilmeta._structures")
                     .attr("Member")(textOf(type.name()), Member::typeName(memberType), length);
    return nb::make_tuple(textOf(type.name()), textOf(type.indexMark()), member,
                          textOf(type.shown()));
}

std::vector<std::int64_t> fixedSizesOf(const ArrowColumnType& type) {
    std::vector<std::int64_t> sizes;
    for (const auto& list : type.lists()) sizes.push_back(list.size);
    return sizes;
}

/// Metadata of this package is unescaped, that of others is as it is.
nb::object textUnder(const ArrowSchema& schema, const std::string& key) {
    const auto found = metadataOf(schema, key);
    if (!found) return nb::none();
    return textOf(key == ArrowKey::kPandas ? *found : unescapedName(*found));
}

/// The columns that a schema describes, and the name of their structure where it is known.
nb::tuple columnsOfSchema(nb::handle source) {
    const Owned<ArrowSchema> schema(source.attr("__arrow_c_schema__")(), kSchemaCapsule);
    nb::list columns;
    for (const ArrowColumnType& type : columnTypesOf(*schema.get()))
        columns.append(described(type, fixedSizesOf(type)));
    return nb::make_tuple(columns, textUnder(*schema.get(), ArrowKey::kStructure));
}

/// Whether an array has the buffers and children that its type wants. `needed` are the values that
/// are asked for.
bool isWhole(const ArrowArray& array, const ArrowColumnType& type, std::int64_t needed) {
    if (type.leaf() == ArrowLeaf::kOther) return true;  // nobody asks for its values
    const ArrowArray* level = &array;
    for (std::size_t k = 0; k < type.lists().size(); ++k) {
        if (level->n_children != 1 || level->n_buffers < 1 || level->length < needed) return false;
        const bool isFixed = type.lists()[k].size > 0;
        if (!isFixed && level->n_buffers < 2 && needed > 0) return false;
        needed = isFixed ? (level->offset + needed) * type.lists()[k].size : 0;
        level = level->children[0];
    }
    if (type.isDictionary() && !level->dictionary) return false;
    const bool isNull = type.leaf() == ArrowLeaf::kNull;
    return level->length >= needed && (isNull || needed == 0 || level->n_buffers >= 2);
}

/// Numbers of rows, at equal distances.
struct RowNumbers {
    long long start = 0;
    long long step = 1;

    [[nodiscard]] std::optional<Index> at(std::int64_t row) const {
        const long long number = start + step * row;
        if (number < 0 || number > std::numeric_limits<unsigned int>::max()) return std::nullopt;
        return Index(static_cast<unsigned int>(number));
    }
};

/// A table in memory, which a producer has handed over.
class ArrowTable {
  public:
    explicit ArrowTable(nb::handle source) {
        if (nb::hasattr(source, "__arrow_c_stream__"))
            takeStream(source.attr("__arrow_c_stream__")());
        else if (nb::hasattr(source, "__arrow_c_array__"))
            takeArray(source.attr("__arrow_c_array__")());
        else
            throw nb::type_error((std::string("a table is wanted, which hands itself over by "
                                              "__arrow_c_stream__, not ") +
                                  nb::type_name(source.type()).c_str())
                                     .c_str());
        fTypes = columnTypesOf(*fSchema->get());
        demandRows();
    }

    [[nodiscard]] nb::list columns() const {
        nb::list columns;
        for (std::size_t k = 0; k < fTypes.size(); ++k)
            columns.append(described(fTypes[k], sizesOf(k)));
        return columns;
    }
    [[nodiscard]] nb::object metadata(const std::string& key) const {
        return textUnder(*fSchema->get(), key);
    }
    [[nodiscard]] std::int64_t rows() const { return fRows; }

    /// Makes an element of each row, under the index in these columns, or its number where there
    /// are none. `members` has the column of each member that gets values.
    void fill(StreamState& state, const std::vector<std::size_t>& indices,
              const std::vector<std::pair<std::size_t, std::string>>& members,
              const RowNumbers& numbers) const;

  private:
    void takeStream(nb::handle capsule) {
        Owned<ArrowArrayStream> stream(capsule, kStreamCapsule);
        fSchema.emplace(schemaOf(*stream.get()));
        while (true) {
            Owned<ArrowArray> batch;
            demand(*stream.get(), stream->get_next, batch.get());
            if (!batch->release) break;
            fBatches.push_back(std::move(batch));
        }
    }
    void takeArray(nb::handle capsules) {
        if (!PyTuple_Check(capsules.ptr()) || nb::len(capsules) != 2)
            throw nb::type_error("__arrow_c_array__ gives two capsules");
        fSchema.emplace(nb::object(capsules[0]), kSchemaCapsule);
        fBatches.emplace_back(nb::object(capsules[1]), kArrayCapsule);
    }
    void demandRows() {
        for (const auto& batch : fBatches) {
            bool isWhole = batch->n_children == static_cast<std::int64_t>(fTypes.size());
            for (std::size_t k = 0; isWhole && k < fTypes.size(); ++k)
                isWhole =
                    Python::isWhole(*batch->children[k], fTypes[k], batch->offset + batch->length);
            if (!isWhole)
                throw nb::value_error("the table has batches of other columns than it says");
            if (batch->null_count > 0) throw nb::value_error("the table has rows that are null");
            fRows += batch->length;
        }
        if (fRows > std::numeric_limits<unsigned int>::max())
            throw nb::value_error("the table has more rows than a stream has elements");
    }
    /// Where types do not fix the sizes of lists, those of the first row that has values.
    [[nodiscard]] std::vector<std::int64_t> sizesOf(std::size_t column) const {
        const auto fixed = fixedSizesOf(fTypes[column]);
        bool isFixed = true;
        for (const std::int64_t size : fixed) isFixed = isFixed && size > 0;
        if (isFixed) return fixed;
        for (const auto& batch : fBatches) {
            const ArrowColumn values(fTypes[column], *batch->children[column]);
            for (std::int64_t row = 0; row < batch->length; ++row) {
                std::vector<std::int64_t> sizes;
                if (!values.span(row + batch->offset, &sizes).isNull) return sizes;
            }
        }
        return fixed;
    }
    [[nodiscard]] std::vector<char*> placesIn(StreamState& state, Data::StreamImpl& storage,
                                              const ArrowArray& batch, std::int64_t rowsBefore,
                                              const std::vector<std::size_t>& indices,
                                              const RowNumbers& numbers) const;

    std::optional<Owned<ArrowSchema>> fSchema;
    std::vector<ArrowColumnType> fTypes;
    std::vector<Owned<ArrowArray>> fBatches;
    std::int64_t fRows = 0;
};

/// The indices in the columns of a batch.
class IndexReader {
  public:
    IndexReader(const std::string& type, const std::vector<ArrowColumn>& columns)
        : fType(type), fColumns(columns) {}

    /// Null when there is something else in the row.
    [[nodiscard]] std::optional<Index> at(std::int64_t row) const {
        if (fType == "numeric") {
            const auto number = numberAt(0, row);
            if (!number) return std::nullopt;
            return Index(*number);
        }
        if (fType == "pair") {
            const auto first = numberAt(0, row);
            const auto second = numberAt(1, row);
            if (!first || !second) return std::nullopt;
            return Index(Data::IndexPair(*first, *second));
        }
        const auto text = fColumns[0].visit(row, [](auto value) -> std::optional<std::string> {
            if constexpr (std::is_same_v<decltype(value), std::string_view>)
                return std::string(value);
            return std::nullopt;
        });
        if (!text) return std::nullopt;
        return fType == "string" ? Index(Data::IndexString(*text)) : indexOfType(fType, *text);
    }
    /// What is in the row, for messages.
    [[nodiscard]] std::string shown(std::int64_t row) const {
        std::string text;
        for (const ArrowColumn& column : fColumns) {
            const nb::object value = column.visit(row, [](auto v) -> nb::object {
                using Value = decltype(v);
                if constexpr (std::is_same_v<Value, std::nullptr_t>) return nb::none();
                if constexpr (std::is_same_v<Value, std::string_view>) return textOf(v);
                if constexpr (std::is_arithmetic_v<Value>) return nb::cast(v);
            });
            text += std::string(text.empty() ? "" : ", ") + nb::repr(value).c_str();
        }
        return text;
    }

  private:
    [[nodiscard]] std::optional<unsigned int> numberAt(std::size_t column, std::int64_t row) const {
        constexpr auto kMost = std::numeric_limits<unsigned int>::max();
        return fColumns[column].visit(row, [](auto value) -> std::optional<unsigned int> {
            using Value = decltype(value);
            if constexpr (std::is_same_v<Value, long long> ||
                          std::is_same_v<Value, unsigned long long>)
                if (value >= Value{0} && value <= Value{kMost})
                    return static_cast<unsigned int>(value);
            return std::nullopt;
        });
    }

    const std::string& fType;
    const std::vector<ArrowColumn>& fColumns;
};

std::vector<char*> ArrowTable::placesIn(StreamState& state, Data::StreamImpl& storage,
                                        const ArrowArray& batch, std::int64_t rowsBefore,
                                        const std::vector<std::size_t>& indices,
                                        const RowNumbers& numbers) const {
    std::vector<ArrowColumn> columns;
    for (const std::size_t column : indices)
        columns.emplace_back(fTypes[column], *batch.children[column]);
    const IndexReader reader(state.stream().indexType(), columns);
    const bool hasData = storage.layout().totalSize() > 0;
    std::vector<char*> chunks;
    chunks.reserve(static_cast<std::size_t>(batch.length));
    for (std::int64_t row = 0; row < batch.length; ++row) {
        std::optional<Index> index =
            indices.empty() ? numbers.at(rowsBefore + row) : reader.at(row + batch.offset);
        const auto refuse = [&](const std::string& what) {
            const std::string place = "row " + std::to_string(rowsBefore + row) + ": ";
            throw nb::value_error((place + what).c_str());
        };
        if (!index)
            refuse("there is no " + state.stream().indexType() + " index " +
                   (indices.empty() ? "" : reader.shown(row + batch.offset)));
        if (storage.hasElement(*index))
            refuse("the index " + shownKey(keyOf(*index)) + " is there twice");
        char* const chunk = storage.place(std::move(*index));
        if (!chunk && hasData) throw std::bad_alloc();
        chunks.push_back(chunk);
    }
    return chunks;
}

void ArrowTable::fill(StreamState& state, const std::vector<std::size_t>& indices,
                      const std::vector<std::pair<std::size_t, std::string>>& members,
                      const RowNumbers& numbers) const {
    state.demandWritable();
    state.demandMovable();
    state.noteMoved();
    const StructurePtr structure(&state.stream().structure());
    const Data::Layout& layout = Data::StreamAccess::layoutOf(state.stream());
    Data::StreamImpl* const storage = Data::StreamAccess::placesOf(state.stream(), layout);
    if (!storage) throw std::bad_alloc();
    for (const auto& [column, name] : members) {
        const Member& member = memberOf(*structure, name);
        const ArrowColumnType& type = fTypes.at(column);
        if (!type.fits(member.type()))
            throw nb::type_error(("column " + inQuotes(type.name()) + ": " + type.shown() +
                                  " does not fit " + Member::typeName(member.type()))
                                     .c_str());
    }
    const bool hasNullsForNan = metadataOf(*fSchema->get(), ArrowKey::kPandas).has_value();
    std::int64_t rowsBefore = 0;
    for (const auto& batch : fBatches) {
        const auto chunks = placesIn(state, *storage, *batch.get(), rowsBefore, indices, numbers);
        for (const auto& [column, name] : members) {
            const Member& member = memberOf(*structure, name);
            const ArrowColumnType& type = fTypes[column];
            const std::uint64_t offset = layout.runs()[layout.indexOf(member.name())].offset;
            const ArrowPlace place{rowsBefore, batch->offset, hasNullsForNan};
            storeColumn(type, *batch->children[column], member, offset, place, chunks);
        }
        rowsBefore += batch->length;
    }
}

}  // namespace

void defineArrow(nb::module_& module) {
    nb::class_<ArrowTable>(module, "_ArrowTable")
        .def(nb::init<nb::handle>(), kAnything,
             nb::sig("def __init__(self, source: typing.Any, /) -> None"))
        .def("columns", &ArrowTable::columns,
             nb::sig("def columns(self) -> list[tuple[str, str, "
                     "quilmeta._structures.Member | None, str]]"))
        .def("metadata", &ArrowTable::metadata, nb::arg("key"),
             nb::sig("def metadata(self, key: str) -> str | None"))
        .def("__len__", &ArrowTable::rows)
        .def(
            "fill",
            [](const ArrowTable& self, StreamState& stream, const nb::list& indices,
               const nb::list& members, long long start, long long step) {
                std::vector<std::size_t> columns;
                for (nb::handle column : indices) columns.push_back(nb::cast<std::size_t>(column));
                std::vector<std::pair<std::size_t, std::string>> names;
                for (nb::handle pair : members)
                    names.emplace_back(nb::cast<std::size_t>(pair[0]), bytesOf(pair[1], "a name"));
                self.fill(stream, columns, names, {start, step});
            },
            nb::sig("def fill(self, stream: Stream, indices: list[int], "
                    "members: list[tuple[int, str]], start: int, step: int) -> None"));
    module.def("_arrow_columns", columnsOfSchema, nb::arg("source"),
               nb::sig("def _arrow_columns(source: typing.Any) -> tuple[list[tuple[str, str, "
                       "quilmeta._structures.Member | None, str]], str | None]"));
}

}  // namespace orbo::Python
