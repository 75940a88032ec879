// Tells what is lost when metadata gives way to other metadata of the same name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/Structure.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Lists the members of `ours` that `theirs` lacks or has with another type, a line each.
std::vector<std::string> lossesOf(const Data::Structure& ours, const Data::Structure& theirs);

/// Lists the streams, elements and values of `ours` that `theirs` lacks, a line for each stream.
std::vector<std::string> lossesOf(const Data::Associations& ours, const Data::Associations& theirs);

}  // namespace orbo::Quilmeta
