// Where two structures, or the metadata of two nodes, differ.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/Structure.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// What is different about `ours`: "no member "x", extra member "y", member "side" is int8 instead
/// of int16". Empty when they are equal but for their names.
std::string differenceOf(const Data::Structure& ours, const Data::Structure& theirs);

/// The first place where `ours` is different: "channel "joints": stream "pose": no index 3". Empty
/// when they are equal, as far as a scene file can tell: channels without streams do not count, and
/// strings that are missing are empty.
std::string differenceOf(const Data::Associations& ours, const Data::Associations& theirs);

/// What is lost when the first gives way to the second, a line each.
std::vector<std::string> lossesOf(const Data::Structure& ours, const Data::Structure& theirs);
std::vector<std::string> lossesOf(const Data::Associations& ours, const Data::Associations& theirs);

}  // namespace orbo::Quilmeta
