// The tags of binary scenes.
// SPDX-License-Identifier: Apache-2.0
#include <data/AccessorQuil.h>

namespace orbo::Data::AccessorQuil {

namespace {

// Constructed on first use, so that static objects of other files may use the words.
struct Words {
    std::string formChunk = "FOR8";
    std::string mainFormType = "Quil";
    std::string structureChunk = "DATS";
    std::string nodeChunk = "MTDA";
    std::string sceneChunk = "SMTD";
    std::string backwardSizeChunk = "BCSZ";
};

const Words& words() {
    static const Words all;
    return all;
}

}  // namespace

namespace Binary {

const std::string& getFormChunkName() { return words().formChunk; }
const std::string& getMainFormChunkType() { return words().mainFormType; }
const std::string& getMetaDataStructureChunkName() { return words().structureChunk; }
const std::string& getApplyNodeMetaDataChunkName() { return words().nodeChunk; }
const std::string& getApplySceneMetaDataChunkName() { return words().sceneChunk; }
const std::string& getBackwardChunkSizeChunkName() { return words().backwardSizeChunk; }

}  // namespace Binary

}  // namespace orbo::Data::AccessorQuil
