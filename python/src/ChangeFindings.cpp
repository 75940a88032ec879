// Places of changes, as findings have them.
// SPDX-License-Identifier: Apache-2.0
#include "ChangeFindings.h"

#include <data/IndexPair.h>

#include <cstdio>
#include <utility>

#include "Problems.h"
#include "json/JsonCursor.h"
#include "process/Messages.h"

namespace orbo::Python {

namespace {

using Kind = Quilmeta::Change::Kind;
using Quilmeta::JsonCursor;

/// Gives the text form of an index that is JSON.
std::string indexText(const std::string& json) {
    JsonCursor cursor(json);
    if (cursor.kind() == JsonCursor::Kind::kString) return cursor.string();
    if (cursor.kind() != JsonCursor::Kind::kList) return json;
    std::string text;
    for (cursor.open(); cursor.next();)
        text += (text.empty() ? "" : " ") + std::string(cursor.skip());
    return text;
}

nb::dict findingFields(const char* code, const std::string& message, const std::string& file) {
    nb::dict fields;
    fields["code"] = nb::str(code);
    fields["message"] = textOf(message);
    if (!file.empty()) fields["file"] = textOf(file);
    return fields;
}

void addPlace(nb::dict& fields, const Quilmeta::Change& change) {
    if (change.kind == Kind::kStructure) {
        fields["structure"] = textOf(change.structure);
        return;
    }
    fields["node"] = textOf(change.node);
    fields["channel"] = textOf(change.channel);
    fields["stream"] = textOf(change.stream);
    if (!change.index.empty()) fields["index"] = textOf(indexText(change.index));
    if (change.kind == Kind::kSet) fields["member"] = textOf(change.member);
}

[[noreturn]] void raiseWith(const char* className, const std::string& message,
                            const nb::list& findings) {
    const nb::object type = errorClass(className);
    PyErr_SetObject(type.ptr(), type(textOf(message), nb::tuple(findings)).ptr());
    nb::raise_python_error();
}

}  // namespace

nb::object findingAt(const char* code, const std::string& message, const std::string& file,
                     const Quilmeta::Change* change) {
    nb::dict fields = findingFields(code, message, file);
    if (change) addPlace(fields, *change);
    return errorClass("Finding")(**fields);
}

void raiseProblems(const std::vector<Quilmeta::ApplyProblem>& problems, const std::string& file) {
    nb::list findings;
    std::string text;
    for (const Quilmeta::ApplyProblem& problem : problems) {
        findings.append(findingAt("patch-mismatch", problem.message, file, &problem.place));
        text += '\n' + problem.text();
    }
    raiseWith("RefusedError", file + ": the patch does not fit, nothing was changed" + text,
              findings);
}

void raiseDocument(const Quilmeta::JsonProblems& problems, const std::string& file) {
    nb::list findings;
    for (const auto& problem : problems.sorted()) {
        nb::dict fields = findingFields("document-wrong", problem.text, file);
        fields["line"] = nb::int_(problem.line);
        findings.append(errorClass("Finding")(**fields));
    }
    const std::string text = withoutLineEnd(problems.text());
    raiseWith("DocumentError", file.empty() ? text : file + ": " + text, findings);
}

void raiseTable(const Quilmeta::CommandError& error, const std::string& file) {
    nb::list findings;
    for (const std::string& message : Quilmeta::messagesIn(error.what())) {
        unsigned long line = 0;
        int start = 0;
        // The other lines sum up.
        if (std::sscanf(message.c_str(), "line %lu: %n", &line, &start) != 1) continue;
        nb::dict fields = findingFields("document-wrong", message.substr(start), file);
        fields["line"] = nb::int_(line);
        findings.append(errorClass("Finding")(**fields));
    }
    const std::string text = withoutLineEnd(error.what());
    raiseWith("DocumentError", file.empty() ? text : file + ": " + text, findings);
}

void raiseCommand(const Quilmeta::CommandError& error, const std::string& file) {
    const auto* const other = dynamic_cast<const Quilmeta::FileError*>(&error);
    raise("RefusedError", (other ? other->file() : file) + ": " + withoutLineEnd(error.what()));
}

}  // namespace orbo::Python
