// What Python's mappings have beside looking names up.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <string>

namespace orbo::Python {

namespace nb = nanobind;

/// `self[key]`, or `otherwise` where that raises `KeyError`.
nb::object getOr(nb::handle self, nb::handle key, nb::handle otherwise);
/// A view of one of the classes of `collections.abc`; raises what `len(self)` raises.
nb::object viewOf(nb::handle self, const char* className);
/// Walks over what `self` has now, from the last to the first.
nb::object reversedKeys(nb::handle self);

/// Defines `keys`, `values`, `items` and `reversed` of a mapping from texts to a class.
template <typename Class>
void defineViews(Class& type, const std::string& valueName) {
    const std::string begin = "(self) -> collections.abc.";
    const auto signature = [](const std::string& text) { return nb::sig(text.c_str()); };
    const auto view = [](const char* className) {
        return [className](nb::handle self) { return viewOf(self, className); };
    };
    type.def("keys", view("KeysView"), signature("def keys" + begin + "KeysView[str]"))
        .def("values", view("ValuesView"),
             signature("def values" + begin + "ValuesView[" + valueName + ']'))
        .def("items", view("ItemsView"),
             signature("def items" + begin + "ItemsView[str, " + valueName + ']'))
        .def("__reversed__", reversedKeys, signature("def __reversed__" + begin + "Iterator[str]"));
}

/// For what is equal by its content, which changes.
template <typename Class>
void refuseHash(Class& type) {
    type.attr("__hash__") = nb::none();
}

}  // namespace orbo::Python
