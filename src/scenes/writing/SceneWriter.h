// Replaces the metadata section of a scene by an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <map>
#include <string>
#include <vector>

#include "scenes/Findings.h"
#include "scenes/model/WrittenModel.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/writing/SceneRewrite.h"
#include "scenes/writing/SceneSection.h"

namespace orbo::Data {

/// Works on the file as it is now, whatever it was when it was read. All new bytes are in memory,
/// and checked as far as the policy asks for it, before the file is touched.
class SceneWriter {
  public:
    /// `taken` is what the last read found. All outlive the writer.
    SceneWriter(const Accessor& accessor, const TakenNames& taken, SceneSection& section);

    /// Into the file that the section is of.
    RewriteResult write(Files::LockedFile& file, RewriteExtent extent, std::string& errors);
    /// Does all of a write but the writing, and writes anew also what is as the file has it: so the
    /// verification looks at all of the model. False, with a message, when it would be refused.
    bool rehearse(Files::File& file, std::string& errors);
    /// Whether it failed for the metadata in the file not being what was read.
    [[nodiscard]] bool metConflict() const { return fMetConflict; }
    /// What the caller might not expect of the write.
    [[nodiscard]] const Findings& notes() const { return fNotes; }
    /// What the file holds of the model after a write, in place of what the last read found.
    TakenNames& written() { return fWritten; }

  private:
    using Entry = SceneSection::Entry;
    using Kind = SceneRecord::Kind;
    using Part = SceneSection::Part;

    bool compose(Files::File& file, std::string& errors);
    bool checkPartialNodes(std::string& errors) const;
    bool checkUnchanged(Files::File& file, std::string& errors);
    bool decide(std::string& errors);
    /// Calls `visit(number, record)` for those that can be taken apart.
    template <typename Visit>
    void forEachRecord(Kind kind, const Visit& visit);
    void addUsers(SectionPlan& plan);
    void addRemarks(const SectionPlan& plan);
    bool noteLosses(const SectionPlan& plan, const std::vector<std::string>& names,
                    std::string& errors);
    void apply(const SectionPlan& plan, const std::vector<std::string>& names);
    bool checkChanges(std::string& errors) const;
    bool writeRecords(std::string& errors);
    bool writeStructure(const Structure& structure, std::string& errors);
    bool writeNode(const WrittenModel::Node& node, std::string& errors);
    void dropRepeated();
    bool verify(std::string& errors) const;
    void noteDigests();

    const Accessor& fAccessor;
    const TakenNames& fTaken;
    SceneSection& fSection;
    WrittenModel fModel;
    TakenNames fWritten;
    // What the file holds already, by name.
    std::map<std::string, std::string> fUnchangedStructures;
    std::map<std::string, std::string> fUnchangedNodes;
    SceneSection::NewRecords fNew;
    Findings fNotes;
    bool fMetConflict = false;
    bool fRehearses = false;
};

}  // namespace orbo::Data
