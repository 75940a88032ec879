// Structures as Python has them: they never change.
// SPDX-License-Identifier: Apache-2.0
#include "Structures.h"

#include <limits>

#include "ArrowExport.h"
#include "Bindings.h"
#include "Mappings.h"
#include "Problems.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Data::Member;
using Data::Structure;

nb::object structuresModule() { return nb::module_::import_("quilmeta._structures"); }

nb::object objectOf(const Member& member) {
    return structuresModule().attr("Member")(textOf(member.name()), Member::typeName(member.type()),
                                             member.length());
}

unsigned int lengthOf(nb::handle length) {
    const auto number = nb::cast<long long>(length);
    if (number < 1 || number > std::numeric_limits<unsigned int>::max())
        throw nb::value_error("a member has a length of 1 or more");
    return static_cast<unsigned int>(number);
}

/// Adds a `Member`, or a tuple of name, type and perhaps length.
void add(Structure& structure, nb::handle given) {
    const nb::object member = structuresModule().attr("member_of")(given);
    const std::string name = nameOf(member.attr("name"), "the name of a member");
    const std::string type = nameOf(member.attr("type"), "the type of a member");
    const Member::eDataType number = Member::typeFromName(type.c_str());
    if (number == Member::kInvalid)
        throw nb::value_error(("there is no type " + Quilmeta::inQuotes(type)).c_str());
    const auto added =
        structure.tryAddMember(number, lengthOf(member.attr("length")), name.c_str());
    if (!added) throw nb::value_error(added.reason().c_str());
}

StructurePtr made(nb::handle name, nb::handle members) {
    const RefPtr<Structure> structure(Structure::create());
    structure->setName(nameOf(name, "the name of a structure").c_str());
    for (nb::handle member : members) add(*structure, member);
    return StructurePtr(structure.get());
}

nb::tuple membersOf(const StructureValue& value) {
    nb::list members;
    for (const Member& member : *value.structure) members.append(objectOf(member));
    return nb::tuple(members);
}

nb::list namesOf(const StructureValue& value) {
    nb::list names;
    for (const Member& member : *value.structure) names.append(textOf(member.name()));
    return names;
}

std::string shown(const StructureValue& value) {
    std::string text = "<quilmeta.Structure " + Quilmeta::inQuotes(value.structure->name()) + ": ";
    bool isFirst = true;
    for (const Member& member : *value.structure) {
        if (!isFirst) text += ", ";
        isFirst = false;
        text += Member::typeName(member.type());
        if (member.length() > 1) text += '[' + std::to_string(member.length()) + ']';
        text += ' ' + Quilmeta::shownName(member.name());
    }
    return text + '>';
}

}  // namespace

std::vector<std::string> memberNames(const Structure& structure) {
    std::vector<std::string> names;
    for (const Member& member : structure) names.emplace_back(member.name());
    return names;
}

const Member& memberOf(const Structure& structure, const std::string& name) {
    const Member* const member = structure.member(name);
    if (member) return *member;
    raiseUnknown("member", name, "structure " + Quilmeta::inQuotes(structure.name()),
                 memberNames(structure));
}

StructurePtr structureOf(nb::handle source) {
    const nb::object object = structuresModule().attr("structure_of")(source);
    return nb::cast<const StructureValue&>(object).structure;
}

void defineStructures(nb::module_& module) {
    nb::class_<StructureValue> type(module, "Structure",
                                    "The members of an element, in order. It never changes.");
    type.def(
            "__init__",
            [](StructureValue* self, const nb::str& name, const nb::iterable& members) {
                new (self) StructureValue{made(name, members)};
            },
            nb::arg("name"), nb::arg("members"),
            nb::sig(
                "def __init__(self, name: str, members: collections.abc.Iterable["
                "quilmeta._structures.Member | tuple[str, str] | tuple[str, str, int]]) -> None"))
        .def_prop_ro("name",
                     [](const StructureValue& self) { return textOf(self.structure->name()); })
        .def_prop_ro("members", membersOf,
                     nb::sig("def members(self) -> tuple[quilmeta._structures.Member, ...]"))
        .def_prop_ro(
            "itemsize", [](const StructureValue& self) { return self.structure->totalSize(); },
            "The bytes that one element takes, without the text of its strings.")
        .def("__len__", [](const StructureValue& self) { return self.structure->size(); })
        .def(
            "__iter__", [](const StructureValue& self) { return nb::iter(namesOf(self)); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[str]"),
            "The names of the members, in order.")
        .def(
            "__contains__",
            [](const StructureValue& self, nb::handle name) {
                return PyUnicode_Check(name.ptr()) &&
                       self.structure->member(bytesOf(name, "a name")) != nullptr;
            },
            kAnything, nb::sig("def __contains__(self, name: object, /) -> bool"))
        .def(
            "__getitem__",
            [](const StructureValue& self, nb::handle name) {
                return objectOf(memberOf(*self.structure, bytesOf(name, "a name")));
            },
            kAnything,
            nb::sig("def __getitem__(self, name: str, /) -> quilmeta._structures.Member"))
        .def(
            "__eq__",
            [](const StructureValue& self, nb::handle other) {
                StructureValue* value = nullptr;
                return nb::try_cast(other, value) && value && *self.structure == *value->structure;
            },
            kAnything, nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("__hash__",
             [](const StructureValue& self) {
                 return nb::hash(nb::make_tuple(textOf(self.structure->name()), membersOf(self)));
             })
        .def(
            "__reduce__",
            [](const StructureValue& self) {
                return nb::make_tuple(
                    nb::type<StructureValue>(),
                    nb::make_tuple(textOf(self.structure->name()), membersOf(self)));
            },
            nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"))
        .def("get", getOr, nb::arg("name").none(), nb::arg("default") = nb::none(),
             nb::sig("def get(self, name: object, default: typing.Any = None) -> typing.Any"))
        .def(
            "__arrow_c_schema__",
            [](const StructureValue& self) { return arrowSchemaOf(*self.structure); },
            nb::sig("def __arrow_c_schema__(self) -> object"),
            "The members as the columns of a table of Arrow.")
        .def("__repr__", [](const StructureValue& self) { return textOf(shown(self)); });
    defineViews(type, "quilmeta._structures.Member");
}

}  // namespace orbo::Python
