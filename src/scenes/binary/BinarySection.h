// The metadata section of a binary scene as the file holds it now.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "scenes/binary/BinaryTrailer.h"
#include "scenes/writing/SceneSection.h"

namespace orbo::Data {

/// The section runs from the first metadata chunk to the end of the trailer. The application's
/// chunks in front of it stay where they are; those in between go to its beginning.
class BinarySection : public SceneSection {
  public:
    using SceneSection::SceneSection;

    bool find(std::string& errors) override;
    bool load(std::string& errors) override;
    /// Refuses a file with a chunk that no read gets past.
    bool checkEntries(std::string& errors) const override;
    [[nodiscard]] const char* failureOf(Part part) const override;
    [[nodiscard]] std::optional<SceneRecord> parse(const Entry& entry) const override;
    /// The chunk as it is, with what readers pass over.
    [[nodiscard]] std::string unchanged(const Entry& entry) const override;
    bool append(std::string& out, const SceneRecord& record) const override;
    /// Fails when the distance back to the trailer's begin would take more than its 32 bits.
    bool compose(const NewRecords& records, std::string& errors) override;
    bool readBack(ModelReading& reading, Findings& findings) const override;
    [[nodiscard]] std::vector<Change> changes() const override;

  private:
    bool locate(std::string& errors);
    bool findChunks(std::string& errors);
    [[nodiscard]] std::string foreignChunks() const;

    /// As bytes of the file.
    struct SizeFields {
        SizeFields() = default;
        explicit SizeFields(const BinaryTrailer& from)
            : main(bigEndian(from.mainSize(), 8)), trailer(bigEndian(from.size(), 8)) {}
        std::string main, trailer;
    };

    BinaryTrailer fTrailer;
    SizeFields fOldSizes;
    SizeFields fNewSizes;
    std::string fNewChunks;
    std::string fNewEndChunk;
};

}  // namespace orbo::Data
