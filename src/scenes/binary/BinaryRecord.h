// The metadata chunks of binary scenes: their data, taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneRecord.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "files/File.h"
#include "scenes/SceneSplicing.h"
#include "scenes/binary/BinaryChunk.h"

namespace orbo::Data {

/// The kind of a metadata chunk; empty for all other chunks.
std::optional<SceneRecord::Kind> kindOfChunk(ChunkTag tag);
/// Takes the data of a metadata chunk apart, which begins at `begin` and ends with the string;
/// empty when a text in it has no end.
std::optional<SceneRecord> parseChunk(ChunkTag tag, std::string data, std::size_t begin);
/// The message when a chunk cannot be taken apart.
const char* readFailureOf(SceneRecord::Kind kind);
/// Returns false for names and texts that contain a zero byte, which would end them.
bool appendChunk(std::string& out, const SceneRecord& record);

/// Where the text of the record begins and ends in the bytes of its chunk; empty without one.
std::optional<std::pair<std::size_t, std::size_t>> textRangeIn(std::string_view chunk);
/// Does what `appendChunk` does for associations, with splices in the text.
bool addChunk(PieceList& pieces, const SceneRecord& record,
              const std::vector<SceneSplicing::Splice>& splices);

/// Takes such a chunk apart, without the splices.
std::optional<SceneRecord> parseChunk(const std::vector<SceneChange::Piece>& pieces);

/// What can be told of a record whose chunk is damaged: its place and, as far as the name is there,
/// its node.
SceneRecord damagedRecord(Files::File& file, const BinaryChunk& chunk);

FilePlace placeOf(const BinaryChunk& chunk);

}  // namespace orbo::Data
