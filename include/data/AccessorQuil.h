// The words of the scene files.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <string>

namespace orbo::Data::AccessorQuil {

/// The key of the scene's own associations: the empty string.
METADATA_API const std::string& getSceneAssociationsName();

/// Text scenes.
namespace Ascii {
METADATA_API const std::string& getHeaderPrefix();
METADATA_API const std::string& getTrailerPrefix();
METADATA_API const std::string& getDataStructureCommandName();
METADATA_API const std::string& getDataStructureCommandFormatFlag();
METADATA_API const std::string& getDataStructureCommandAsStringFlag();
METADATA_API const std::string& getApplyMetadataCommandName();
METADATA_API const std::string& getApplyMetadataCommandFormatFlag();
METADATA_API const std::string& getApplyMetadataCommandValueFlag();
METADATA_API const std::string& getApplyMetadataCommandSceneFlag();
METADATA_API const std::string& getConnectAttrCommandName();
METADATA_API const std::string& getCreateNodeCommandName();
METADATA_API const std::string& getSetAttrCommandName();
METADATA_API const std::string& getRelationshipCommandName();
METADATA_API const std::string& getSelectCommandName();
}  // namespace Ascii

/// Binary scenes: tags of chunks and types of groups, four characters each.
namespace Binary {
/// A group of chunks.
METADATA_API const std::string& getFormChunkName();
/// The type of the group that is the whole file.
METADATA_API const std::string& getMainFormChunkType();
METADATA_API const std::string& getMetaDataStructureChunkName();
METADATA_API const std::string& getApplyNodeMetaDataChunkName();
METADATA_API const std::string& getApplySceneMetaDataChunkName();
METADATA_API const std::string& getBackwardChunkSizeChunkName();
}  // namespace Binary

}  // namespace orbo::Data::AccessorQuil
