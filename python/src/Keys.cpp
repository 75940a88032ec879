// Indices of elements as Python's keys: int, pair of int, str, or a type from a plug-in.
// SPDX-License-Identifier: Apache-2.0
#include "Keys.h"

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>

#include <limits>

#include "Text.h"

namespace orbo::Python {

namespace {

using Data::Index;
using Data::IndexPair;
using Data::IndexString;
using Data::IndexType;

nb::object typesModule() { return nb::module_::import_("quilmeta._indices"); }

/// Also takes what counts as an integer, such as NumPy's. Nothing when it is out of range.
std::optional<unsigned int> numberOf(nb::handle key) {
    const auto number = nb::steal(PyNumber_Index(key.ptr()));
    if (!number.is_valid()) nb::raise_python_error();
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
    if (value == -1 && PyErr_Occurred()) nb::raise_python_error();
    if (overflow != 0 || value < 0 || value > std::numeric_limits<unsigned int>::max())
        return std::nullopt;
    return static_cast<unsigned int>(value);
}

std::optional<Index> pairOf(nb::handle key) {
    const nb::tuple numbers = nb::borrow<nb::tuple>(key);
    if (numbers.size() != 2) throw nb::type_error("a pair of indices has two numbers");
    const auto first = numberOf(numbers[0]);
    const auto second = numberOf(numbers[1]);
    if (!first || !second) return std::nullopt;
    return Index(IndexPair(*first, *second));
}

/// Makes an index of a type that only a plug-in, or the Python program, knows.
Index otherOf(nb::handle key) {
    const nb::object parts = typesModule().attr("parts_of")(key);
    const std::string type = bytesOf(parts[0], "the name of an index type");
    const std::string text = bytesOf(parts[1], "the text of an index");
    return indexOfType(type, text);
}

nb::object keyOf(const IndexType& typed) {
    if (const auto* pair = dynamic_cast<const IndexPair*>(&typed)) {
        unsigned int first = 0;
        unsigned int second = 0;
        pair->getIndexPair(first, second);
        return nb::make_tuple(first, second);
    }
    if (const auto* text = dynamic_cast<const IndexString*>(&typed))
        return textOf(text->indexString());
    return typesModule().attr("index_of")(textOf(typed.typeName()), textOf(typed.asString()));
}

}  // namespace

Index indexOfType(const std::string& type, const std::string& text) {
    try {
        return Index::doCreate(type, text);
    } catch (Index::eCreationErrors error) {
        if (error != Index::eCreatorNotFound)
            throw nb::value_error(("\"" + text + "\" is no index of type " + type).c_str());
    }
    return Index(Data::IndexText(type, text));
}

std::optional<Index> indexOf(nb::handle key) {
    if (PyUnicode_Check(key.ptr()) || PyBytes_Check(key.ptr()))
        return Index(IndexString(bytesOf(key, "an index")));
    if (PyTuple_Check(key.ptr())) return pairOf(key);
    if (!PyIndex_Check(key.ptr())) return otherOf(key);
    const auto number = numberOf(key);
    if (!number) return std::nullopt;
    return Index(*number);
}

nb::object keyOf(const Index& index) {
    if (const IndexType* typed = index.complexIndex()) return keyOf(*typed);
    return nb::int_(index.index());
}

nb::object keyOf(const Data::ElementIndex& index) {
    if (const IndexType* typed = index.complexIndex()) return keyOf(*typed);
    return nb::int_(index.index());
}

std::string shownKey(nb::handle key) { return nb::repr(key).c_str(); }

}  // namespace orbo::Python
