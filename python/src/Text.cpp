// Texts of scenes as Python's, whatever bytes they have.
// SPDX-License-Identifier: Apache-2.0
#include "Text.h"

#include <functional>

namespace orbo::Python {

nb::str textOf(std::string_view bytes) {
    PyObject* const text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()),
                                                "surrogateescape");
    if (!text) nb::raise_python_error();
    return nb::steal<nb::str>(text);
}

nb::object textOrNone(const char* bytes) {
    if (!bytes) return nb::none();
    return textOf(bytes);
}

TextCache::TextCache(std::size_t texts) {
    constexpr std::size_t kMost = std::size_t{1} << 16;
    std::size_t size = 1;
    while (size < texts && size < kMost) size *= 2;
    fEntries.resize(size);
}

nb::object TextCache::textOrNone(const char* bytes) {
    if (!bytes) return nb::none();
    const std::string_view wanted(bytes);
    Entry& entry = fEntries[std::hash<std::string_view>()(wanted) & (fEntries.size() - 1)];
    if (!entry.text.is_valid() || entry.bytes != wanted) entry = {wanted, textOf(wanted)};
    return entry.text;
}

std::string bytesOf(nb::handle text, const char* what) {
    if (PyBytes_Check(text.ptr())) {
        char* data = nullptr;
        Py_ssize_t size = 0;
        if (PyBytes_AsStringAndSize(text.ptr(), &data, &size) != 0) nb::raise_python_error();
        return {data, static_cast<std::size_t>(size)};
    }
    if (!PyUnicode_Check(text.ptr()))
        throw nb::type_error(
            (std::string(what) + " is a str, not " + nb::type_name(text.type()).c_str()).c_str());
    Py_ssize_t size = 0;
    if (const char* plain = PyUnicode_AsUTF8AndSize(text.ptr(), &size))
        return {plain, static_cast<std::size_t>(size)};
    PyErr_Clear();  // there are surrogates
    const auto bytes = nb::steal(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!bytes.is_valid()) {
        PyErr_Clear();
        throw nb::value_error(
            (std::string(what) + " has a surrogate that stands for no byte").c_str());
    }
    return bytesOf(bytes, what);
}

std::string nameOf(nb::handle text, const char* what) {
    std::string name = bytesOf(text, what);
    if (name.find('\0') != std::string::npos)
        throw nb::value_error((std::string(what) + " has a NUL in it").c_str());
    return name;
}

}  // namespace orbo::Python
