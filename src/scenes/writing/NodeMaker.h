// Makes the new records of nodes, which keep the bytes of what has not changed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ReadPolicy.h>
#include <data/SceneKind.h>
#include <data/WritePolicy.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scenes/Findings.h"
#include "scenes/SceneSplicing.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/ReadSnapshot.h"
#include "scenes/writing/KeptTexts.h"
#include "scenes/writing/WrittenModel.h"

namespace orbo::Data {

/// Lives as long as the records that it makes: they have views of what it keeps.
class NodeMaker {
  public:
    /// All of them outlive the maker.
    struct Sources {
        const SceneKind& kind;
        const WrittenModel& model;
        const ReadSnapshot& snapshot;
        ModelDigests& digests;
        const WritePolicy& policy;
        const ReadPolicy& readPolicy;
    };
    /// Holds what the file has for a node.
    struct Old {
        SceneRecordRange range;
        std::string_view bytes;
    };
    struct Made {
        /// Holds the bytes of the record, or the pieces that it is made of.
        std::string bytes;
        std::vector<SceneChange::Piece> pieces;
        SceneRecord record;  // without its text
        /// The digest of the whole text; empty if parts were kept. Those were verified if `make`
        /// was asked for it.
        std::optional<std::uint64_t> textDigest;
    };

    explicit NodeMaker(const Sources& sources);

    /// `old` is the record that the node was read from, if that is known. With `verifies`, reads
    /// back what was not kept, with the structures of this thread's registry. Returns nothing, with
    /// findings, when the record cannot be made or does not read back.
    [[nodiscard]] std::optional<Made> make(const std::string& name, const std::optional<Old>& old,
                                           bool verifies, Findings& findings);

  private:
    [[nodiscard]] std::optional<RecordBytes> oldBytes(const std::string& name, const Old& old);
    [[nodiscard]] bool verify(const std::string& name, const KeptRecord& made,
                              const KeptTexts& kept, Findings& findings) const;
    [[nodiscard]] bool splice(const KeptRecord& made, const RecordBytes& old, Made& result) const;
    [[nodiscard]] bool isRight(const SceneRecord& record,
                               const std::vector<SceneChange::Piece>& pieces) const;

    const Sources fSources;
    const SceneSplicing* const fSplicing;
    std::deque<std::string> fKept;  // records of the file, put differently
};

}  // namespace orbo::Data
