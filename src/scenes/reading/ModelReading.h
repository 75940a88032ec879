// Builds the model from the records of a scene file of either kind.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "core/Layout.h"
#include "files/File.h"
#include "scenes/Findings.h"
#include "scenes/SceneRecord.h"
#include "scenes/reading/NameFilter.h"

namespace orbo::Data {

/// Associations that could not be read when the file was read or written. Structures that come into
/// the file later may make them readable, but nobody has seen them.
class UnreadableRecords {
  public:
    void add(const SceneRecord& record) { fContents[record.name].emplace(content(record)); }
    [[nodiscard]] bool has(const SceneRecord& record) const {
        const auto contents = fContents.find(record.name);
        return contents != fContents.end() && contents->second.count(content(record)) > 0;
    }

  private:
    static std::string content(const SceneRecord& record) {
        return record.format + '"' + record.text;
    }

    std::map<std::string, std::set<std::string>> fContents;
};

/// Names of what a read put into the model. The next write takes the absence of one of these as the
/// caller's wish that it goes; whatever else the file holds stays.
struct TakenNames {
    /// With the members that each had then: the caller may have added some since.
    std::map<std::string, RefPtr<const Layout>> structures;
    /// With their digests; empty for what the file may hold otherwise than the model has it.
    std::map<std::string, std::optional<std::uint64_t>> associations;
    UnreadableRecords unreadable;
    /// Tell whether the file holds them still: of the file, and of the section if it was taken.
    std::optional<Files::FileStatus> status;
    std::optional<std::uint64_t> fingerprint;
    /// How many of the file's last records were met by a read that ended early. The fingerprint is
    /// of them alone.
    std::optional<std::size_t> metOnly;
    /// Where the records of the structures and associations are that were read.
    std::map<std::string, FilePlace> structurePlaces;
    std::map<std::string, FilePlace> associationPlaces;
    /// Nodes that could not be read as a whole, with the digests of what is in the model of them.
    /// They are there to be looked at, and nowhere else in here.
    std::map<std::string, std::uint64_t> partialNodes;
};

/// Records are added as the file is scanned, until `wantsMore` says no or the file ends; then
/// `build`. Structures are parsed at once, as only their texts know their names; associations in
/// the end, with all structures there.
class ModelReading {
  public:
    /// In which the records are added.
    enum class Order { kFirstToLast, kLastToFirst };

    /// Null sets mean all names. The sets outlive the reading.
    ModelReading(const std::set<std::string>* structureNames,
                 const std::set<std::string>* associationNames);

    /// Said by whoever adds the records; from first to last if nobody does.
    void setOrder(Order order) { fOrder = order; }

    /// Also finds what readers accept without a word, and reads what no model needs.
    void setThorough() { fThorough = true; }
    [[nodiscard]] bool isThorough() const { return fThorough; }

    /// Names are struck off the two sets as records of theirs are added. Of several records the one
    /// added first counts, of those that can be read.
    void setStrikesOff() { fStrikesOff = true; }
    /// False once nothing is left of either set. But as long as somebody may need a structure that
    /// was not asked for, it takes the whole file.
    [[nodiscard]] bool wantsMore() const;
    [[nodiscard]] bool wantsAssociations() const { return !fAssociationNames.done(); }
    /// Told by whoever stopped adding because `wantsMore` said no.
    void setMetOnly(std::size_t count) { fMetOnly = count; }

    /// Told by all but the record's text. Others may be added all the same.
    [[nodiscard]] bool wants(const SceneRecord& record) const;
    void add(SceneRecord record);
    /// In place of a record that was not understood.
    void add(Finding::Code code, std::string message, const FilePlace& place);
    void add(Finding::Code code, std::string message, const SceneRecord& record);
    /// Forgets everything that was added.
    void discard();

    /// Registers the wanted structures in this thread's registry and fills the map. Of several
    /// records with one name the first in the file that can be read wins. Lets the exceptions of
    /// formats pass.
    TakenNames build(Accessor::AssociationsMap& map, const ReadPolicy& policy, Findings& findings);

  private:
    struct ParsedStructure {
        RefPtr<Structure> structure;
        FilePlace place;
        std::uint64_t rank;
    };
    struct UnreadAssociations {
        SceneRecord record;
        std::uint64_t rank;
    };
    class Helpers;

    /// Of the next record in the file's order.
    [[nodiscard]] std::uint64_t nextRank();
    template <typename Read>
    auto read(const Read& reader, const SceneRecord& record, std::uint64_t rank);
    void addRepeated(const UnreadAssociations& repeated);

    /// Whether of several records of a name the last in the file counts, not the first.
    [[nodiscard]] bool lastCounts(const std::set<std::string>* namesGiven) const {
        return fStrikesOff && fOrder == Order::kLastToFirst && namesGiven;
    }
    void strikeOff(const SceneRecord& record);
    void sortByPrecedence();
    void registerStructure(const ParsedStructure& parsed, TakenNames& taken, Helpers& helpers);
    bool build(const UnreadAssociations& unread, Accessor::AssociationsMap& map, TakenNames& taken);
    void buildPart(const UnreadAssociations& unread, Accessor::AssociationsMap& map,
                   TakenNames& taken);

    const std::set<std::string>* fStructureNamesGiven;
    const std::set<std::string>* fAssociationNamesGiven;
    Order fOrder = Order::kFirstToLast;
    bool fThorough = false;
    NameFilter fStructureNames;
    NameFilter fAssociationNames;
    bool fStrikesOff = false;
    std::optional<std::size_t> fMetOnly;
    bool fNeedsOthers = false;  // some record may need structures that were not asked for
    std::deque<ParsedStructure> fStructures;
    std::deque<UnreadAssociations> fAssociations;
    std::deque<UnreadAssociations> fUnreadable;  // kept when parts of them are wanted
    std::uint64_t fRecords = 0;
    RankedFindings fFindings;
};

}  // namespace orbo::Data
