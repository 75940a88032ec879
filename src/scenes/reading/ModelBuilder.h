// Builds the model from the records of a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "formats/ReadContext.h"
#include "formats/TextOutline.h"
#include "scenes/Findings.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/reading/NameFilter.h"
#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// Builds the model from the records of a scene. Add records as the file is scanned, until
/// `wantsMore` says no or the file ends; then call `build`. Structures are parsed at once, as only
/// their texts know their names; associations in the end, when all structures are known.
class ModelBuilder {
  public:
    struct Request {
        /// Null means all names. The sets outlive the builder.
        const std::set<std::string>* structureNames = nullptr;
        const std::set<std::string>* associationNames = nullptr;
        /// Records are added from the last in the file to the first.
        bool lastFirst = false;
        /// Each name is struck off its set when a record of that name is added. Of several readable
        /// records of a name the one that was added first counts.
        bool strikesOff = false;
        /// Also finds what readers accept silently, and reads what no model needs.
        bool isCheck = false;
        /// The next write may take over texts.
        bool keepsOutlines = false;
        /// Nodes are only named: a later read takes them from their places.
        bool leavesNodes = false;
        ReadPolicy policy = {};
        /// Sections that are smaller than `kWorthThreads` are read by the calling thread alone.
        unsigned threads = 1;
    };
    static constexpr std::size_t kWorthThreads = std::size_t{4} << 20;

    explicit ModelBuilder(const Request& request);

    /// False once nothing is left of either set. While a record may need a structure that was not
    /// asked for, the whole file is wanted.
    [[nodiscard]] bool wantsMore() const;
    [[nodiscard]] bool wantsAssociations() const { return !fAssociationNames.done(); }
    /// Whether a node was asked for. Others may be added all the same.
    [[nodiscard]] bool wants(const SceneRecord& record) const;

    void add(SceneRecord record);
    /// Adds a finding in place of a record that could not be taken apart.
    void add(Finding finding);
    /// Forgets everything that was added.
    void discard();

    /// Registers the wanted structures in this thread's registry and fills the map. Of several
    /// records of a name the first in the file that can be read counts, unless names are struck
    /// off. Formats may throw; their exceptions pass.
    ReadSnapshot build(Accessor::AssociationsMap& map, Findings& findings);

  private:
    struct ParsedStructure {
        RefPtr<Structure> structure;
        FilePlace place;
        std::uint64_t rank;
    };
    /// What reading a node's record gave.
    struct ReadNode {
        std::unique_ptr<Associations> associations;
        TextOutline outline;
        Findings findings;
        std::optional<NodeDigest> digest = {};  // of what was read ahead
    };
    struct UnreadAssociations {
        SceneRecord record;
        std::uint64_t rank;
        std::optional<ReadNode> ahead = {};
    };
    class Helpers;

    /// The next record's place in the order of findings.
    [[nodiscard]] std::uint64_t nextRank();
    template <typename Read>
    auto read(const Read& reader, const SceneRecord& record, ReadContext context,
              Findings& findings) const;
    /// By so many threads, which throw `ForeignIndexType` where only the caller's may go on; 0 is
    /// the caller's alone.
    [[nodiscard]] ReadNode readNode(const SceneRecord& record, unsigned threads = 0) const;
    void readAhead(UnreadAssociations& unread, unsigned threads) const noexcept;
    void readAhead();
    void addRepeated(const UnreadAssociations& repeated);

    /// Whether the last of several records of a name counts, instead of the first.
    [[nodiscard]] bool lastCounts(const std::set<std::string>* namesGiven) const {
        return fRequest.strikesOff && fRequest.lastFirst && namesGiven;
    }
    void strikeOff(const SceneRecord& record);
    void sortByPrecedence();
    void registerStructure(const ParsedStructure& parsed, ReadSnapshot& snapshot, Helpers& helpers);
    bool build(UnreadAssociations& unread, Accessor::AssociationsMap& map, ReadSnapshot& snapshot);
    void buildPart(const UnreadAssociations& unread, Accessor::AssociationsMap& map,
                   ReadSnapshot& snapshot);

    const Request fRequest;
    NameFilter fStructureNames;
    NameFilter fAssociationNames;
    bool fNeedsOthers = false;  // some record may need structures that were not asked for
    std::deque<ParsedStructure> fStructures;
    std::deque<UnreadAssociations> fAssociations;
    std::map<std::string, NodeDigest> fDigests;  // of nodes that were read ahead
    std::deque<UnreadAssociations> fUnreadable;  // kept when parts of them are wanted
    std::uint64_t fRecords = 0;
    RankedFindings fFindings;
};

}  // namespace orbo::Data
