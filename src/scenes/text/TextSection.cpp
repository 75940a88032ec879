// The new metadata section of a text scene.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextSection.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "core/Ascii.h"
#include "scenes/text/TextMessages.h"
#include "scenes/text/TextStatement.h"

namespace orbo::Data {

namespace {

using Part = ScenePlan::Part;

/// The section is written in four pieces, so that a failure can say where it happened: structures,
/// nodes, the scene, and the rest. Records stay in order: those behind the scene's are in its
/// piece.
class Pieces {
  public:
    void add(Part part, std::string_view bytes) {
        fCurrent = std::max(fCurrent, static_cast<std::size_t>(part));
        fPieces[fCurrent] += bytes;
    }
    /// Makes room for so many bytes, to save copies while they are added.
    void reserve(Part part, std::size_t size) {
        fPieces[static_cast<std::size_t>(part)].reserve(size +
                                                        TextLinesAhead::kClosingGuard.size());
    }
    [[nodiscard]] bool empty() const {
        return std::all_of(fPieces.begin(), fPieces.end(), [](const auto& p) { return p.empty(); });
    }
    std::array<std::string, 3>& all() { return fPieces; }

  private:
    static_assert(Part::kStructures < Part::kNodes && Part::kNodes < Part::kScene);
    std::array<std::string, 3> fPieces;
    std::size_t fCurrent = 0;
};

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

SceneChange TextSection::changeFor(const ScenePlan& plan) const {
    Pieces pieces;
    std::array<std::size_t, kFailures.size()> sizes{};
    for (const ScenePlan::Entry& entry : plan.entries) {
        sizes[static_cast<std::size_t>(entry.part)] +=
            entry.kept ? entry.kept->range.end - entry.kept->range.begin : entry.bytes.size();
    }
    for (const Part part : {Part::kStructures, Part::kNodes, Part::kScene}) {
        pieces.reserve(part, sizes[static_cast<std::size_t>(part)]);
    }
    for (const ScenePlan::Entry& entry : plan.entries) {
        if (!entry.kept) {
            pieces.add(entry.part, entry.bytes);
        } else {
            const SceneRecordRange& range = entry.kept->range;
            pieces.add(entry.part, TextStatement::forOtherReaders(bytes(range.begin, range.end)));
        }
    }
    const bool hasStatements = !pieces.empty();
    const bool isClosed = !needsClosingGuard();
    if (hasStatements && !isClosed) {
        pieces.all().front().insert(0, TextLinesAhead::kClosingGuard);
    }
    std::string rest;
    foreignLines().appendTo(rest, hasStatements, hasStatements || isClosed);
    rest += bytes(*fLayout.trailer, fLayout.size);

    SceneChange change;
    change.offset = begin();
    change.oldBytes = bytes(begin(), fLayout.size);
    change.seekFailure = TextMessages::kStartSeekFailed;
    for (std::size_t i = 0; i < kFailures.size(); ++i) {
        change.pieces.push_back({std::move(pieces.all()[i]), kFailures[i]});
    }
    change.pieces.push_back({std::move(rest), TextMessages::kRestFailed});
    return change;
}

}  // namespace orbo::Data
