// Streams as values of a patch.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonValues.h"

#include <data/Stream.h>
#include <data/Structure.h>

#include <functional>
#include <optional>
#include <string>

namespace orbo::Quilmeta {

/// Gives the structure of a name; null when there is none.
using StructureFor = std::function<const Data::Structure*(const std::string& name)>;

/// Makes a stream of its JSON, which must give it this name. What is wrong is added to the problems
/// of `from`; the stream is then nothing, or not complete.
std::optional<Data::Stream> streamFrom(ValueFromJson& from, JsonCursor& cursor,
                                       const std::string& name, const StructureFor& structureFor);

}  // namespace orbo::Quilmeta
