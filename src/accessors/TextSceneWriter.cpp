// Replaces the metadata section of a text scene by an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextSceneWriter.h"

#include <set>
#include <unordered_set>
#include <utility>

#include "accessors/Messages.h"
#include "accessors/ModelCheck.h"
#include "accessors/ModelCompare.h"
#include "accessors/ModelPlace.h"
#include "accessors/ModelText.h"
#include "accessors/TextSceneHeader.h"
#include "accessors/TextSceneReading.h"
#include "accessors/TextStatement.h"
#include "core/StructureRegistry.h"
#include "files/MemoryFile.h"
#include "files/TailRewrite.h"

namespace orbo::Data {

namespace {

using Fate = SectionPlan::Fate;
using Kind = SceneRecord::Kind;

// By piece.
constexpr std::array<const char*, 4> kPieceFailures = {
    "Could not write structure chunk to file.",
    "Could not write node associations statement to file.",
    "Could not write scene associations statement to file.",
    "Failed to append the file trailer.",
};

const char* failureOf(const Files::TailRewrite::Outcome& outcome) {
    using Step = Files::TailRewrite::Step;
    switch (outcome.failed) {
        case Step::kDone:
            break;
        case Step::kSeek:
            return "Could not seek to metadata start.";
        case Step::kWrite:
            return kPieceFailures.at(outcome.piece);
        case Step::kTruncate:
            return "Could not truncate the file.";
        case Step::kSync:
            return "Could not sync the file.";
    }
    return nullptr;
}

}  // namespace

TextSceneWriter::TextSceneWriter(const Accessor& accessor, const TakenNames& taken)
    : fAccessor(accessor), fTaken(taken), fModel(accessor), fWritten(fModel.names()) {}

bool TextSceneWriter::write(std::string& errors) {
    if (!openScene(errors) || !checkNamesAreUnique(fModel, errors)) return false;
    TextSection section(*fFile, fAccessor.writePolicy().anySize);
    if (!section.find(errors) || !decide(section, errors) || !checkChanges(errors)) return false;
    if (!section.checkPlace(errors) || !writeStatements(errors)) return false;
    dropRepeated(section);
    compose(section);
    if (fAccessor.writePolicy().verify && !verify(errors)) return false;
    return rewrite(section, errors);
}

bool TextSceneWriter::openScene(std::string& errors) {
    const std::string& name = fAccessor.fileName();
    fFile = Files::FileSystem::current().open(name, Files::FileSystem::Mode::kReadWrite);
    if (!fFile) return fail(errors, "Could not open " + name + " for writing.");
    return checkTextSceneHeader(*fFile, errors);
}

// What is as the file has it came from there, and goes back the same way.
bool TextSceneWriter::checkChanges(std::string& errors) const {
    const bool careful = fAccessor.writePolicy().verify;
    for (const auto& structure : fModel.structures()) {
        if (fUnchangedStructures.count(structure->name()) > 0) continue;
        if (careful && !checkFormatCanCarry(*structure, errors)) return false;
    }
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (fUnchangedNodes.count(*node.name) > 0) continue;
        if (!TextStatement::canBeTarget(*node.name)) {
            return fail(errors, ModelPlace::of(*node.name) + ": name cannot be written");
        }
        if (careful && !checkFormatCanCarry(fModel, node, errors)) return false;
    }
    return true;
}

bool TextSceneWriter::writeStatements(std::string& errors) {
    for (const auto& structure : fModel.structures()) {
        if (!writeStructureStatement(*structure, errors)) return false;
    }
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (!writeNodeStatement(node, errors)) return false;
    }
    return true;
}

bool TextSceneWriter::writeStructureStatement(const Structure& structure, std::string& errors) {
    std::string& statement = fStructureStatements.emplace_back();
    if (const auto unchanged = fUnchangedStructures.find(structure.name());
        unchanged != fUnchangedStructures.end()) {
        statement = unchanged->second;
        return true;
    }
    std::string messages;
    if (const auto record = recordOf(structure, messages)) {
        TextStatement::append(statement, *record);
        // Quotes in names are not escaped, so there are names that end the statement.
        const char* problem = nullptr;
        const auto readBack = TextStatement::parse(Kind::kStructure, statement, problem);
        if (readBack && readBack->text == record->text) return true;
        messages = std::string("Structure '") + structure.name() + "': name cannot be written";
    }
    addMessage(errors, kPieceFailures[kStructures]);
    return fail(errors, messages);
}

bool TextSceneWriter::writeNodeStatement(const WrittenModel::Node& node, std::string& errors) {
    const bool isScene = node.name->empty();
    std::string& statement = isScene ? fSceneStatement : fNodeStatements.emplace_back();
    if (const auto unchanged = fUnchangedNodes.find(*node.name);
        unchanged != fUnchangedNodes.end()) {
        statement = unchanged->second;
        return true;
    }
    std::string messages;
    const auto record =
        recordOf(*node.name, *node.associations, fAccessor.writePolicy().exactNumbers, messages);
    if (!record) {
        addMessage(errors, kPieceFailures[isScene ? kScene : kNodes]);
        return fail(errors, messages);
    }
    TextStatement::append(statement, *record);
    return true;
}

