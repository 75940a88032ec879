// The metadata section of a text scene as the file holds it now.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "accessors/SceneSection.h"
#include "accessors/TextSceneScanner.h"

namespace orbo::Data {

/// The section runs from the first statement that was understood to the last. Without any it is
/// empty and lies where the trailer begins. Statements that were not understood are lines like
/// others between them.
class TextSection : public SceneSection {
  public:
    TextSection(Files::File& file, bool anySize) : SceneSection(file), fAnySize(anySize) {}

    bool find(std::string& errors) override;
    bool load(std::string& errors) override;
    /// The rule for a first section.
    bool checkEntries(std::string& errors) const override;
    [[nodiscard]] const char* failureOf(Part part) const override;
    [[nodiscard]] std::optional<SceneRecord> parse(const Entry& entry) const override;
    /// A statement of its own, free of what its lines hold besides.
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
    /// The first entry that was understood.
    [[nodiscard]] Entries::const_iterator firstUnderstood() const;
    [[nodiscard]] std::uint64_t begin() const;
    [[nodiscard]] std::uint64_t end() const;
    /// The lines in the section that belong to no statement and are not blank.
    [[nodiscard]] std::string foreignLines() const;

    bool fAnySize;
    std::optional<std::uint64_t> fTrailer;
    std::string fNewTail;
    std::array<std::size_t, kPieces> fPieceEnds{};  // in the new tail
};

}  // namespace orbo::Data
