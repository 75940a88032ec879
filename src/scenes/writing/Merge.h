// Decides what becomes of the records of a scene when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>
#include <data/SceneRecord.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/Layout.h"
#include "scenes/Findings.h"
#include "scenes/writing/MergeReason.h"
#include "scenes/writing/StructureUse.h"

/// The decision is one function of facts: `merge`. It opens no file, parses no text and keeps no
/// state, so a test can hand it any case. Facts that are costly to find may be left out; the plan
/// then asks for those that matter, and `merge` is called again with them.
namespace orbo::Data::Merge {

using Kind = SceneRecord::Kind;

/// One record of the file, as it was found.
struct RecordFacts {
    enum class Text {
        kNotTried,
        kNotUnderstood,      ///< its bytes could not be taken apart
        kUnreadable,         ///< its format is unknown, or cannot read the text
        kReadable,           ///< with the structures of the file
        kReadableWithModel,  ///< only with the structures that the model's streams have
    };

    Kind kind = Kind::kStructure;
    Text text = Text::kNotTried;
    /// The structure or the node. Of an unreadable structure what its text says, perhaps nothing.
    std::string name;
    /// The members of a readable structure; outlives the facts.
    const Layout* members = nullptr;
    /// False for a statement that holds more than a write would say of the record.
    bool plain = true;
    FilePlace place = {};

    /// A readable node is the same as the model's.
    std::optional<bool> sameAsModel = {};
    /// The bytes of an unreadable record are those that the write would make for the model.
    std::optional<bool> repeatsModel = {};
    /// The structures that the record cannot be read without. Needs to tell only of those that
    /// `Plan::structuresAtStake` names.
    std::optional<std::vector<StructureUse>> uses = {};
    /// Names that the text has where it names structures, used or not. Same limits.
    std::optional<std::vector<std::string>> mentions = {};
};

/// What the last read, or write, left in the model.
struct ReadFacts {
    std::map<std::string, const Layout*> structures;
    struct Node {
        /// The model's node is as the read left it. Matters only where the file has several records
        /// of the node.
        std::optional<bool> unedited = {};
    };
    std::map<std::string, Node> nodes;
    /// Nodes that were read in part. True when the model's is no longer what the read left.
    std::map<std::string, bool> partialNodes;
};

/// What the write is to store.
struct ModelFacts {
    std::map<std::string, const Layout*> structures;
    /// True for nodes that a record is written for; false for those that are there, but empty.
    std::map<std::string, bool> nodes;
};

struct Policy {
    /// Refuses what would surprise the caller, instead of doing it with a finding.
    bool careful = false;
    /// Makes all records of the model anew, even those that the file has already.
    bool rewritesAll = false;
    /// The scene's own associations stand in front of those of the nodes.
    bool sceneFirst = false;
};

enum class Action {
    kKeep,     ///< stays as it was found
    kRewrite,  ///< made from the model, in place of what the file has
    kAdd,      ///< made from the model; the file has nothing of the name
    kDrop,
};

/// One record of the new section, or one that goes from the file.
struct Item {
    Action action = Action::kKeep;
    Reason reason = Reason::kNodeNew;
    Kind kind = Kind::kStructure;
    /// Number of the file's record; none for those that are made from the model.
    std::optional<std::size_t> record = {};
    /// The name in the model; empty also for a record that is kept ahead of it or behind.
    std::string name = {};
    /// Stands where the model's record of the scene itself stands.
    bool isScene = false;
};

struct Question {
    enum class Fact { kText, kUses, kMentions, kRepeatsModel, kUnedited };
    Fact fact;
    std::size_t record = 0;  // not for `kUnedited`
    std::string node = {};   // for `kUnedited`
};

struct Plan {
    /// In the order in which the records will stand; dropped ones are last. Records that were not
    /// understood are not listed: the kind of scene keeps them with its foreign parts.
    std::vector<Item> items;
    /// Facts that were not given and that the decision needs. When there are any, nothing else in
    /// the plan counts but `structuresAtStake`.
    std::vector<Question> questions;
    /// What the caller might not expect of the write.
    Findings findings;
    /// Why nothing may be written. When it is there, items and findings do not count.
    std::optional<Finding> refusal;
    /// Structures of the file that go or change, if nobody needs them: uses of these matter.
    std::vector<std::string> structuresAtStake;
    /// Structures that readers of the new file find as the file had them, not as the model has
    /// them: by name, the number of the record that counts.
    std::map<std::string, std::size_t> structuresOfTheFile;
};

Plan merge(const std::vector<RecordFacts>& records, const ReadFacts& read, const ModelFacts& model,
           const Policy& policy);

}  // namespace orbo::Data::Merge
