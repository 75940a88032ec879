// The functions that define the classes of the module, one for each source.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>

#include <memory>

#include "Model.h"

namespace orbo::Python {

/// An argument that may be `None`, too, which nanobind refuses unless told otherwise.
constexpr auto kAnything = nb::arg().none();

void defineStructures(nb::module_& module);
void defineElements(nb::module_& module);
void defineColumns(nb::module_& module);
void defineStreams(nb::module_& module);
void defineContainers(nb::module_& module);
void defineScenes(nb::module_& module);
void defineContents(nb::module_& module);
void defineFiles(nb::module_& module);
void defineDifferences(nb::module_& module);
void defineMerging(nb::module_& module);
void definePatching(nb::module_& module);
void defineExchange(nb::module_& module);
void defineSearching(nb::module_& module);
void defineEditing(nb::module_& module);
void defineCsv();
void defineArrow(nb::module_& module);

}  // namespace orbo::Python
