// Streams, and selections of their elements.
// SPDX-License-Identifier: Apache-2.0
#include "Streams.h"

#include <data/IndexString.h>
#include <data/Structure.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "ArrowExport.h"
#include "Bindings.h"
#include "Columns.h"
#include "Elements.h"
#include "Keys.h"
#include "Mappings.h"
#include "Problems.h"
#include "Structures.h"
#include "Tables.h"
#include "expressions/StreamFilter.h"
#include "scene/Difference.h"
#include "streams/StreamAccess.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Data::Index;
using Data::Stream;
using Quilmeta::inQuotes;
using StreamPtr = std::shared_ptr<StreamState>;

/// The elements of a stream by all kinds of index, texts included: `stream.loc`.
struct Loc {
    StreamPtr stream;
};
/// The elements of a stream by their place: `stream.iloc`.
struct ILoc {
    StreamPtr stream;
};
/// Some elements of a stream, in order.
struct Selection {
    StreamPtr stream;
    Indices indices;
};

[[noreturn]] void raiseNoElement(const StreamState& state, nb::handle key) {
    std::string message = "no element " + shownKey(key) + " in " + state.description();
    if (PyLong_Check(key.ptr()) && PyLong_AsLongLong(key.ptr()) < 0)
        message += "; indices do not count from the end, .iloc does";
    PyErr_Clear();
    throw nb::key_error(message.c_str());
}

/// Names the text that was perhaps meant, where indices are texts.
[[noreturn]] void raiseNoText(const StreamState& state, nb::handle key) {
    std::vector<std::string> texts;
    for (const auto& [index, element] : std::as_const(state.stream()).elements())
        texts.push_back(index.asString());
    raiseUnknown("element", bytesOf(key, "an index"), state.description(), texts);
}

std::optional<Index> find(const StreamState& state, nb::handle key) {
    state.demandPresent();
    std::optional<Index> index = indexOf(key);
    state.demandPresent();
    if (index && !std::as_const(state.stream()).hasElement(*index)) index.reset();
    // Dense storage takes typed indices for 0.
    if (index && index->typeName() != state.stream().indexType()) index.reset();
    return index;
}

Index demandIndex(const StreamState& state, nb::handle key) {
    if (auto index = find(state, key)) return *index;
    if (PyUnicode_Check(key.ptr())) raiseNoText(state, key);
    raiseNoElement(state, key);
}

ElementValue elementAt(const StreamPtr& stream, nb::handle key) {
    return {stream, demandIndex(*stream, key)};
}

void setElementAt(const StreamPtr& stream, nb::handle key, nb::handle values) {
    const std::optional<Index> index = indexOf(key);
    if (!index) throw nb::index_error((shownKey(key) + " is out of range for indices").c_str());
    setElement(*stream, *index, values);
}

void removeElement(StreamState& state, const Index& index) {
    state.demandWritable();
    state.demandMovable();
    state.makeMapped();
    state.stream().removeElement(index);
    state.noteMoved();
}

/// Bounds of a slice by index; both ends are in it.
Indices indicesBetween(StreamState& state, const nb::slice& slice) {
    const nb::object start = slice.attr("start");
    const nb::object stop = slice.attr("stop");
    if (!slice.attr("step").is_none())
        throw nb::type_error("a slice of indices has no step; .iloc takes one");
    const auto bound = [&](nb::handle end) -> std::optional<Index> {
        if (end.is_none()) return std::nullopt;
        const auto index = indexOf(end);
        if (!index) throw nb::index_error((shownKey(end) + " is out of range").c_str());
        state.demandPresent();
        demandType(state, *index);
        return index;
    };
    const auto first = bound(start);
    const auto last = bound(stop);
    state.demandPresent();
    const Indices& indices = state.indices();
    const auto from =
        first ? std::lower_bound(indices.begin(), indices.end(), *first) : indices.begin();
    const auto to = last ? std::upper_bound(from, indices.end(), *last) : indices.end();
    return {from, to};
}

