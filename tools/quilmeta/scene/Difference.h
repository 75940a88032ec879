// Where two structures, or two streams, differ.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>
#include <data/Structure.h>

#include <string>

namespace orbo::Quilmeta {

/// Says what is different about `ours`: "no member "x", extra member "y", member "side" is int8
/// instead of int16". Empty when both have the same members in the same order, whatever their own
/// names.
std::string differenceOf(const Data::Structure& ours, const Data::Structure& theirs);

/// Says the first place where `ours` is different: "no index 3", "structure "A" instead of "B"".
/// Empty when a scene file could not tell them apart: it has no null strings.
std::string differenceOf(const Data::Stream& ours, const Data::Stream& theirs);

}  // namespace orbo::Quilmeta
