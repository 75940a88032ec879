// Patches and documents that a call is given.
// SPDX-License-Identifier: Apache-2.0
#include "Documents.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "ChangeFindings.h"
#include "Problems.h"
#include "Scenes.h"
#include "process/InputText.h"

namespace orbo::Python {

namespace {

bool isJson(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    return start != text.npos && (text[start] == '{' || text[start] == '[');
}

std::string dumped(nb::handle document) {
    const nb::module_ documents = nb::module_::import_("quilmeta._documents");
    return bytesOf(documents.attr("dumped")(document), "a document");
}

/// The file's name, which stands for no standard input.
std::string documentFile(nb::handle path) {
    std::string file = fileNameOf(path);
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) raiseSystemError(errno, file);
    if (S_ISDIR(status.st_mode)) raiseSystemError(EISDIR, file);
    if (::access(file.c_str(), R_OK) != 0) raiseSystemError(errno, file);
    return file == "-" ? "./-" : file;
}

}  // namespace

GivenDocument::GivenDocument(nb::handle given, const char* what) {
    if (PyDict_Check(given.ptr())) {
        fText = dumped(given);
        return;
    }
    if (PyUnicode_Check(given.ptr()) || PyBytes_Check(given.ptr())) {
        fText = bytesOf(given, what);
        if (isJson(fText)) return;
        fText.clear();
    } else if (!PyObject_HasAttrString(given.ptr(), "__fspath__")) {
        throw nb::type_error((std::string(what) + " is a dict, JSON text, or a path, not " +
                              nb::type_name(given.type()).c_str())
                                 .c_str());
    }
    fFile = documentFile(given);
}

GivenTable::GivenTable(nb::handle given) {
    if (PyUnicode_Check(given.ptr()) || PyBytes_Check(given.ptr())) {
        fText = bytesOf(given, "a table");
        if (fText.find('\n') != std::string::npos) return;
    }
    fFile = documentFile(given);
    try {
        fText = Quilmeta::inputText(fFile);
    } catch (const Quilmeta::CommandError& error) {
        raise("QuilError", fFile + ": " + withoutLineEnd(error.what()));
    }
}

void GivenDocument::read(const std::function<void(Quilmeta::JsonSource& source)>& read) const {
    try {
        const nb::gil_scoped_release unlocked;
        Quilmeta::JsonSource source = fFile.empty() ? Quilmeta::JsonSource(std::string_view(fText))
                                                    : Quilmeta::JsonSource::ofFile(fFile);
        read(source);
    } catch (const Quilmeta::JsonError& error) {
        raiseDocument(error.problems, fFile);
    } catch (const Quilmeta::CommandError& error) {
        raise("QuilError", fFile + ": " + withoutLineEnd(error.what()));
    }
}

}  // namespace orbo::Python
