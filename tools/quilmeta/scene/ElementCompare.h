// Compares members, elements and streams.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Stream.h>
#include <data/Structure.h>

#include <map>
#include <string_view>

namespace orbo::Quilmeta {

using MembersByName = std::map<std::string_view, const Data::Member*>;
/// Points into the structure, which must not change.
MembersByName membersByName(const Data::Structure& structure);

/// Compares two elements of one structure. A null string is the same as an empty one, because a
/// scene cannot tell them apart. Moves both handles to other members.
bool isSame(Data::Handle& ours, Data::Handle& theirs, const Data::Structure& structure);

/// Whether the elements of both streams can be compared: structure and index type are equal.
bool isAlike(const Data::Stream& ours, const Data::Stream& theirs);

}  // namespace orbo::Quilmeta
