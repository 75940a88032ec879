// Replaces the metadata section of a text scene by an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "accessors/ModelReading.h"
#include "accessors/TextSection.h"
#include "accessors/WrittenModel.h"
#include "files/File.h"

namespace orbo::Data {

/// Works on the file as it is now, whatever it was when it was read. All new bytes are in memory,
/// and checked as far as the policy asks for it, before the file is touched.
class TextSceneWriter {
  public:
    /// `taken` is what the last read found. Both outlive the writer.
    TextSceneWriter(const Accessor& accessor, const TakenNames& taken);

    bool write(std::string& errors);
    /// What the file holds of the model after a write, in place of what the last read found.
    TakenNames& written() { return fWritten; }

  private:
    /// What is written in one go, in the order of the file; each has a message for when it fails.
    enum Piece { kStructures, kNodes, kScene, kRest, kPieces };

    bool checkChanges(std::string& errors) const;
    bool writeStatements(std::string& errors);
    bool writeStructureStatement(const Structure& structure, std::string& errors);
    bool writeNodeStatement(const WrittenModel::Node& node, std::string& errors);
    bool openScene(std::string& errors);
    bool decide(TextSection& section, std::string& errors);
    void decide(TextSection& section, SceneRecord::Kind kind, SectionPlan& plan);
    void keepStructuresOfKept(TextSection& section) const;
    void dropRepeated(TextSection& section) const;
    void compose(const TextSection& section);
    bool verify(std::string& errors) const;
    bool rewrite(const TextSection& section, std::string& errors);

    const Accessor& fAccessor;
    const TakenNames& fTaken;
    WrittenModel fModel;
    TakenNames fWritten;
    std::unique_ptr<Files::File> fFile;
    // The statements that the file holds already, by name.
    std::unordered_map<std::string, std::string> fUnchangedStructures;
    std::unordered_map<std::string, std::string> fUnchangedNodes;
    std::vector<std::string> fStructureStatements;
    std::vector<std::string> fNodeStatements;
    std::string fSceneStatement;
    std::string fNewTail;
    std::array<std::size_t, kPieces> fPieceEnds{};  // in the new tail
};

}  // namespace orbo::Data
