// Values of members as Python's.
// SPDX-License-Identifier: Apache-2.0
#include "Values.h"

#include <data/MemberType.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "Text.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Data::Member;

constexpr int kMatrixSide = 4;

struct Free {
    void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, Free>;

template <typename T>
nb::object scalarOf(const T& value) {
    if constexpr (std::is_same_v<T, bool>)
        return nb::bool_(value);
    else if constexpr (std::is_same_v<T, char*>)
        return textOrNone(value);
    else if constexpr (std::is_floating_point_v<T>)
        return nb::float_(static_cast<double>(value));
    else
        return nb::int_(value);
}

template <typename T>
nb::tuple tupleOf(const T* values, std::size_t count) {
    nb::list list;
    for (std::size_t k = 0; k < count; ++k) list.append(scalarOf(values[k]));
    return nb::tuple(list);
}

template <typename T>
nb::tuple matrixOf(const T* values) {
    nb::list rows;
    for (int row = 0; row < kMatrixSide; ++row)
        rows.append(tupleOf(values + row * kMatrixSide, kMatrixSide));
    return nb::tuple(rows);
}

std::string subjectOf(const Member& member) { return Quilmeta::inQuotes(member.name()) + ": "; }

[[noreturn]] void refuseType(const Member& member, nb::handle value) {
    throw nb::type_error((subjectOf(member) + nb::type_name(value.type()).c_str() +
                          " does not fit " + Member::typeName(member.type()))
                             .c_str());
}

[[noreturn]] void refuseRange(const Member& member, nb::handle value) {
    const std::string message = subjectOf(member) + nb::repr(value).c_str() +
                                " is out of range for " + Member::typeName(member.type());
    PyErr_SetString(PyExc_OverflowError, message.c_str());
    nb::raise_python_error();
}

/// True for `bool`, and for the one of NumPy.
bool isTruthValue(nb::handle value) {
    if (PyBool_Check(value.ptr())) return true;
    if (PyLong_Check(value.ptr()) || PyFloat_Check(value.ptr())) return false;  // as most are
    const nb::handle type = value.type();
    const std::string name = nb::str(type.attr("__name__")).c_str();
    return (name == "bool" || name == "bool_") && type.attr("__module__").equal(nb::str("numpy"));
}

nb::object integerOf(const Member& member, nb::handle value) {
    if (isTruthValue(value)) return nb::int_(nb::bool_(nb::borrow(value)) ? 1 : 0);
    if (!PyIndex_Check(value.ptr())) refuseType(member, value);
    auto number = nb::steal(PyNumber_Index(value.ptr()));
    if (!number.is_valid()) nb::raise_python_error();
    return number;
}

template <typename T>
T integerAs(const Member& member, nb::handle value) {
    const nb::object number = integerOf(member, value);
    if constexpr (std::is_signed_v<T>) {
        int overflow = 0;
        const long long wide = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
        if (overflow == 0 && wide >= std::numeric_limits<T>::min() &&
            wide <= std::numeric_limits<T>::max())
            return static_cast<T>(wide);
    } else {
        const unsigned long long wide = PyLong_AsUnsignedLongLong(number.ptr());
        const bool isOver = PyErr_Occurred() != nullptr;
        PyErr_Clear();
        if (!isOver && wide <= std::numeric_limits<T>::max()) return static_cast<T>(wide);
    }
    refuseRange(member, value);
}

template <typename T>
T floatAs(const Member& member, nb::handle value) {
    if (PyUnicode_Check(value.ptr()) || !PyNumber_Check(value.ptr())) refuseType(member, value);
    const double number = PyFloat_AsDouble(value.ptr());
    if (number == -1 && PyErr_Occurred()) nb::raise_python_error();
    const T stored = static_cast<T>(number);
    if (std::isinf(stored) && !std::isinf(number)) refuseRange(member, value);
    return stored;
}

OwnedText textAs(const Member& member, nb::handle value) {
    if (value.is_none()) return nullptr;
    if (!PyUnicode_Check(value.ptr()) && !PyBytes_Check(value.ptr())) refuseType(member, value);
    const std::string text = nameOf(value, Quilmeta::inQuotes(member.name()).c_str());
    OwnedText copy(::strdup(text.c_str()));
    if (!copy) throw std::bad_alloc();
    return copy;
}

template <typename T>
auto scalarAs(const Member& member, nb::handle value) {
    if constexpr (std::is_same_v<T, bool>) {
        if (!isTruthValue(value)) refuseType(member, value);
        return PyObject_IsTrue(value.ptr()) == 1;
    } else if constexpr (std::is_same_v<T, char*>) {
        return textAs(member, value);
    } else if constexpr (std::is_floating_point_v<T>) {
        return floatAs<T>(member, value);
    } else {
        return integerAs<T>(member, value);
    }
}

[[noreturn]] void refuseCount(const Member& member, std::size_t wanted, std::size_t found) {
    throw nb::value_error((subjectOf(member) + std::to_string(wanted) + " values are wanted, not " +
                           std::to_string(found))
                              .c_str());
}

std::vector<nb::object> itemsOf(const Member& member, nb::handle value) {
    if (PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr()) ||
        !nb::hasattr(value, "__iter__"))
        refuseType(member, value);
    std::vector<nb::object> items;
    for (nb::handle item : value) items.push_back(nb::borrow(item));
    return items;
}

