// Places of changes, as findings have them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <string>
#include <vector>

#include "json/JsonProblems.h"
#include "patches/Apply.h"
#include "patches/Patch.h"
#include "process/CommandError.h"

namespace orbo::Python {

namespace nb = nanobind;

/// Gives a `quilmeta.Finding` with the names of the change's place, unless that is null.
nb::object findingAt(const char* code, const std::string& message, const std::string& file,
                     const Quilmeta::Change* change);
/// Throws a `RefusedError` with what stands in the way of a patch.
[[noreturn]] void raiseProblems(const std::vector<Quilmeta::ApplyProblem>& problems,
                                const std::string& file);
/// Throws a `DocumentError` with all that is wrong in a document, whose file may be "".
[[noreturn]] void raiseDocument(const Quilmeta::JsonProblems& problems, const std::string& file);
/// The same for what is wrong in a table, whose messages begin with "line 3: ".
[[noreturn]] void raiseTable(const Quilmeta::CommandError& error, const std::string& file);
/// Throws a `RefusedError` about the file that the error names, or else this one.
[[noreturn]] void raiseCommand(const Quilmeta::CommandError& error, const std::string& file);

}  // namespace orbo::Python
