// The metadata section of a text scene as the file holds it now.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "accessors/SectionPlan.h"
#include "accessors/TextSceneScanner.h"
#include "files/File.h"

namespace orbo::Data {

/// The section runs from the first statement that was understood to the last. Without any it is
/// empty and lies where the trailer begins. Statements that were not understood are lines like
/// others between them.
class TextSection {
  public:
    struct Statement {
        TextStatementRange where;
        bool understood = false;
        std::string name;  // of the node or structure, once it is understood
        SectionPlan::Fate fate = SectionPlan::Fate::kAhead;
    };

    /// The file outlives the section.
    TextSection(Files::File& file, bool anySize) : fFile(file), fAnySize(anySize) {}

    /// Finds the statements, nothing of which is understood yet, and reads the file from the first
    /// of them to its end.
    bool find(std::string& errors);
    /// The rule for a first section, once it is known what was understood.
    bool checkPlace(std::string& errors) const;

    /// In file order.
    [[nodiscard]] std::vector<Statement>& statements() { return fStatements; }
    [[nodiscard]] std::string_view bytesOf(const Statement& statement) const {
        return bytes(statement.where.begin, statement.where.end);
    }
    /// Where the section begins in the file.
    [[nodiscard]] std::uint64_t begin() const;
    /// All that the file holds from there on.
    [[nodiscard]] std::string_view oldTail() const { return bytes(begin(), fSize); }
    /// What follows the section: lines behind the last statement, the trailer and all the rest.
    [[nodiscard]] std::string_view rest() const { return bytes(end(), fSize); }
    /// The lines in the section that belong to no statement and are not blank.
    [[nodiscard]] std::string foreignLines() const;
    /// The statements of a kind with that fate, byte by byte.
    void appendKept(std::string& out, SceneRecord::Kind kind, SectionPlan::Fate fate) const;

  private:
    bool scan(std::string& errors);
    bool checkTrailer(std::string& errors) const;
    bool readTail(std::string& errors);
    [[nodiscard]] std::uint64_t end() const;
    [[nodiscard]] std::string_view bytes(std::uint64_t from, std::uint64_t to) const;

    Files::File& fFile;
    bool fAnySize;
    std::uint64_t fSize = 0;
    std::optional<std::uint64_t> fTrailer;
    std::vector<Statement> fStatements;
    std::uint64_t fTailBegin = 0;
    std::string fTail;
};

}  // namespace orbo::Data
