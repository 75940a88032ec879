// Finds what scene files cannot hold before anything is written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "scenes/Findings.h"
#include "scenes/writing/WrittenModel.h"

namespace orbo::Data {

/// A finding without code about the first thing that is wrong; empty when nothing is.
using Problem = std::optional<Finding>;

/// Two things in one container have the same name, as they may after a stream or structure was
/// renamed: only one of them could be read back.
Problem repeatedNameIn(const WrittenModel& model);

/// Names, indices and numbers that would read back as something else, because the text formats
/// cannot carry them.
Problem notCarriedOf(const Structure& structure);
Problem notCarriedOf(const WrittenModel& model, const WrittenModel::Node& node);

/// Finds what a write that does not verify stores although it will not read back as it is.
class WriteRemarks {
  public:
    /// Gives the structure of that name that the file will have; null when it will have none.
    using StructureLookUp = std::function<const Structure*(const std::string& name)>;

    WriteRemarks(StructureLookUp structures, bool unknownIndexTypesAsText, Findings& findings)
        : fStructures(std::move(structures)),
          fUnknownAsText(unknownIndexTypesAsText),
          fFindings(findings) {}

    void addStructure(const Structure& structure);
    /// Looks at all of a node that is written anew.
    void addNode(const WrittenModel::Node& node);
    /// Looks at the structures of a node that keeps its text: they may be others by now.
    void addStructuresOf(const WrittenModel::Node& node);

  private:
    /// Calls `look` with each channel and stream of the node, and with what takes their faults.
    template <typename Look>
    void lookAtStreams(const WrittenModel::Node& node, const Look& look);
    template <typename Report>
    void addUse(const Channel& channel, const Stream& stream, const Report& report) const;

    const StructureLookUp fStructures;
    const bool fUnknownAsText;
    Findings& fFindings;
};

}  // namespace orbo::Data
