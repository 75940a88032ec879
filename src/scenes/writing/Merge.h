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
    /// Names the structure or the node. An unreadable structure may be without a name.
    std::string name;
    /// The members of a readable structure; outlives the facts.
    const Layout* members = nullptr;
    /// False for a statement that holds more than a write would say of the record.
    bool plain = true;
    FilePlace place = {};

    /// A readable node is the same as the model's.
    std::optional<bool> sameAsModel = {};
    /// An unreadable record has the very bytes that the write would make for the model.
    std::optional<bool> repeatsModel = {};
    /// The structures that the record cannot be read without, as far as `Plan::structuresAtStake`
    /// has them.
    std::optional<std::vector<StructureUse>> uses = {};
    /// All structures that the text names, used or not.
    std::optional<std::vector<std::string>> mentions = {};
};

/// What the last read, or write, left in the model.
struct ReadFacts {
    std::map<std::string, const Layout*> structures;
    struct Node {
        /// The model's node is as the read left it. Asked for only when the file has several
        /// records of the node.
        std::optional<bool> unedited = {};
    };
    std::map<std::string, Node> nodes;
    /// Nodes that were read in part: true when the caller has changed or removed the part. They
    /// are not in `nodes`.
    std::map<std::string, bool> partialNodes;
};

/// What the write is to store.
struct ModelFacts {
    std::map<std::string, const Layout*> structures;
    /// True for nodes with content; false for empty ones, which are not written.
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
    kAdd,      ///< made from the model; no record of the file goes for it
    kDrop,
};

/// One record of the new section, or one that goes from the file.
struct Item {
    Action action = Action::kKeep;
    Reason reason = Reason::kNodeNew;
    Kind kind = Kind::kStructure;
    /// Number of the file's record; none for those that are made from the model.
    std::optional<std::size_t> record = {};
    /// The name in the model. Empty for a record that is dropped, or kept for another reason than
    /// that the model has the same.
    std::string name = {};
    /// The model's associations of the scene itself.
    bool isScene = false;
};

struct Question {
    enum class Fact { kText, kUses, kMentions, kRepeatsModel, kUnedited };
    Fact fact;
    std::size_t record = 0;  // not for `kUnedited`
    std::string node = {};   // for `kUnedited`
};

struct Plan {
    /// In the order in which the records will stand; dropped ones come last. Records that were not
    /// understood are not listed: the kind of scene keeps them with its foreign parts.
    std::vector<Item> items;
    /// Facts that the decision needs and was not given. While there are any, only
    /// `structuresAtStake` counts besides.
    std::vector<Question> questions;
    /// What the caller might not expect of the write.
    Findings findings;
    /// Why nothing may be written. When it is there, items and findings do not count.
    std::optional<Finding> refusal;
    /// Structures of the file that go or change unless a record that stays uses them.
    std::vector<std::string> structuresAtStake;
    /// Structures that readers of the new file find as the file had them: by name, the number of
    /// the record that counts.
    std::map<std::string, std::size_t> structuresOfTheFile;
};

Plan merge(const std::vector<RecordFacts>& records, const ReadFacts& read, const ModelFacts& model,
           const Policy& policy);

}  // namespace orbo::Data::Merge
