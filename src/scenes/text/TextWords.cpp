// The words of text scenes.
// SPDX-License-Identifier: Apache-2.0
#include <data/AccessorQuil.h>

namespace orbo::Data::AccessorQuil {

namespace {

// Constructed on first use, so that static objects of other files may use the words.
struct Words {
    std::string headerPrefix = "//Quil ASCII";
    std::string trailerPrefix = "// End of";
    std::string dataStructure = "dataStructure";
    std::string applyMetadata = "applyMetadata";
    std::string formatFlag = "-fmt";
    std::string asStringFlag = "-as";
    std::string valueFlag = "-v";
    std::string sceneFlag = "-scn";
    std::string connectAttr = "connectAttr";
    std::string createNode = "createNode";
    std::string setAttr = "setAttr";
    std::string relationship = "relationship";
    std::string select = "select";
};

const Words& words() {
    static const Words all;
    return all;
}

}  // namespace

namespace Ascii {

const std::string& getHeaderPrefix() { return words().headerPrefix; }
const std::string& getTrailerPrefix() { return words().trailerPrefix; }
const std::string& getDataStructureCommandName() { return words().dataStructure; }
const std::string& getDataStructureCommandFormatFlag() { return words().formatFlag; }
const std::string& getDataStructureCommandAsStringFlag() { return words().asStringFlag; }
const std::string& getApplyMetadataCommandName() { return words().applyMetadata; }
const std::string& getApplyMetadataCommandFormatFlag() { return words().formatFlag; }
const std::string& getApplyMetadataCommandValueFlag() { return words().valueFlag; }
const std::string& getApplyMetadataCommandSceneFlag() { return words().sceneFlag; }
const std::string& getConnectAttrCommandName() { return words().connectAttr; }
const std::string& getCreateNodeCommandName() { return words().createNode; }
const std::string& getSetAttrCommandName() { return words().setAttr; }
const std::string& getRelationshipCommandName() { return words().relationship; }
const std::string& getSelectCommandName() { return words().select; }

}  // namespace Ascii

}  // namespace orbo::Data::AccessorQuil