// Structures first: what associations mean depends on them.
bool TextSceneWriter::decide(TextSection& section, std::string& errors) {
    SectionPlan plan(fModel, fTaken, fAccessor.readPolicy());
    decide(section, Kind::kStructure, plan);
    if (fAccessor.writePolicy().verify && !plan.conflict().empty()) {
        return fail(errors,
                    "Structure '" + plan.conflict() + "' in the file is another one than was read");
    }
    decide(section, Kind::kAssociations, plan);
    fWritten.unreadable = std::move(plan.unreadable());
    keepStructuresOfKept(section);
    return true;
}

void TextSceneWriter::decide(TextSection& section, Kind kind, SectionPlan& plan) {
    for (TextSection::Statement& statement : section.statements()) {
        if (statement.where.kind != kind || !statement.where.closed) continue;
        const char* message = nullptr;
        auto record = TextStatement::parse(kind, std::string(section.bytesOf(statement)), message);
        if (!record) continue;
        statement.understood = true;
        const bool isStructure = kind == Kind::kStructure;
        statement.name = record->name;
        statement.fate =
            isStructure ? plan.ofStructure(*record, statement.name) : plan.ofAssociations(*record);
        if (statement.fate != Fate::kUnchanged) continue;
        // The text goes on in a statement of its own, free of what its lines hold besides.
        statement.fate = Fate::kDropped;
        auto& unchanged = isStructure ? fUnchangedStructures : fUnchangedNodes;
        unchanged.emplace(statement.name,
                          TextStatement::relaid(kind, std::string(section.bytesOf(statement))));
    }
}

// A structure that the caller removed stays while somebody else's associations need it.
void TextSceneWriter::keepStructuresOfKept(TextSection& section) const {
    std::set<std::string> needed;
    for (const TextSection::Statement& statement : section.statements()) {
        if (!statement.understood || statement.where.kind != Kind::kAssociations) continue;
        if (statement.fate == Fate::kDropped) continue;
        const char* message = nullptr;
        const auto record = TextStatement::parse(Kind::kAssociations,
                                                 std::string(section.bytesOf(statement)), message);
        if (record) needed.merge(structuresNamedIn(record->text));
    }
    for (TextSection::Statement& statement : section.statements()) {
        if (!statement.understood || statement.where.kind != Kind::kStructure) continue;
        if (statement.fate != Fate::kDropped || fModel.structure(statement.name)) continue;
        if (needed.count(statement.name) > 0) statement.fate = Fate::kAhead;
    }
}

// What was written before without what it needs to be read is replaced all the same.
void TextSceneWriter::dropRepeated(TextSection& section) const {
    std::unordered_set<std::string_view> written(fStructureStatements.begin(),
                                                 fStructureStatements.end());
    written.insert(fNodeStatements.begin(), fNodeStatements.end());
    written.insert(fSceneStatement);
    for (TextSection::Statement& statement : section.statements()) {
        if (statement.understood && written.count(section.bytesOf(statement)) > 0) {
            statement.fate = Fate::kDropped;
        }
    }
}

void TextSceneWriter::compose(const TextSection& section) {
    fNewTail = section.foreignLines();
    section.appendKept(fNewTail, Kind::kStructure, Fate::kAhead);
    for (const std::string& statement : fStructureStatements) fNewTail += statement;
    section.appendKept(fNewTail, Kind::kStructure, Fate::kBehind);
    fPieceEnds[kStructures] = fNewTail.size();

    section.appendKept(fNewTail, Kind::kAssociations, Fate::kAhead);
    for (const std::string& statement : fNodeStatements) fNewTail += statement;
    fPieceEnds[kNodes] = fNewTail.size();

    fNewTail += fSceneStatement;
    section.appendKept(fNewTail, Kind::kAssociations, Fate::kBehind);
    fPieceEnds[kScene] = fNewTail.size();

    fNewTail += section.rest();
    fPieceEnds[kRest] = fNewTail.size();
}

bool TextSceneWriter::verify(std::string& errors) const {
    const StructureRegistry::SetAside fileStructures;
    Files::MemoryFile file(std::string_view(fNewTail).substr(0, fPieceEnds[kScene]));
    TextSceneScanner scanner(file, 0, fPieceEnds[kScene]);
    scanner.trailerIsAtEnd();
    ModelReading reading(nullptr, &fWritten.associations, ModelReading::Order::kLastToFirst);
    Accessor::AssociationsMap readBack;
    std::string messages;
    try {
        readStatements(file, scanner, reading, messages);
        reading.build(readBack, fAccessor.readPolicy(), messages);
    } catch (const Index::eCreationErrors&) {
        return fail(errors, "An index type of the new metadata is not registered.");
    }
    return readBackIsSame(fModel, readBack, errors) || fail(errors, messages);
}

bool TextSceneWriter::rewrite(const TextSection& section, std::string& errors) {
    std::vector<std::string_view> pieces;
    std::size_t begin = 0;
    for (const std::size_t end : fPieceEnds) {
        pieces.push_back(std::string_view(fNewTail).substr(begin, end - begin));
        begin = end;
    }
    Files::TailRewrite tail(*fFile, section.begin(), section.oldTail());
    const Files::TailRewrite::Outcome outcome = tail.replaceBy(pieces);
    const char* const failure = failureOf(outcome);
    if (!failure) return true;
    addMessage(errors, failure);
    if (!outcome.restored) addMessage(errors, "The old content could not be put back.");
    return false;
}

}  // namespace orbo::Data
