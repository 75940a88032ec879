// The metadata section of a text scene as the file holds it now.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextSection.h"

#include <algorithm>
#include <iterator>

#include "core/Ascii.h"
#include "files/MemoryFile.h"
#include "scenes/Messages.h"
#include "scenes/text/TextSceneHeader.h"
#include "scenes/text/TextSceneReading.h"
#include "scenes/text/TextStatement.h"

namespace orbo::Data {

namespace {

using Fate = SectionPlan::Fate;
using Kind = SceneRecord::Kind;
using Result = TextSceneScanner::Result;

// A first section is only put into scenes of at least this size, in front of a trailer that is no
// further from the end.
constexpr std::uint64_t kTrailerBlock = 1024;

// By piece.
constexpr const char* kPieceFailures[] = {
    "Could not write structure chunk to file.",
    "Could not write node associations statement to file.",
    "Could not write scene associations statement to file.",
    "Failed to append the file trailer.",
};

const char* searchFailure(Result result, bool metStatements) {
    if (result == Result::kSeekFailed) {
        return metStatements ? "Could not seek to the first metadata block."
                             : "Could not seek to the last metadata block.";
    }
    return metStatements ? "Failed reading line while searching metadata start."
                         : "Failed reading line while searching metadata end.";
}

}  // namespace

bool TextSection::find(std::string& errors) {
    Findings findings;
    if (!checkTextSceneHeader(fFile, findings)) return fail(errors, findings);
    const auto size = fFile.size();
    if (!size) return fail(errors, "Could not seek to trailer start.");
    fSize = *size;
    return scan(errors) && checkTrailer(errors);
}

bool TextSection::scan(std::string& errors) {
    TextSceneScanner scanner(fFile, 0, fSize);
    Result result = scanner.findTrailer();
    if (result == Result::kSeekFailed) return fail(errors, "Could not seek to trailer start.");
    if (result == Result::kReadFailed) return fail(errors, "Could not read trailer.");
    do {
        if (fEntries.size() == fMostEntries) break;
        Entry statement;
        result = scanner.next(statement.where);
        if (result == Result::kStatement) fEntries.push_front(statement);
        if (result == Result::kTrailer) fEntries.clear();
    } while (result == Result::kStatement || result == Result::kTrailer);
    const bool isComplete = result == Result::kDone || fEntries.size() == fMostEntries;
    if (!isComplete) return fail(errors, searchFailure(result, !fEntries.empty()));
    fTrailer = scanner.trailer();
    fLinesAhead = scanner.linesAhead();
    return true;
}

// A scene without a trailer may have lost its end; nothing is written into it.
bool TextSection::checkTrailer(std::string& errors) const {
    if (fTrailer) return true;
    if (!fEntries.empty()) {
        return fail(errors, "Failed reading line while searching metadata end.");
    }
    return fail(errors, fSize < kTrailerBlock && !fAnySize ? "Could not seek to trailer start."
                                                           : "Could not find trailer prefix.");
}

bool TextSection::load(std::string& errors) {
    const std::uint64_t begin = fLinesAhead.begin();
    if (!fFile.seek(begin)) return fail(errors, "Failed to seek to the trailer position.");
    return loadFrom(begin) || fail(errors, "Failed to read the file trailer.");
}

bool TextSection::understoodAny() const {
    return std::any_of(fEntries.begin(), fEntries.end(),
                       [](const Entry& entry) { return entry.understood; });
}

bool TextSection::checkEntries(std::string& errors) const {
    if (fAnySize || understoodAny()) return true;
    if (fSize < kTrailerBlock) return fail(errors, "Could not seek to trailer start.");
    return fSize - *fTrailer <= kTrailerBlock || fail(errors, "Could not find trailer prefix.");
}

// A guard belongs to what it was written for.
std::uint64_t TextSection::begin() const {
    if (fEntries.empty()) return *fTrailer;
    const bool isMuted = fLinesAhead.haveMutingGuard() && !fEntries.front().understood;
    return isMuted || fLinesAhead.haveClosingGuard() ? fLinesAhead.begin()
                                                     : fEntries.front().where.begin;
}

bool TextSection::needsClosingGuard() const {
    const bool keepsMuting =
        fLinesAhead.haveMutingGuard() && (fEntries.empty() || fEntries.front().understood);
    return keepsMuting || !fLinesAhead.closed();
}

std::uint64_t TextSection::understoodEnd() const {
    for (auto statement = fEntries.rbegin(); statement != fEntries.rend(); ++statement) {
        if (statement->understood) return statement->where.end;
    }
    return 0;
}

// Blank lines between statements go; in a statement that was not understood they may mean
// something.
TextForeignLines TextSection::foreignLines() const {
    TextForeignLines lines;
    const std::uint64_t lastUnderstood = understoodEnd();
    auto statement = fEntries.begin();
    for (std::uint64_t at = fEntries.empty() ? *fTrailer : statement->where.begin;
         at < *fTrailer;) {
        std::string_view line = bytes(at, *fTrailer);
        line = line.substr(0, std::min(line.find('\n'), line.size() - 1) + 1);
        while (statement != fEntries.end() && statement->where.end <= at) ++statement;
        const bool inside = statement != fEntries.end() && statement->where.begin <= at;
        const bool understood = inside && statement->understood;
        const bool isBlank = Ascii::trim(line).empty();
        at += line.size();
        if (isBlank && at <= lastUnderstood && (!inside || understood)) continue;
        if (understood && !TextStatement::isComment(line)) continue;
        lines.add(line, inside && !statement->where.closed);
    }
    return lines;
}

const char* TextSection::failureOf(Part part) const {
    return kPieceFailures[static_cast<std::size_t>(part)];
}

std::optional<SceneRecord> TextSection::parse(const Entry& entry) const {
    if (!entry.where.closed) return std::nullopt;
    const char* ignored = nullptr;
    return TextStatement::parse(entry.where.kind, std::string(bytesOf(entry)), ignored);
}

std::string TextSection::unchanged(const Entry& entry) const {
    return TextStatement::forOtherReaders(bytesOf(entry));
}

bool TextSection::append(std::string& out, const SceneRecord& record) const {
    const bool isStructure = record.kind == Kind::kStructure;
    if (!isStructure && !TextStatement::canBeTarget(record.name)) return false;
    TextStatement::append(out, record);
    if (!isStructure) return true;
    // Quotes in names are not escaped, so there are names that end the statement.
    const char* ignored = nullptr;
    const auto readBack = TextStatement::parse(record.kind, out, ignored);
    return readBack && readBack->plain && readBack->text == record.text;
}

bool TextSection::appendStatements(const NewRecords& records) {
    const std::size_t begin = fNewTail.size();
    appendKept(fNewTail, Kind::kStructure, Fate::kAhead);
    for (const std::string& statement : records.structures) fNewTail += statement;
    appendKept(fNewTail, Kind::kStructure, Fate::kBehind);
    fPieceEnds[kStructures] = fNewTail.size();

    appendKept(fNewTail, Kind::kAssociations, Fate::kAhead);
    for (const std::string& statement : records.nodes) fNewTail += statement;
    fPieceEnds[kNodes] = fNewTail.size();

    fNewTail += records.scene;
    appendKept(fNewTail, Kind::kAssociations, Fate::kBehind);
    fPieceEnds[kScene] = fNewTail.size();
    return fNewTail.size() > begin;
}

bool TextSection::compose(const NewRecords& records, std::string&) {
    const bool isClosed = !needsClosingGuard();
    if (!isClosed) fNewTail = TextLinesAhead::kClosingGuard;
    const bool hasStatements = appendStatements(records);
    if (!hasStatements) {
        fNewTail.clear();
        fPieceEnds = {};
    }
    foreignLines().appendTo(fNewTail, hasStatements, hasStatements || isClosed);
    fNewTrailer = fNewTail.size();
    fNewTail += bytes(*fTrailer, fSize);
    fPieceEnds[kRest] = fNewTail.size();
    return true;
}

bool TextSection::readBack(ModelReading& reading, Findings& findings) const {
    Files::MemoryFile file(std::string_view(fNewTail).substr(0, fNewTrailer));
    TextSceneScanner scanner(file, 0, fNewTrailer);
    scanner.trailerIsAtEnd();
    return readStatements(file, scanner, reading, findings);
}

std::vector<TextSection::Change> TextSection::changes() const {
    Change tail{begin(), bytes(begin(), fSize), "Could not seek to metadata start.", {}};
    std::size_t from = 0;
    for (std::size_t i = 0; i < kPieces; ++i) {
        const auto piece = std::string_view(fNewTail).substr(from, fPieceEnds[i] - from);
        tail.pieces.push_back({piece, kPieceFailures[i]});
        from = fPieceEnds[i];
    }
    return {tail};
}

}  // namespace orbo::Data
