// Elements as light views of a row, and values in them.
// SPDX-License-Identifier: Apache-2.0
#include "Elements.h"

#include <data/Structure.h>

#include <utility>
#include <vector>

#include "Bindings.h"
#include "Keys.h"
#include "Mappings.h"
#include "Problems.h"
#include "Structures.h"
#include "Values.h"

namespace orbo::Python {

namespace {

using Data::ConstHandle;
using Data::Index;
using Data::Member;
using Data::Stream;
using Data::Structure;

std::string described(const StreamState& stream, const Index& index) {
    return "element " + shownKey(keyOf(index)) + " of " + stream.description();
}

ConstHandle present(const StreamState& state, const Index& index) {
    state.demandPresent();
    const Stream& stream = state.stream();
    const ConstHandle element = stream.element(index);
    if (!element.hasData() && !stream.hasElement(index))
        raise("StaleError", described(state, index) + " has been removed");
    return element;
}

const char* valuesIn(ConstHandle& element, const Member& member) {
    element.setPositionByMemberName(member.name());
    return static_cast<const char*>(element.asType(member.type()));
}

nb::object valueIn(const StreamState& stream, const Index& index, const std::string& name) {
    stream.demandPresent();
    const Member& member = memberOf(stream.stream().structure(), name);
    const NoCollection undisturbed;
    return valueOf(member, valuesIn(stream, index, member));
}

/// Gives pairs of names and values, which stay as they are while Python code runs.
nb::object pairsOf(nb::handle given) {
    if (PyDict_CheckExact(given.ptr())) return nb::borrow<nb::dict>(given).items();
    return nb::module_::import_("quilmeta._structures").attr("items_of")(given);
}

nb::object itemsOf(const ElementValue& self) {
    return dictOf(*self.stream, self.index).attr("items")();
}

bool isEqual(const ElementValue& self, nb::handle other) {
    ElementValue* element = nullptr;
    const nb::dict mine = dictOf(*self.stream, self.index);
    if (nb::try_cast(other, element) && element)
        return mine.equal(dictOf(*element->stream, element->index));
    return PyDict_Check(other.ptr()) && mine.equal(other);
}

std::string shown(const ElementValue& self) {
    if (self.stream->isRemoved() || !self.stream->stream().hasElement(self.index))
        return "<quilmeta.Element, removed>";
    return "<quilmeta.Element " + shownKey(keyOf(self.index)) + ": " +
           nb::repr(dictOf(*self.stream, self.index)).c_str() + '>';
}

}  // namespace

NewValues newValuesOf(const Structure& structure, nb::handle given) {
    const nb::object items = pairsOf(given);
    NewValues values;
    for (nb::handle item : items) {
        const Member& member = memberOf(structure, bytesOf(item[0], "the name of a member"));
        values.emplace_back(&member, NewValue(member, item[1]));
    }
    return values;
}

const char* valuesIn(const StreamState& stream, const Index& index, const Member& member) {
    ConstHandle element = present(stream, index);
    const char* const values = valuesIn(element, member);
    if (!values) raise("QuilError", described(stream, index) + " has no data");
    return values;
}

void setMember(const StreamState& stream, const Index& index, const std::string& name,
               nb::handle value) {
    stream.demandWritable();
    const StructurePtr structure(&stream.stream().structure());
    const Member& member = memberOf(*structure, name);
    NewValue fresh(member, value);
    stream.demandWritable();
    // The storage's own, never constant.
    fresh.storeAt(const_cast<char*>(valuesIn(stream, index, member)));
}

void demandType(const StreamState& state, const Index& index) {
    const std::string& type = state.stream().indexType();
    if (index.typeName() == type) return;
    throw nb::type_error(
        ("the indices of " + state.description() + " are " + type + ", not " + index.typeName())
            .c_str());
}

void setElement(StreamState& state, const Index& index, nb::handle values) {
    state.demandWritable();
    const StructurePtr structure(&state.stream().structure());
    NewValues fresh = newValuesOf(*structure, values);
    state.demandWritable();
    Stream& stream = state.stream();
    demandType(state, index);
    const bool isNew = !stream.hasElement(index);
    if (isNew) state.demandMovable();
    // Storage that is dense for the sake of columns has no gaps.
    if (isNew && stream.isDense() && index.index() != stream.elementCount()) state.makeMapped();
    if (isNew) state.noteMoved();
    if (!stream.emplaceElement(index).hasData() && structure->totalSize() != 0)
        throw std::bad_alloc();
    for (auto& [member, value] : fresh)
        value.storeAt(const_cast<char*>(valuesIn(state, index, *member)));
}

nb::dict dictOf(const StreamState& stream, const Index& index) {
    const NoCollection undisturbed;
    ConstHandle element = present(stream, index);
    nb::dict values;
    for (const Member& member : stream.stream().structure()) {
        const char* const at = valuesIn(element, member);
        if (at) values[textOf(member.name())] = valueOf(member, at);
    }
    return values;
}

void defineElements(nb::module_& module) {
    nb::class_<ElementValue> type(module, "Element", nb::is_weak_referenceable(),
                                  "One element of a stream: a mapping of member names to values.");
    type.def_prop_ro(
            "index", [](const ElementValue& self) { return keyOf(self.index); },
            "The index: an int, a pair of int, a str, or of a type that is registered.")
        .def("__len__",
             [](const ElementValue& self) {
                 self.stream->demandPresent();
                 return self.stream->stream().structure().size();
             })
        .def(
            "__iter__",
            [](const ElementValue& self) { return nb::iter(dictOf(*self.stream, self.index)); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[str]"))
        .def(
            "__contains__",
            [](const ElementValue& self, nb::handle name) {
                self.stream->demandPresent();
                return PyUnicode_Check(name.ptr()) &&
                       self.stream->stream().structure().member(bytesOf(name, "a name"));
            },
            kAnything, nb::sig("def __contains__(self, name: object, /) -> bool"))
        .def(
            "__getitem__",
            [](const ElementValue& self, nb::handle name) {
                return valueIn(*self.stream, self.index, bytesOf(name, "a name"));
            },
            kAnything, nb::sig("def __getitem__(self, name: str, /) -> typing.Any"))
        .def(
            "__setitem__",
            [](const ElementValue& self, const nb::str& name, nb::handle value) {
                setMember(*self.stream, self.index, bytesOf(name, "a name"), value);
            },
            nb::arg(), kAnything,
            nb::sig("def __setitem__(self, name: str, value: typing.Any, /) -> None"))
        .def(
            "keys",
            [](const ElementValue& self) {
                return dictOf(*self.stream, self.index).attr("keys")();
            },
            nb::sig("def keys(self) -> collections.abc.KeysView[str]"))
        .def(
            "values",
            [](const ElementValue& self) {
                return dictOf(*self.stream, self.index).attr("values")();
            },
            nb::sig("def values(self) -> collections.abc.ValuesView[typing.Any]"))
        .def("items", itemsOf,
             nb::sig("def items(self) -> collections.abc.ItemsView[str, typing.Any]"))
        .def(
            "asdict", [](const ElementValue& self) { return dictOf(*self.stream, self.index); },
            nb::sig("def asdict(self) -> dict[str, typing.Any]"),
            "A copy of the values, in member order. Lists are tuples, matrices tuples of rows.")
        .def(
            "update",
            [](const ElementValue& self, nb::handle values) {
                self.stream->demandWritable();
                const StructurePtr structure(&self.stream->stream().structure());
                NewValues fresh = newValuesOf(*structure, values);
                self.stream->demandWritable();
                for (auto& [member, value] : fresh)
                    value.storeAt(const_cast<char*>(valuesIn(*self.stream, self.index, *member)));
            },
            nb::arg("values").none(), nb::sig("def update(self, values: typing.Any) -> None"),
            "Sets the members that a mapping, or a dataclass, names: all or, on an error, none.")
        .def("__eq__", isEqual, kAnything, nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("get", getOr, nb::arg("name").none(), nb::arg("default") = nb::none(),
             nb::sig("def get(self, name: object, default: typing.Any = None) -> typing.Any"))
        .def("__reversed__", reversedKeys,
             nb::sig("def __reversed__(self) -> collections.abc.Iterator[str]"))
        .def("__repr__", [](const ElementValue& self) { return textOf(shown(self)); });
    refuseHash(type);
}

}  // namespace orbo::Python
