// Shows what a dry run would change.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"

#include <data/Accessor.h>

namespace orbo::Quilmeta {

/// Prints what differs between a scene as its file has it and the scene to be written, as `diff`
/// prints it.
void showDryRun(const Data::Accessor& before, const Data::Accessor& after, Output& output);

}  // namespace orbo::Quilmeta
