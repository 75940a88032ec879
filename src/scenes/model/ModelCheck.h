// Finds what scene files cannot hold before anything is written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "scenes/Findings.h"
#include "scenes/model/WrittenModel.h"

namespace orbo::Data {

/// False, with a message, when two things in one container have the same name, as they may after
/// a stream or structure was renamed: only one of them could be read back.
bool checkNamesAreUnique(const WrittenModel& model, std::string& errors);

/// False, with a message that says where, when the text formats cannot carry it: names, indices and
/// numbers that would read back as something else.
bool checkFormatCanCarry(const Structure& structure, std::string& errors);
bool checkFormatCanCarry(const WrittenModel& model, const WrittenModel::Node& node,
                         std::string& errors);

/// What a policy that does not verify writes all the same, though it will not read back as it is.
class WriteRemarks {
  public:
    /// Gives the structure of that name that the file will have; null when it will have none.
    using StructureLookUp = std::function<const Structure*(const std::string& name)>;

    WriteRemarks(StructureLookUp structures, bool unknownIndexTypesAsText, Findings& findings)
        : fStructures(std::move(structures)),
          fUnknownAsText(unknownIndexTypesAsText),
          fFindings(findings) {}

    void addStructure(const Structure& structure);
    /// All of a node that is written anew.
    void addNode(const WrittenModel::Node& node);
    /// Of a node that keeps its text: its structures may be others by now.
    void addStructuresOf(const WrittenModel::Node& node);

  private:
    template <typename Report>
    void addUse(const Channel& channel, const Stream& stream, const Report& report) const;

    const StructureLookUp fStructures;
    const bool fUnknownAsText;
    Findings& fFindings;
};

}  // namespace orbo::Data
