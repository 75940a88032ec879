// Structures as Python has them: they never change.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <string>

#include "Model.h"

namespace orbo::Python {

/// What a Python object of the class Structure holds.
struct StructureValue {
    StructurePtr structure;
};

/// Gives the member; throws `UnknownNameError` when the structure has none of that name.
const Data::Member& memberOf(const Data::Structure& structure, const std::string& name);
/// Gives the names of the members, in order.
std::vector<std::string> memberNames(const Data::Structure& structure);
/// Makes a structure of a `Structure`, or of anything that `quilmeta.structure_of` takes.
StructurePtr structureOf(nb::handle source);

}  // namespace orbo::Python
