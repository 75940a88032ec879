// Which names and indices scene files can hold.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace orbo::Quilmeta {

// What keeps scenes of the library's own kinds from holding a text; null when nothing does. Names
// of nodes are not among these: each kind of scene has rules of its own for them.

/// The name of a channel or stream.
const char* problemOfName(std::string_view name);
/// The name of a structure or a member.
const char* problemOfFieldName(std::string_view name);
/// The name of a type of index.
const char* problemOfIndexType(std::string_view name);
/// The text of an index.
const char* problemOfIndex(std::string_view text);

}  // namespace orbo::Quilmeta
