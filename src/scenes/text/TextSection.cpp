// The new metadata section of a text scene.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextSection.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "core/Ascii.h"
#include "scenes/PieceList.h"
#include "scenes/text/TextMessages.h"
#include "scenes/text/TextStatement.h"

namespace orbo::Data {

namespace {

using Part = ScenePlan::Part;

constexpr std::array<const char*, 3> kFailures = {
    TextMessages::kStructuresFailed, TextMessages::kNodesFailed, TextMessages::kSceneFailed};

}  // namespace

// A muting guard stays with a statement that was not understood; a closing guard is replaced.
std::uint64_t TextSection::begin() const {
    if (fLayout.records.empty()) return *fLayout.trailer;
    const TextLinesAhead& ahead = fLayout.linesAhead;
    const bool isMuted = ahead.haveMutingGuard() && !firstIsUnderstood();
    return isMuted || ahead.haveClosingGuard() ? ahead.begin()
                                               : fLayout.records.front().range.begin;
}

bool TextSection::needsClosingGuard() const {
    const TextLinesAhead& ahead = fLayout.linesAhead;
    const bool keepsMuting =
        ahead.haveMutingGuard() && (fLayout.records.empty() || firstIsUnderstood());
    return keepsMuting || !ahead.closed();
}

// The end of the last statement that was understood; 0 without any.
std::uint64_t TextSection::understoodEnd() const {
    for (auto item = fLayout.records.rbegin(); item != fLayout.records.rend(); ++item) {
        if (item->understood) return item->range.end;
    }
    return 0;
}

// Drops blank lines between statements. In a statement that was not understood they may mean
// something.
TextForeignLines TextSection::foreignLines() const {
    TextForeignLines lines;
    const std::uint64_t lastUnderstood = understoodEnd();
    const std::uint64_t end = *fLayout.trailer;
    auto item = fLayout.records.begin();
    std::uint64_t at = fLayout.records.empty() ? end : item->range.begin;
    while (at < end) {
        std::string_view line = bytes(at, end);
        line = line.substr(0, std::min(line.find('\n'), line.size() - 1) + 1);
        while (item != fLayout.records.end() && item->range.end <= at) ++item;
        const bool inside = item != fLayout.records.end() && item->range.begin <= at;
        const bool understood = inside && item->understood;
        const bool isBlank = Ascii::trim(line).empty();
        at += line.size();
        if (isBlank && at <= lastUnderstood && (!inside || understood)) continue;
        if (understood && !TextStatement::isComment(line)) continue;
        lines.add(line, inside && !item->range.closed);
    }
    return lines;
}

// The section is written in parts, so that a failure can say where it happened: structures, nodes,
// the scene, and the rest. Records stay in order: those behind the scene's are in its part.
std::vector<SceneChange::Piece> TextSection::piecesFor(const ScenePlan& plan) const {
    static_assert(Part::kStructures < Part::kNodes && Part::kNodes < Part::kScene);
    const bool hasStatements = !plan.entries.empty();
    const bool isClosed = !needsClosingGuard();
    PieceList pieces;
    std::size_t part = 0;
    pieces.beginPart(kFailures[part]);
    if (hasStatements && !isClosed) pieces.add(TextLinesAhead::kClosingGuard);
    for (std::size_t i = 0; i < plan.entries.size(); ++i) {
        const ScenePlan::Entry& entry = plan.entries[i];
        while (part < static_cast<std::size_t>(entry.part)) pieces.beginPart(kFailures[++part]);
        if (!entry.kept) {
            pieces.add(plan, i);
            continue;
        }
        const std::string_view statement = bytes(entry.kept->range.begin, entry.kept->range.end);
        if (TextStatement::isForOtherReaders(statement)) {
            pieces.keep(statement);
        } else {
            pieces.add(TextStatement::forOtherReaders(statement));
        }
    }
    std::string rest;
    foreignLines().appendTo(rest, hasStatements, hasStatements || isClosed);
    pieces.beginPart(TextMessages::kRestFailed);
    pieces.add(rest);
    pieces.keep(bytes(*fLayout.trailer, fLayout.size));
    return pieces.take();
}

SceneChange TextSection::changeFor(const ScenePlan& plan) const {
    SceneChange change;
    change.offset = begin();
    change.oldBytes = bytes(begin(), fLayout.size);
    change.seekFailure = TextMessages::kStartSeekFailed;
    change.pieces = piecesFor(plan);
    return change;
}

}  // namespace orbo::Data
