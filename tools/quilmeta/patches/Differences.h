// Compares the metadata of two scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Patch.h"
#include "selection/SceneView.h"

namespace orbo::Quilmeta {

/// The changes that make the left side the right one: structures that come or change, then streams,
/// elements and values in the library's order, then structures that go. Values are compared bit by
/// bit. Channels and nodes without streams count as nothing. Takes time and memory in proportion to
/// the sizes of both sides, and little for streams that are equal.
Patch differences(const SceneView& left, const SceneView& right);

/// Whether there is no difference between two streams but their names.
bool areSame(const Data::Stream& left, const Data::Stream& right);

/// A stream, and a structure, as values of a patch.
std::string jsonOf(const Data::Stream& stream);
std::string jsonOf(const Data::Structure& structure);

}  // namespace orbo::Quilmeta
