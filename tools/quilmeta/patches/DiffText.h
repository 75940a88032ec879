// Prints differences for people.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Patch.h"
#include "process/Output.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Prints the changes, those of one stream together: "-" for what is old, "+" for what is new. The
/// names of both sides stand above them. Prints nothing without changes.
void printDifferences(const Patch& patch, const std::string& left, const std::string& right,
                      Output& output);

/// Prints how many changes each stream has, and how many there are.
void printStatistics(const Patch& patch, Output& output);
/// The same as JSON, an object for each stream and structure.
std::vector<JsonObject> statisticsOf(const Patch& patch, const PatchFiles& files);

}  // namespace orbo::Quilmeta
