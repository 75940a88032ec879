// Replaces the metadata section of a scene by an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/SceneKind.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "files/File.h"
#include "scenes/Findings.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/ReadSnapshot.h"
#include "scenes/writing/FactFinder.h"
#include "scenes/writing/Merge.h"
#include "scenes/writing/NodeMaker.h"
#include "scenes/writing/WrittenModel.h"

namespace orbo::Data {

/// Works on the file as it is now, however it was when it was read. `compose` makes all new bytes
/// in memory, and checks them as far as the policy asks for it; nothing is written here.
class SceneWriter {
  public:
    struct Settings {
        WritePolicy policy;
        ReadPolicy readPolicy;
        /// Makes also the records anew that the file has already, so that the verification looks at
        /// the whole model.
        bool rewritesAll = false;
        /// Verifies with empty texts in place of those that certainly read back as they are.
        bool leavesOutCertain = false;
    };

    /// All but the settings outlive the writer. The digests are those of the model.
    SceneWriter(const SceneKind& kind, const Accessor& accessor, const ReadSnapshot& snapshot,
                ModelDigests& digests, const Settings& settings);

    /// False, with findings, when nothing may be written.
    bool compose(Files::File& file, Findings& findings);

    /// After `compose`: what is to be written. Views into the writer.
    [[nodiscard]] const std::vector<SceneChange>& changes() const { return fChanges; }
    /// It failed because the metadata in the file is no longer what was read.
    [[nodiscard]] bool metConflict() const { return fMetConflict; }
    /// What the caller might not expect of the write.
    Findings& notes() { return fNotes; }
    /// What the file holds of the model once the changes are made.
    ReadSnapshot& written() { return fWritten; }

  private:
    using Kind = SceneRecord::Kind;
    using Part = ScenePlan::Part;

    [[nodiscard]] bool fail(std::optional<Finding> problem) const;
    bool preloadTail(Files::File& file, SceneInput& input);
    bool loadTail(SceneInput& input);
    bool readTail(SceneInput& input);
    bool checkConflict(Files::File& file, SceneInput& input);
    bool decide();
    bool checkOldBytes(SceneInput& input) const;
    bool checkUnderstood() const;
    bool checkNewRecords(const std::set<std::string>& structures,
                         const std::set<std::string>& nodes) const;
    void addRemarks(const FactFinder& finder, const Merge::Plan& plan,
                    const std::set<std::string>& newStructures,
                    const std::set<std::string>& newNodes);
    bool format(const Merge::Item& item, const FactFinder& finder);
    [[nodiscard]] bool formatStructure(const std::string& name, std::string& bytes) const;
    [[nodiscard]] bool isLeftOut(const Associations& node) const;
    [[nodiscard]] bool makeEmpty(const std::string& name, Part part);
    [[nodiscard]] bool makeNode(const std::string& name, Part part, const FactFinder& finder);
    [[nodiscard]] bool changesNodesOnly(const Merge::Plan& plan) const;
    [[nodiscard]] std::string_view bytesOf(const SceneRecordRange& range) const;
    [[nodiscard]] std::vector<std::string_view> bytesOf(std::size_t number) const;
    [[nodiscard]] bool isSection(SceneInput& changed);
    bool verify(SceneInput& input);
    bool verifyAll(SceneInput& changed) const;
    void noteDigests(const std::set<std::string>& newNodes);
    void noteRecords();
    void noteKept(const std::set<std::string>& newNodes);

    const SceneKind& fKind;
    const ReadSnapshot& fSnapshot;
    const Settings fSettings;
    ModelDigests& fDigests;
    WrittenModel fModel;
    NodeMaker fMaker;
    ReadSnapshot fWritten;
    std::unique_ptr<SceneLayout> fLayout;
    std::uint64_t fTailBegin = 0;
    std::string fTail;  // of the file, from there on
    bool fIsAsRead = false;
    std::set<std::string> fLeftOut;  // nodes whose texts need no verification
    bool fVerifiesParts = false;     // the new records one by one, as each is made
    /// The new records of nodes, without their texts.
    struct MadeRecord {
        SceneRecord record;
        std::optional<std::uint64_t> textDigest;  // empty for those that are verified
    };
    std::deque<MadeRecord> fMade;
    ScenePlan fPlan;
    std::vector<SceneChange> fChanges;  // views of the tail and the plan
    Findings fNotes;
    Findings* fFindings = nullptr;  // of the `compose` under way
    bool fMetConflict = false;
};

}  // namespace orbo::Data