/// Gives several keys as a list: one, or an array of one axis. Null for a key that is one alone.
nb::object severalOf(nb::handle key) {
    if (PyList_Check(key.ptr())) return nb::borrow(key);
    const bool isOne =
        PyLong_Check(key.ptr()) || PyTuple_Check(key.ptr()) || PyUnicode_Check(key.ptr());
    if (isOne || !nb::hasattr(key, "tolist")) return {};
    nb::object keys = key.attr("tolist")();
    return PyList_Check(keys.ptr()) ? keys : nb::object();
}

bool isMask(nb::handle keys) {
    for (nb::handle key : keys)
        if (!PyBool_Check(key.ptr())) return false;
    return nb::len(keys) > 0;
}

/// The elements whose place has `True` in the mask.
Indices indicesUnder(nb::handle mask, StreamState& state) {
    state.demandPresent();
    const Indices& indices = state.indices();
    if (nb::len(mask) != indices.size())
        throw nb::index_error((std::to_string(nb::len(mask)) + " truth values do not choose from " +
                               std::to_string(indices.size()) + " elements")
                                  .c_str());
    Indices chosen;
    std::size_t at = 0;
    for (nb::handle value : mask) {
        if (value.is(nb::handle(Py_True))) chosen.push_back(indices[at]);
        ++at;
    }
    return chosen;
}

/// The place of an element, which may be counted from the end, as one from 0 on.
std::size_t placeOf(nb::handle place, const StreamState& state, std::size_t elements) {
    Py_ssize_t at = PyNumber_AsSsize_t(place.ptr(), PyExc_IndexError);
    if (at == -1 && PyErr_Occurred()) nb::raise_python_error();
    const auto count = static_cast<Py_ssize_t>(elements);
    if (at < 0) at += count;
    if (at < 0 || at >= count)
        throw nb::index_error(
            (state.description() + " has " + std::to_string(count) + " elements").c_str());
    return static_cast<std::size_t>(at);
}

nb::object located(const Loc& self, nb::handle key) {
    if (PySlice_Check(key.ptr()))
        return nb::cast(
            Selection{self.stream, indicesBetween(*self.stream, nb::borrow<nb::slice>(key))});
    const nb::object keys = severalOf(key);
    if (!keys.is_valid()) return nb::cast(elementAt(self.stream, key));
    if (isMask(keys)) return nb::cast(Selection{self.stream, indicesUnder(keys, *self.stream)});
    Selection selection{self.stream, {}};
    for (nb::handle each : keys) selection.indices.push_back(demandIndex(*self.stream, each));
    return nb::cast(std::move(selection));
}

nb::object placed(const ILoc& self, nb::handle place) {
    StreamState& state = *self.stream;
    if (PySlice_Check(place.ptr())) {
        const Indices indices = indicesOf(state);  // a copy, for the bounds may run Python code
        const auto bounds = nb::borrow<nb::slice>(place).compute(indices.size());
        Selection selection{self.stream, {}};
        Py_ssize_t at = bounds.template get<0>();
        for (std::size_t k = 0; k < bounds.template get<3>(); ++k, at += bounds.template get<2>())
            selection.indices.push_back(indices[static_cast<std::size_t>(at)]);
        return nb::cast(std::move(selection));
    }
    const nb::object places = severalOf(place);
    if (!places.is_valid()) {
        const auto number = nb::steal(PyNumber_Index(place.ptr()));  // which may run Python code
        if (!number.is_valid()) nb::raise_python_error();
        state.demandPresent();
        const Indices& indices = state.indices();
        return nb::cast(ElementValue{self.stream, indices[placeOf(number, state, indices.size())]});
    }
    if (isMask(places)) return nb::cast(Selection{self.stream, indicesUnder(places, state)});
    const Indices indices = indicesOf(state);  // a copy, for places may run Python code
    Selection selection{self.stream, {}};
    for (nb::handle each : places)
        selection.indices.push_back(indices[placeOf(each, state, indices.size())]);
    return nb::cast(std::move(selection));
}

/// What a walk over a stream yields.
enum class Yield { kKeys, kElements, kBoth };

nb::object yielded(const StreamPtr& stream, Index index, Yield what) {
    if (what == Yield::kKeys) return keyOf(index);
    if (what == Yield::kElements) return nb::cast(ElementValue{stream, std::move(index)});
    nb::object key = keyOf(index);
    return nb::make_tuple(key, ElementValue{stream, std::move(index)});
}

