// The parts of a scene that a call is about.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include "selection/Selection.h"

namespace orbo::Python {

namespace nb = nanobind;

/// Takes for each of the three a pattern, several, or None, as the options of the command line
/// take them. With `fixed` they are names. Throws a `ValueError` for an empty list.
Quilmeta::SelectionArguments selectionOf(nb::handle node, nb::handle channel, nb::handle stream,
                                         bool fixed);

}  // namespace orbo::Python
