// What goes wrong, as the exceptions of the package.
// SPDX-License-Identifier: Apache-2.0
#include "Problems.h"

#include <cerrno>
#include <optional>
#include <sstream>

#include "scene/FindingText.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Code = Data::Finding::Code;

nb::object textOr(const std::optional<std::string>& text) {
    if (!text) return nb::none();
    return textOf(*text);
}

nb::object numberOr(const std::optional<std::uint64_t>& number) {
    if (!number) return nb::none();
    return nb::int_(*number);
}

[[noreturn]] void raise(const nb::object& exception) {
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
    nb::raise_python_error();
}

/// Only the message tells whether another program has the file.
bool isAboutOthers(const std::vector<Data::Finding>& findings) {
    for (const Data::Finding& finding : findings)
        if (finding.message.find("The file is in use by another program") == 0) return true;
    return false;
}

}  // namespace

nb::object errorClass(const char* className) {
    return nb::module_::import_("quilmeta._errors").attr(className);
}

std::string withoutLineEnd(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

nb::object findingOf(const Data::Finding& finding, const std::string& file) {
    nb::dict fields;
    fields["code"] = nb::str(Data::Finding::nameOf(finding.code));
    fields["message"] = textOf(finding.message);
    fields["file"] = file.empty() ? nb::object(nb::none()) : nb::object(textOf(file));
    fields["line"] = numberOr(finding.line);
    fields["offset"] = numberOr(finding.offset);
    fields["node"] = textOr(finding.node);
    fields["channel"] = textOr(finding.channel);
    fields["stream"] = textOr(finding.stream);
    fields["index"] = textOr(finding.index);
    fields["member"] = textOr(finding.member);
    fields["structure"] = textOr(finding.structure);
    return errorClass("Finding")(**fields);
}

nb::object findingsOf(const std::vector<Data::Finding>& findings, const std::string& file) {
    nb::list list;
    for (const Data::Finding& finding : findings) list.append(findingOf(finding, file));
    return nb::tuple(list);
}

void raise(const char* className, const std::string& message) {
    raise(errorClass(className)(textOf(message)));
}

void raise(const char* className, const std::string& message,
           const std::vector<Data::Finding>& findings, const std::string& file) {
    raise(errorClass(className)(textOf(message), findingsOf(findings, file)));
}

void raiseUnknownName(const std::string& what, std::string_view name, const std::string& where,
                      std::string_view closest) {
    std::string message = "no " + what + ' ' + Quilmeta::inQuotes(name);
    if (!where.empty()) message += " in " + where;
    nb::object suggestion = nb::none();
    if (!closest.empty()) {
        message += ", did you mean " + Quilmeta::inQuotes(closest) + '?';
        suggestion = textOf(closest);
    }
    raise(errorClass("UnknownNameError")(textOf(message), textOf(name), suggestion));
}

void raiseSystemError(int error, const std::string& file) {
    errno = error;
    PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, textOf(file).ptr());
    nb::raise_python_error();
}

void warn(const std::string& message) {
    const nb::object category = errorClass("QuilWarning");
    std::string shown;
    std::istringstream lines(message);
    for (std::string line; std::getline(lines, line);)
        shown += (shown.empty() ? "" : "\n") + Quilmeta::safeLine(line);
    if (PyErr_WarnEx(category.ptr(), shown.c_str(), 2) != 0) nb::raise_python_error();
}

void raiseUnreadable(const Data::Accessor& scene, const std::string& file) {
    const auto& findings = scene.findings();
    bool isScene = true;
    for (const Data::Finding& finding : findings) isScene &= finding.code != Code::kNotAScene;
    const char* const name = !isScene                  ? "NotASceneError"
                             : isAboutOthers(findings) ? "BusyError"
                                                       : "QuilError";
    raise(name, file + ": " + withoutLineEnd(Quilmeta::messagesOf(findings)), findings, file);
}

void raiseRefusal(const std::vector<Data::Finding>& findings, const std::string& file) {
    const char* const name = isAboutOthers(findings) ? "BusyError" : "RefusedError";
    raise(name, file + ": " + withoutLineEnd(Quilmeta::messagesOf(findings)), findings, file);
}

void raiseUnwritten(const Data::Accessor& scene, const std::string& errors) {
    const std::string& file = scene.fileName();
    std::vector<Data::Finding> failures;
    for (const Data::Finding& finding : scene.findings())
        if (finding.code == Code::kWriteFailed) failures.push_back(finding);
    if (failures.empty()) failures.emplace_back().message = errors;
    const char* const name = scene.metConflict()       ? "ConflictError"
                             : isAboutOthers(failures) ? "BusyError"
                                                       : "RefusedError";
    raise(name, file + ": " + withoutLineEnd(Quilmeta::messagesOf(failures)), failures, file);
}

}  // namespace orbo::Python
