// Where two structures, or the metadata of two nodes, differ.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/Structure.h>

#include <string>

namespace orbo::Quilmeta {

/// Says what is different about `ours`: "no member "x", extra member "y", member "side" is int8
/// instead of int16". Empty when both have the same members in the same order, whatever their own
/// names.
std::string differenceOf(const Data::Structure& ours, const Data::Structure& theirs);

/// Says the first place where `ours` is different: "channel "joints": stream "pose": no index 3".
/// Empty when a scene file could not tell them apart: it has no channels without streams, and no
/// null strings.
std::string differenceOf(const Data::Associations& ours, const Data::Associations& theirs);

}  // namespace orbo::Quilmeta
