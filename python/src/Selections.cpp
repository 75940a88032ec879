// The parts of a scene that a call is about.
// SPDX-License-Identifier: Apache-2.0
#include "Selections.h"

#include <string>
#include <vector>

#include "Text.h"

namespace orbo::Python {

namespace {

std::vector<std::string> patternsOf(nb::handle given, const char* what) {
    if (given.is_none()) return {};
    if (PyUnicode_Check(given.ptr()) || PyBytes_Check(given.ptr())) return {bytesOf(given, what)};
    if (!PyObject_HasAttrString(given.ptr(), "__iter__"))
        throw nb::type_error((std::string(what) + " is a text, or a list of texts").c_str());
    std::vector<std::string> patterns;
    for (nb::handle pattern : given) patterns.push_back(bytesOf(pattern, what));
    // To the command line no pattern means everything, which nobody wants by accident.
    if (patterns.empty())
        throw nb::value_error((std::string(what) + ": the list is empty; None is all").c_str());
    return patterns;
}

}  // namespace

Quilmeta::SelectionArguments selectionOf(nb::handle node, nb::handle channel, nb::handle stream,
                                         bool fixed) {
    return {patternsOf(node, "a pattern for nodes"), patternsOf(channel, "a pattern for channels"),
            patternsOf(stream, "a pattern for streams"), fixed};
}

}  // namespace orbo::Python
