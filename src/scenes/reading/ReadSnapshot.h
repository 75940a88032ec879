// What a read, or a write, left in the model: what the next write compares with.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/Layout.h"
#include "files/File.h"
#include "formats/TextOutline.h"
#include "scenes/model/ModelDigest.h"

namespace orbo::Data {

/// Associations that could not be read when the file was read or written. Structures that come into
/// the file later may make them readable, but nobody has seen them.
class UnreadableRecords {
  public:
    void add(const SceneRecord& record) { fContents[record.name].emplace(content(record)); }
    /// Takes over those of names that are not there yet.
    void add(UnreadableRecords others) { fContents.merge(others.fContents); }
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

/// Nodes that a read left in the file, for the accessor to load later.
struct UnloadedNodes {
    /// By name, the places of the records, in the order in which a scan meets them. A write moves
    /// records; there are no places then.
    std::map<std::string, std::vector<SceneRecordRange>> places;
    /// What the nodes are to be read with: all structures of the read, those too that nobody asked
    /// for, with the members that they had then.
    struct KnownStructure {
        RefPtr<Structure> structure;
        RefPtr<const Layout> members;
    };
    std::vector<KnownStructure> structures;
    /// The read was asked for nodes by name.
    bool areNamed = false;

    /// What is left of them when nodes of these names were written.
    template <typename Names>
    [[nodiscard]] UnloadedNodes afterWriting(const Names& written) const {
        UnloadedNodes left{{}, structures, areNamed};
        for (const auto& [name, ofNode] : places) {
            if (written.count(name) == 0) left.places[name];
        }
        return left;
    }
};

/// The next write takes the absence of one of these names as the caller's wish that it goes;
/// everything else in the file stays.
struct ReadSnapshot {
    /// With the members that each structure had then: the caller may have added some since.
    std::map<std::string, RefPtr<const Layout>> structures;
    /// With digests of the nodes; empty where the file may hold something else than the model.
    std::map<std::string, std::optional<std::uint64_t>> associations;
    /// Nodes that were read in part, with digests of those parts. They are in no other member.
    std::map<std::string, std::uint64_t> partialNodes;
    UnreadableRecords unreadable;

    UnloadedNodes unloaded;

    /// The file's state then. The fingerprint is that of the metadata, if it was taken.
    std::optional<Files::FileStatus> status;
    std::optional<std::uint64_t> fingerprint;
    /// How many of the last records in the file a read met that ended early. The fingerprint covers
    /// only these.
    std::optional<std::size_t> recordsMet;

    /// Where the texts of a node's streams stand in the text of its record, by channel and stream,
    /// with digests of what was read from each.
    struct NodeText {
        std::vector<StreamOutline> streams;
        std::vector<StreamDigest> digests;
    };
    std::map<std::string, NodeText> texts;
    /// Nodes whose digests the read left out, as `ReadPolicy::preparesEdits` says. They are in no
    /// other member but `texts`.
    std::set<std::string> undigested;
    /// All records of the file, in order, if the fingerprint covers them.
    struct Record {
        std::string node;  // empty for structures, too
        bool understood = false;
        bool plain = true;
    };
    std::vector<Record> records;
    /// Where the metadata begins, if that is known.
    std::optional<std::uint64_t> begin;

    /// Adds what the read of a part left. Nodes are in one of the two only.
    void add(ReadSnapshot part);
    /// Adds a node that was read, whose text is in `texts` if that is known, with its digest.
    void add(const std::string& node, const Associations& read, NodeDigest digest);

    /// Where a check found the records.
    std::map<std::string, FilePlace> structurePlaces;
    std::map<std::string, FilePlace> associationPlaces;
};

}  // namespace orbo::Data