/// Takes four rows, or all 16 numbers side by side.
void addMatrix(const Member& member, nb::handle value, std::vector<nb::object>& parts) {
    const std::vector<nb::object> rows = itemsOf(member, value);
    if (rows.size() == kMatrixSide * kMatrixSide) {
        parts.insert(parts.end(), rows.begin(), rows.end());
        return;
    }
    if (rows.size() != kMatrixSide) refuseCount(member, kMatrixSide, rows.size());
    for (const nb::object& row : rows) {
        const std::vector<nb::object> numbers = itemsOf(member, row);
        if (numbers.size() != kMatrixSide) refuseCount(member, kMatrixSide, numbers.size());
        parts.insert(parts.end(), numbers.begin(), numbers.end());
    }
}

/// Gives as many objects as the member has scalars.
std::vector<nb::object> partsOf(const Member& member, int scalars, nb::handle value) {
    const bool isMatrix = scalars > 1;
    if (!isMatrix && member.length() == 1) return {nb::borrow(value)};
    std::vector<nb::object> parts;
    if (isMatrix && member.length() == 1) {
        addMatrix(member, value, parts);
        return parts;
    }
    std::vector<nb::object> items = itemsOf(member, value);
    if (items.size() != member.length()) refuseCount(member, member.length(), items.size());
    if (!isMatrix) return items;
    for (const nb::object& item : items) addMatrix(member, item, parts);
    return parts;
}

}  // namespace

nb::object valueOf(const Member& member, const char* values) {
    return Data::visitMemberType(member.type(), [&](auto type) -> nb::object {
        using T = typename decltype(type)::Scalar;
        const auto* scalars = reinterpret_cast<const T*>(values);
        if constexpr (type.kScalars == 1) {
            if (member.length() == 1) return scalarOf(*scalars);
            return tupleOf(scalars, member.length());
        } else {
            if (member.length() == 1) return matrixOf(scalars);
            nb::list matrices;
            for (unsigned int k = 0; k < member.length(); ++k)
                matrices.append(matrixOf(scalars + std::size_t{k} * type.kScalars));
            return nb::tuple(matrices);
        }
    });
}

NewValue::NewValue(const Member& member, nb::handle value)
    : fIsText(member.type() == Member::kString) {
    Data::visitMemberType(member.type(), [&](auto type) {
        using T = typename decltype(type)::Scalar;
        const std::vector<nb::object> parts = partsOf(member, type.kScalars, value);
        std::vector<decltype(scalarAs<T>(member, value))> fresh;
        fresh.reserve(parts.size());
        for (const nb::object& part : parts) fresh.push_back(scalarAs<T>(member, part));
        fBytes.resize(parts.size() * sizeof(T));
        for (std::size_t k = 0; k < parts.size(); ++k) {
            T scalar;
            if constexpr (std::is_same_v<T, char*>)
                scalar = fresh[k].release();
            else
                scalar = fresh[k];
            std::memcpy(fBytes.data() + k * sizeof(T), &scalar, sizeof(T));
        }
        return true;
    });
}

NewValue::~NewValue() {
    if (!fIsText) return;
    for (std::size_t at = 0; at < fBytes.size(); at += sizeof(char*)) {
        char* text = nullptr;
        std::memcpy(&text, fBytes.data() + at, sizeof text);
        std::free(text);
    }
}

void NewValue::storeAt(char* values) { std::swap_ranges(fBytes.begin(), fBytes.end(), values); }

void NewValue::copyTo(char* values) const {
    if (!fIsText) {
        std::copy(fBytes.begin(), fBytes.end(), values);
        return;
    }
    for (std::size_t at = 0; at < fBytes.size(); at += sizeof(char*)) {
        char* text = nullptr;
        std::memcpy(&text, fBytes.data() + at, sizeof text);
        char* const copy = text ? ::strdup(text) : nullptr;
        if (text && !copy) throw std::bad_alloc();
        char* old = nullptr;
        std::memcpy(&old, values + at, sizeof old);
        std::free(old);
        std::memcpy(values + at, &copy, sizeof copy);
    }
}

}  // namespace orbo::Python
