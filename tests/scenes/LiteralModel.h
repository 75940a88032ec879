// What another reader makes of a text scene, to be held against what the library makes of it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <map>
#include <memory>
#include <string>

#include "core/StructureRegistry.h"
#include "scenes/LiteralReader.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/RecordReader.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

/// Texts by what they are and their name.
using ModelTexts = std::map<std::string, std::string>;

inline void addText(ModelTexts& texts, const Structure& structure) {
    Findings ignored;
    const auto record = recordOf(structure, ignored);
    texts.emplace(std::string("structure ") + structure.name(), record ? record->text : "");
}
inline void addText(ModelTexts& texts, const std::string& node, const Associations& associations) {
    Findings ignored;
    const auto record = recordOf(node, associations, true, ignored);
    texts.emplace("node " + node, record ? record->text : "");
}

/// Of several of one name the first in the file that can be read counts.
inline ModelTexts literalModelOf(const std::string& scene) {
    const StructureRegistry::SetAside own;
    ReadContext context;
    context.unknownIndexTypes = IndexTypes::Unknown::kAsText;
    const std::vector<LiteralRecord> records = LiteralReader::read(scene);
    ModelTexts texts;
    Findings ignored;
    for (const LiteralRecord& found : records) {
        if (!found.isStructure) continue;
        const auto structure = readStructure(
            {SceneRecord::Kind::kStructure, found.format, "", found.value}, context, ignored);
        if (!structure || Structure::structureByName(structure->name())) continue;
        Structure::registerStructure(*structure);
        addText(texts, *structure);
    }
    for (const LiteralRecord& found : records) {
        if (found.isStructure) continue;
        const auto associations = readAssociations(
            {SceneRecord::Kind::kAssociations, found.format, found.target, found.value}, context,
            ignored);
        if (associations) addText(texts, found.target, *associations);
    }
    return texts;
}

inline ModelTexts modelOf(const Accessor& accessor) {
    ModelTexts texts;
    for (const Structure* structure : accessor.structures()) addText(texts, *structure);
    for (const auto& [node, associations] : accessor.associations()) {
        addText(texts, node, associations);
    }
    return texts;
}

/// As the library reads the scene of that name.
inline ModelTexts modelOf(const std::string& fileName) {
    const auto accessor = Accessor::accessorByExtension(fileName);
    accessor->setReadPolicy({true});
    std::string ignored;
    accessor->read(fileName, ignored);
    return modelOf(*accessor);
}

/// Empty when both read the same.
inline std::string difference(const ModelTexts& literal, const ModelTexts& ours) {
    std::string all;
    for (const auto& [what, text] : ours) {
        const auto found = literal.find(what);
        if (found == literal.end()) {
            all += "lost: " + what + "\n";
        } else if (found->second != text) {
            all += "other: " + what + "\n" + text + "\nis\n" + found->second + "\n";
        }
    }
    for (const auto& found : literal) {
        if (ours.count(found.first) == 0) all += "invented: " + found.first + "\n";
    }
    return all;
}

}  // namespace orbo::Data
