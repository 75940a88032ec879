// Tells what is lost when metadata gives way to other metadata of the same name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>
#include <data/Structure.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Lists the members of `ours` that `theirs` lacks or has with another type, a line each.
std::vector<std::string> lossesOf(const Data::Structure& ours, const Data::Structure& theirs);

/// Lists what of `ours` goes when `theirs` takes its place, a line each that continues the name of
/// the stream: ", 2 elements: index a, b", ", the values of 1 element: index c".
std::vector<std::string> lossesOf(const Data::Stream& ours, const Data::Stream& theirs);

}  // namespace orbo::Quilmeta
