// Finds the facts that `Merge::merge` decides by, as far as it asks for them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ReadPolicy.h>
#include <data/SceneKind.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/StructureRegistry.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/reading/ReadSnapshot.h"
#include "scenes/writing/Merge.h"
#include "scenes/writing/WrittenModel.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

/// While it lives, this thread's structure registry holds the structures of the file and no others.
class FactFinder {
  public:
    struct Sources {
        const SceneKind& kind;
        SceneLayout& layout;    // gets to know which records were understood
        std::string_view tail;  // everything from the layout's begin on
        const WrittenModel& model;
        const ReadSnapshot& snapshot;
        const ReadPolicy& policy;
        ModelDigests& digests;
        bool exactNumbers;
        bool isAsRead;  // the file still has what the snapshot was taken of
    };

    /// Finds what costs little: the structures, and the names of the nodes. All that `sources`
    /// refers to outlives the finder.
    explicit FactFinder(const Sources& sources);

    /// Calls `merge` with the facts at hand, and again with those that it asks for, until it asks
    /// for nothing more.
    Merge::Plan plan(const Merge::Policy& policy);

    /// Only for a record that is a readable structure.
    [[nodiscard]] const Structure& structureOf(std::size_t record) const {
        return *fStructures[record];
    }
    /// The associations that `plan` tried to read in vain, for the next snapshot.
    UnreadableRecords& unreadable() { return fUnreadable; }
    /// The record that the node was read from. Null when it is not known which one that was, when
    /// the file has changed since, or when other readers take the record in another way.
    [[nodiscard]] const SceneLayout::Item* itemReadAs(const std::string& node) const;

  private:
    using Fact = Merge::Question::Fact;

    [[nodiscard]] std::string_view bytesOf(const SceneLayout::Item& item) const;
    [[nodiscard]] std::optional<SceneRecord> parse(std::size_t number) const;
    void addRecords();
    void addStructure(std::size_t number, const SceneRecord& record);
    void addNode(std::size_t number, const SceneRecord& record);
    bool addAsRead();
    [[nodiscard]] bool isAsRead(const std::string& node) const;
    void addModel();
    void addSnapshot();
    void answer(const Merge::Question& question, const Merge::Plan& plan);
    void readNode(std::size_t number, const SceneRecord& record);
    [[nodiscard]] bool isUnedited(const std::string& node) const;
    [[nodiscard]] std::vector<StructureUse> usesOfRecord(std::size_t number,
                                                         const Merge::Plan& plan) const;
    [[nodiscard]] bool repeatsModel(std::size_t number);
    [[nodiscard]] const std::set<std::string>& modelStructures();

    const Sources fSources;
    const StructureRegistry::SetAside fFileStructures;
    const IndexTypes::Unknown fUnknownIndexTypes;
    std::vector<Merge::RecordFacts> fRecords;
    std::vector<RefPtr<Structure>> fStructures;  // by record; null for all others
    Merge::ReadFacts fRead;
    Merge::ModelFacts fModel;
    struct ReadRecords {
        std::size_t count = 0;
        std::size_t last = 0;
    };
    std::map<std::string, ReadRecords> fReadRecords;        // by node, of a file that is as read
    std::set<std::string> fTriedWithModel;                  // names of nodes
    std::optional<std::set<std::string>> fModelStructures;  // bytes, as the file would have them
    UnreadableRecords fUnreadable;
};

}  // namespace orbo::Data
