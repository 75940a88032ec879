// The words of the scene files.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <string>

namespace orbo::Data::AccessorQuil {

/// Gives the key of the scene's own associations in `Accessor::associations()`: the empty string.
///
///     const std::string& key = AccessorQuil::getSceneAssociationsName();
///     Associations& scene = accessor->associations()[key];
METADATA_API const std::string& getSceneAssociationsName();

/// These are the words of text scenes. All live as long as the library.
namespace Ascii {
/// These give the beginnings of the first line and of the last.
METADATA_API const std::string& getHeaderPrefix();
METADATA_API const std::string& getTrailerPrefix();
/// These give the statement that holds a structure, and its flags.
METADATA_API const std::string& getDataStructureCommandName();
METADATA_API const std::string& getDataStructureCommandFormatFlag();
METADATA_API const std::string& getDataStructureCommandAsStringFlag();
/// These give the statement that holds the metadata of a node or of the scene, and its flags.
METADATA_API const std::string& getApplyMetadataCommandName();
METADATA_API const std::string& getApplyMetadataCommandFormatFlag();
METADATA_API const std::string& getApplyMetadataCommandValueFlag();
METADATA_API const std::string& getApplyMetadataCommandSceneFlag();
/// These give statements of the application, which no metadata follows.
METADATA_API const std::string& getConnectAttrCommandName();
METADATA_API const std::string& getCreateNodeCommandName();
METADATA_API const std::string& getSetAttrCommandName();
METADATA_API const std::string& getRelationshipCommandName();
METADATA_API const std::string& getSelectCommandName();
}  // namespace Ascii

/// These are the tags of chunks and the types of groups in binary scenes, four characters each. All
/// live as long as the library.
namespace Binary {
/// Gives the tag of a group of chunks.
METADATA_API const std::string& getFormChunkName();
/// Gives the type of the group that is the whole file.
METADATA_API const std::string& getMainFormChunkType();
/// These give the chunks that hold a structure, the metadata of a node, and that of the scene.
METADATA_API const std::string& getMetaDataStructureChunkName();
METADATA_API const std::string& getApplyNodeMetaDataChunkName();
METADATA_API const std::string& getApplySceneMetaDataChunkName();
/// Gives the chunk at the end, which has the distance back to the metadata.
METADATA_API const std::string& getBackwardChunkSizeChunkName();
}  // namespace Binary

}  // namespace orbo::Data::AccessorQuil
