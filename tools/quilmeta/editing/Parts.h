// The nodes, channels and streams that a command acts on.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/Address.h"
#include "selection/Selection.h"

#include <data/Accessor.h>
#include <data/Index.h>
#include <data/Stream.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// The levels of a scene's metadata, from the outside in.
enum class Level { kNode, kChannel, kStream };

/// The deepest level that the selection has a pattern for. A command acts on what fits there; the
/// patterns of the levels above are filters.
Level deepestLevel(const Selection& selection);
/// The patterns of one level.
const NamePatterns& patternsOf(const Selection& selection, Level level);
/// "node", "channel", "stream".
const char* wordFor(Level level);

/// What the selection finds on a level. The names below that level are empty.
std::vector<StreamAddress> partsOf(const Data::Accessor& scene, const Selection& selection,
                                   Level level);

/// `node arm, channel "joints", stream "pose"`, down to the level.
std::string placeText(const StreamAddress& part, Level level);

/// Takes the parts out of the scene. Channels and nodes that have nothing left go as well: a scene
/// file does not hold them.
void removeParts(Data::Accessor& scene, const std::vector<StreamAddress>& parts, Level level);

/// The index of the stream's element that this text names; no value when there is none, also for a
/// text that is no index of the stream's type.
std::optional<Data::Index> findIndex(const Data::Stream& stream, const std::string& text);

/// Takes the elements with these indices out of the streams, and returns how many there were.
size_t removeElements(Data::Accessor& scene, const std::vector<StreamAddress>& streams,
                      const std::vector<std::string>& indices);

}  // namespace orbo::Quilmeta
