// The metadata section of a text scene as the file holds it now.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "scenes/text/TextForeignLines.h"
#include "scenes/text/TextLinesAhead.h"
#include "scenes/text/TextSceneScanner.h"
#include "scenes/writing/SceneSection.h"

namespace orbo::Data {

/// The section runs from the first metadata statement, with the guard in front of it, to the
/// trailer. Statements that were not understood are lines like others in it.
class TextSection : public SceneSection {
  public:
    TextSection(Files::File& file, bool anySize) : SceneSection(file), fAnySize(anySize) {}

    bool find(std::string& errors) override;
    bool load(std::string& errors) override;
    /// The rule for a first section.
    bool checkEntries(std::string& errors) const override;
    [[nodiscard]] const char* failureOf(Part part) const override;
    [[nodiscard]] std::optional<SceneRecord> parse(const Entry& entry) const override;
    /// Its bytes, but for comments in it, which are foreign lines.
    [[nodiscard]] std::string unchanged(const Entry& entry) const override;
    bool append(std::string& out, const SceneRecord& record) const override;
    bool compose(const NewRecords& records, std::string& errors) override;
    bool readBack(ModelReading& reading, Findings& findings) const override;
    [[nodiscard]] std::vector<Change> changes() const override;

  private:
    /// What is written in one go, in the order of the file; each has a message for when it fails.
    enum Piece { kStructures, kNodes, kScene, kRest, kPieces };

    bool scan(std::string& errors);
    bool checkTrailer(std::string& errors) const;
    [[nodiscard]] bool understoodAny() const;
    [[nodiscard]] std::uint64_t begin() const;
    /// Where the last entry ends that was understood; 0 without any.
    [[nodiscard]] std::uint64_t understoodEnd() const;
    [[nodiscard]] bool needsClosingGuard() const;
    [[nodiscard]] TextForeignLines foreignLines() const;
    /// False when the new section holds no metadata.
    bool appendStatements(const NewRecords& records);

    bool fAnySize;
    std::optional<std::uint64_t> fTrailer;
    TextLinesAhead fLinesAhead{0};  // of the first entry or, without any, the trailer
    std::string fNewTail;
    std::size_t fNewTrailer = 0;                    // where it begins in the new tail
    std::array<std::size_t, kPieces> fPieceEnds{};  // in the new tail
};

}  // namespace orbo::Data