/// Walks a stream in index order, and notices when elements come or go.
class Walk {
  public:
    Walk(StreamPtr stream, Yield what) : fStream(std::move(stream)), fWhat(what) {
        fStream->demandPresent();
        fGeneration = fStream->generation();
        fRange.reset(new Range(std::as_const(fStream->stream()).elements()));
        fNext = fRange->begin();
    }

    nb::object next() {
        if (auto item = advance()) return *item;
        throw nb::stop_iteration();
    }
    /// Gives nothing at the end.
    std::optional<nb::object> advance() {
        fStream->demandPresent();
        if (fGeneration != fStream->generation())
            throw std::runtime_error(fStream->description() + " changed while it was walked");
        if (fNext == fRange->end()) return std::nullopt;
        Index index = fNext->index;
        ++fNext;
        return yielded(fStream, std::move(index), fWhat);
    }

  private:
    using Range = Data::StreamElements<Data::ConstHandle>;

    StreamPtr fStream;
    Yield fWhat;
    std::uint64_t fGeneration = 0;
    std::unique_ptr<Range> fRange;
    Range::iterator fNext;
};

/// The keys, elements or both of a stream, as those of a `dict`.
struct View {
    StreamPtr stream;
    Yield what;
};

bool contains(const StreamPtr& stream, nb::handle key) {
    try {
        return find(*stream, key).has_value();
    } catch (nb::python_error& error) {
        if (!error.matches(PyExc_TypeError)) throw;
        return false;
    }
}

bool viewContains(const View& self, nb::handle item) {
    if (self.what == Yield::kKeys) return contains(self.stream, item);
    Walk walk(self.stream, self.what);
    while (const auto found = walk.advance())
        if (found->equal(item)) return true;
    return false;
}

/// Gives the elements for which an expression is true.
Selection filter(const StreamPtr& state, const std::string& text) {
    using namespace Quilmeta;
    state->demandPresent();
    const Stream& stream = state->stream();
    Selection found{state, {}};
    try {
        const Expression expression(text);
        MembersSeen seen;
        seen.add(stream.structure());
        for (const std::string& warning : expression.warnings(seen)) warn(warning);
        Place place;
        const PlaceNames names(*state);
        place.set(Field::kFile, names.file).set(Field::kNode, names.node);
        place.set(Field::kChannel, names.channel).set(Field::kStream, stream.name());
        StreamFilter(expression, stream.structure())
            .forEach(stream, place,
                     [&](const auto& index, const auto&) { found.indices.push_back(index); });
    } catch (const ExpressionError& error) {
        raise("ExpressionError", error.what());
    }
    return found;
}

bool isEqual(const StreamPtr& self, nb::handle other) {
    StreamPtr theirs;
    if (!nb::try_cast(other, theirs) || !theirs) return false;
    self->demandPresent();
    theirs->demandPresent();
    return isSameStream(self->stream(), theirs->stream());
}

nb::object column(const StreamPtr& self, nb::handle key) {
    if (PyUnicode_Check(key.ptr())) return columnOf(*self, bytesOf(key, "a name"));
    if (PySlice_Check(key.ptr()))
        throw nb::type_error("a stream has slices by .loc, with both ends, and by .iloc");
    if (severalOf(key).is_valid())
        throw nb::type_error("several elements are had by .loc and .iloc");
    return nb::cast(elementAt(self, key));
}

void setColumn(const StreamPtr& self, nb::handle key, nb::handle value) {
    if (!PyUnicode_Check(key.ptr())) return setElementAt(self, key, value);
    self->demandWritable();
    scatter(*self, Rows::all(), bytesOf(key, "a name"), value);
}

std::string shown(const StreamPtr& self) {
    if (self->isRemoved()) return "<quilmeta.Stream, removed>";
    const Stream& stream = self->stream();
    const auto count = std::to_string(stream.elementCount());
    return "<quilmeta.Stream " + inQuotes(stream.name()) + ": " + count +
           (count == "1" ? " element of " : " elements of ") +
           Quilmeta::shownName(stream.structure().name()) + ", " + stream.indexType() + " index>";
}

