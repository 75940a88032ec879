// What goes wrong, as the exceptions of the package.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/Accessor.h>

#include <string>
#include <string_view>
#include <vector>

#include "Text.h"
#include "values/ClosestName.h"

namespace orbo::Python {

/// Gives a `quilmeta.Finding`. `file` is null where there is none.
nb::object findingOf(const Data::Finding& finding, const std::string& file);
/// Gives a tuple of `quilmeta.Finding`.
nb::object findingsOf(const std::vector<Data::Finding>& findings, const std::string& file);

/// A class of `quilmeta._errors`.
nb::object errorClass(const char* className);
/// These throw an exception of `quilmeta._errors`, by the name of its class.
[[noreturn]] void raise(const char* className, const std::string& message);
[[noreturn]] void raise(const char* className, const std::string& message,
                        const std::vector<Data::Finding>& findings, const std::string& file);
/// Throws an `UnknownNameError`, which is a `KeyError`: "no channel "vertx" in node "a"", with the
/// name that was perhaps meant.
[[noreturn]] void raiseUnknownName(const std::string& what, std::string_view name,
                                   const std::string& where, std::string_view closest);
/// The same; `names` are those that there are.
template <typename Names>
[[noreturn]] void raiseUnknown(const std::string& what, std::string_view name,
                               const std::string& where, const Names& names) {
    Quilmeta::ClosestName closest(name);
    for (const auto& known : names) closest.offer(known);
    raiseUnknownName(what, name, where, closest.found());
}
/// Throws an `OSError` of the class that fits `error`, about the file.
[[noreturn]] void raiseSystemError(int error, const std::string& file);
/// Warns with a `QuilWarning`; throws when the user has warnings made errors.
void warn(const std::string& message);

/// Throws the exception that a failed read stands for.
[[noreturn]] void raiseUnreadable(const Data::Accessor& scene, const std::string& file);
/// Throws a `BusyError` when the findings are about another program, else a `RefusedError`.
[[noreturn]] void raiseRefusal(const std::vector<Data::Finding>& findings, const std::string& file);
std::string withoutLineEnd(std::string text);
/// Throws the exception that a failed write, or a rehearsal of one, stands for.
[[noreturn]] void raiseUnwritten(const Data::Accessor& scene, const std::string& errors);

}  // namespace orbo::Python