nb::tuple reduced(const StreamPtr& self) {
    self->demandPresent();
    nb::list keys;
    nb::list rows;
    for (const Index& index : indicesOf(*self)) {
        keys.append(keyOf(index));
        rows.append(dictOf(*self, index));
    }
    const Stream& stream = self->stream();
    const nb::object maker = nb::module_::import_("quilmeta._restore").attr("stream");
    return nb::make_tuple(maker, nb::make_tuple(textOf(stream.name()),
                                                StructureValue{StructurePtr(&stream.structure())},
                                                textOf(stream.indexType()), keys, rows));
}

StreamPtr made(const nb::str& name, const StructureValue& structure, const nb::str& indexType,
               const nb::list& keys, const nb::list& rows) {
    StreamPtr state = std::make_shared<StreamState>(newStream(
        structure.structure, bytesOf(name, "a name"), bytesOf(indexType, "an index type")));
    for (std::size_t k = 0; k < keys.size(); ++k) setElementAt(state, keys[k], rows[k]);
    return state;
}

void defineSelections(nb::module_& module) {
    nb::class_<Selection> type(
        module, "Selection",
        "Some elements of a stream, in order. A name gives and sets a member of "
        "all of them; the arrays are copies.");
    type.def("__len__", [](const Selection& self) { return self.indices.size(); })
        .def(
            "__iter__",
            [](const Selection& self) {
                nb::list elements;
                for (const Index& index : self.indices)
                    elements.append(ElementValue{self.stream, index});
                return nb::iter(elements);
            },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[Element]"))
        .def(
            "keys",
            [](const Selection& self) {
                nb::list keys;
                for (const Index& index : self.indices) keys.append(keyOf(index));
                return keys;
            },
            nb::sig("def keys(self) -> list[typing.Any]"))
        .def_prop_ro("stream", [](const Selection& self) { return self.stream; })
        .def(
            "__getitem__",
            [](const Selection& self, const nb::str& name) {
                return gather(*self.stream, Rows::of(self.indices), bytesOf(name, "a name"));
            },
            nb::sig("def __getitem__(self, member: str, /) -> typing.Any"))
        .def(
            "__setitem__",
            [](const Selection& self, const nb::str& name, nb::handle values) {
                scatter(*self.stream, Rows::of(self.indices), bytesOf(name, "a name"), values);
            },
            nb::arg(), kAnything,
            nb::sig("def __setitem__(self, member: str, values: typing.Any, /) -> None"))
        .def(
            "remove",
            [](const Selection& self) {
                self.stream->demandWritable();
                for (const Index& index : self.indices) removeElement(*self.stream, index);
            },
            "Removes these elements from the stream.")
        .def("__repr__", [](const Selection& self) {
            return "<quilmeta.Selection: " + std::to_string(self.indices.size()) + " of " +
                   nb::repr(nb::cast(self.stream)).c_str() + '>';
        });
    defineTables(
        type, [](const Selection& self) -> const StreamState& { return *self.stream; },
        [](const Selection& self) { return Rows::of(self.indices); });
}

void defineLocators(nb::module_& module) {
    nb::class_<Loc>(module, "_Loc")
        .def("__getitem__", located,
             nb::sig("def __getitem__(self, key: slice | list[typing.Any], /) -> Selection"))
        .def("__getitem__", located, kAnything,
             nb::sig("def __getitem__(self, key: typing.Any, /) -> Element"))
        .def(
            "__setitem__",
            [](const Loc& self, nb::handle key, nb::handle values) {
                setElementAt(self.stream, key, values);
            },
            kAnything, kAnything,
            nb::sig("def __setitem__(self, key: typing.Any, values: typing.Any, /) -> None"))
        .def(
            "__delitem__",
            [](const Loc& self, nb::handle key) {
                self.stream->demandWritable();
                removeElement(*self.stream, demandIndex(*self.stream, key));
            },
            kAnything, nb::sig("def __delitem__(self, key: typing.Any, /) -> None"))
        .def(
            "__contains__",
            [](const Loc& self, nb::handle key) { return contains(self.stream, key); }, kAnything,
            nb::sig("def __contains__(self, key: object, /) -> bool"));
    nb::class_<ILoc>(module, "_ILoc")
        .def(
            "__getitem__", placed,
            nb::sig("def __getitem__(self, place: slice | list[int] | list[bool], /) -> Selection"))
        .def("__getitem__", placed, kAnything,
             nb::sig("def __getitem__(self, place: typing.SupportsIndex, /) -> Element"));
    nb::class_<Walk>(module, "_Walk")
        .def(
            "__iter__", [](nb::handle self) { return nb::borrow(self); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[typing.Any]"))
        .def("__next__", &Walk::next, nb::sig("def __next__(self) -> typing.Any"));
    nb::class_<View>(module, "_View")
        .def("__len__",
             [](const View& self) {
                 self.stream->demandPresent();
                 return self.stream->stream().elementCount();
             })
        .def(
            "__iter__", [](const View& self) { return new Walk(self.stream, self.what); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[typing.Any]"))
        .def("__contains__", viewContains, kAnything,
             nb::sig("def __contains__(self, item: object, /) -> bool"));
}

}  // namespace

Stream newStream(const StructurePtr& structure, const std::string& name,
                 const std::string& indexType) {
    Stream stream(*structure, name);
    Data::StreamAccess::setIndexType(stream, indexType);
    return stream;
}

Stream copyOf(const StreamState& state, const std::string& name) {
    state.demandPresent();
    Stream copy(state.stream());
    copy.makeUnique();
    Data::StreamAccess::setName(copy, name);
    return copy;
}

bool isSameStream(const Stream& ours, const Stream& theirs) {
    return ours.name() == theirs.name() && Quilmeta::differenceOf(ours, theirs).empty();
}

PlaceNames::PlaceNames(const StreamState& stream) {
    const auto& owner = stream.channel();
    if (!owner) return;
    channel = owner->name();
    if (!owner->hasNode()) return;
    node = owner->node().name();
    if (const SceneState* scene = stream.scene()) file = scene->accessor().fileName();
}

void defineStreams(nb::module_& module) {
    defineSelections(module);
    defineLocators(module);
    const auto view = [](Yield what) {
        return [what](const StreamPtr& self) {
            self->demandPresent();
            return View{self, what};
        };
    };
    nb::class_<StreamState> type(
        module, "Stream", nb::is_weak_referenceable(),
        "Elements of one structure, each under an index. A name gives the "
        "column of a member, a number or a pair the element; `loc` takes any "
        "index.");
    type.def(nb::new_([](const nb::str& name, nb::handle source,
                         const std::optional<nb::str>& indexType, nb::handle data,
                         nb::handle index) {
                 const nb::object typeName = indexType ? nb::object(*indexType) : nb::none();
                 const StreamSource from{source, typeName, data, index};
                 if (from.hasRows()) return streamOfRows(name, from);
                 return std::make_shared<StreamState>(
                     newStream(structureOf(source), bytesOf(name, "the name of a stream"),
                               from.indexTypeOrNumeric()));
             }),
             nb::arg("name"), nb::arg("source") = nb::none(), nb::arg("index_type") = nb::none(),
             nb::kw_only(), nb::arg("data") = nb::none(), nb::arg("index") = nb::none(),
             "A stream of no scene: an empty one of a structure, or of what `structure_of` takes, "
             "or one with the rows of a table, as `from_arrow` makes it.")
        .def_prop_ro("name",
                     [](const StreamState& self) {
                         self.demandPresent();
                         return textOf(self.stream().name());
                     })
        .def_prop_ro("structure",
                     [](const StreamState& self) {
                         self.demandPresent();
                         return StructureValue{StructurePtr(&self.stream().structure())};
                     })
        .def_prop_ro(
            "index_type",
            [](const StreamState& self) {
                self.demandPresent();
                return textOf(self.stream().indexType());
            },
            "The type of the indices: \"numeric\", \"pair\", \"string\", or one of a plug-in.")
        .def_prop_ro(
            "is_dense",
            [](const StreamState& self) {
                self.demandPresent();
                return self.stream().isDense();
            },
            "Whether columns are views of the elements.")
        .def_prop_ro("loc", [](const StreamPtr& self) { return Loc{self}; })
        .def_prop_ro("iloc", [](const StreamPtr& self) { return ILoc{self}; })
        .def("__len__",
             [](const StreamState& self) {
                 self.demandPresent();
                 return self.stream().elementCount();
             })
        .def(
            "__iter__", [](const StreamPtr& self) { return new Walk(self, Yield::kKeys); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[typing.Any]"))
        .def(
            "__contains__",
            [](const StreamPtr& self, nb::handle key) {
                self->demandPresent();
                if (!PyUnicode_Check(key.ptr())) return contains(self, key);
                return self->stream().structure().member(bytesOf(key, "a name")) != nullptr;
            },
            kAnything, nb::sig("def __contains__(self, key: object, /) -> bool"),
            "Whether there is such an element, or, for a text, such a member.")
        .def("__getitem__", column, kAnything,
             nb::sig("def __getitem__(self, member: str, /) -> typing.Any"))
        .def("__getitem__", column, kAnything,
             nb::sig("def __getitem__(self, index: typing.Any, /) -> Element"))
        .def("__setitem__", setColumn, kAnything, kAnything,
             nb::sig("def __setitem__(self, key: typing.Any, value: typing.Any, /) -> None"))
        .def(
            "__delitem__",
            [](const StreamPtr& self, nb::handle key) {
                self->demandWritable();
                if (PyUnicode_Check(key.ptr()))
                    throw nb::type_error("a text names a member here; use .loc to remove elements");
                removeElement(*self, demandIndex(*self, key));
            },
            kAnything, nb::sig("def __delitem__(self, index: typing.Any, /) -> None"))
        .def("keys", view(Yield::kKeys),
             nb::sig("def keys(self) -> collections.abc.Collection[typing.Any]"))
        .def("values", view(Yield::kElements),
             nb::sig("def values(self) -> collections.abc.Collection[Element]"))
        .def("items", view(Yield::kBoth),
             nb::sig("def items(self) -> collections.abc.Collection[tuple[typing.Any, Element]]"))
        .def(
            "clear",
            [](const StreamPtr& self) {
                self->demandWritable();
                self->demandMovable();
                self->makeMapped();
                self->stream().clear();
                self->noteMoved();
            },
            "Removes all elements.")
        .def(
            "filter",
            [](const StreamPtr& self, const nb::str& expression) {
                return filter(self, bytesOf(expression, "an expression"));
            },
            nb::arg("expression"),
            "The elements for which an expression of the command line is true.")
        .def(
            "copy",
            [](const StreamState& self) {
                self.demandPresent();
                return std::make_shared<StreamState>(copyOf(self, self.stream().name()));
            },
            "A stream of its own, with copies of the elements.")
        .def("__copy__",
             [](const StreamState& self) {
                 self.demandPresent();
                 return std::make_shared<StreamState>(copyOf(self, self.stream().name()));
             })
        .def(
            "__deepcopy__",
            [](const StreamState& self, nb::handle) {
                self.demandPresent();
                return std::make_shared<StreamState>(copyOf(self, self.stream().name()));
            },
            nb::sig("def __deepcopy__(self, memo: typing.Any, /) -> Stream"))
        .def("__reduce__", reduced, nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"))
        .def("__eq__", isEqual, kAnything, nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("get", getOr, nb::arg("key").none(), nb::arg("default") = nb::none(),
             nb::sig("def get(self, key: object, default: typing.Any = None) -> typing.Any"))
        .def("__reversed__", reversedKeys,
             nb::sig("def __reversed__(self) -> collections.abc.Iterator[typing.Any]"))
        .def("__repr__", [](const StreamPtr& self) { return textOf(shown(self)); });
    refuseHash(type);
    defineTables(
        type, [](const StreamState& self) -> const StreamState& { return self; },
        [](const StreamState&) { return Rows::all(); });
    defineFromTables(type);
    module.def("_stream_of", made,
               nb::sig("def _stream_of(name: str, structure: Structure, index_type: str, "
                       "keys: list[typing.Any], rows: list[typing.Any]) -> Stream"));
}

}  // namespace orbo::Python
