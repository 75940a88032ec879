// The metadata section of a scene as the file holds it now, and what it gives way to.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/SceneSection.h"

#include "accessors/Messages.h"
#include "files/FileRewrite.h"

namespace orbo::Data {

bool SceneSection::apply(const std::vector<Change>& changes, std::string& errors) {
    using Step = Files::FileRewrite::Step;
    std::vector<Files::FileRewrite::Range> ranges;
    for (const Change& change : changes) {
        ranges.push_back({change.offset, change.oldBytes, {}});
        for (const Change::Piece& piece : change.pieces)
            ranges.back().pieces.push_back(piece.bytes);
    }
    const auto outcome = Files::FileRewrite(*fFile, std::move(ranges)).run();
    if (outcome.failed == Step::kDone) return true;
    const Change& failed = changes.at(outcome.range);
    if (outcome.failed == Step::kSeek) addMessage(errors, failed.seekFailure);
    if (outcome.failed == Step::kWrite) addMessage(errors, failed.pieces.at(outcome.piece).failure);
    if (outcome.failed == Step::kTruncate) addMessage(errors, "Could not truncate the file.");
    if (outcome.failed == Step::kSync) addMessage(errors, "Could not sync the file.");
    if (!outcome.restored) addMessage(errors, "The old content could not be put back.");
    return false;
}

void SceneSection::appendKept(std::string& out, SceneRecord::Kind kind,
                              SectionPlan::Fate fate) const {
    for (const Entry& entry : fEntries) {
        if (entry.understood && entry.where.kind == kind && entry.fate == fate) {
            out += bytesOf(entry);
        }
    }
}

std::string_view SceneSection::bytes(std::uint64_t from, std::uint64_t to) const {
    return std::string_view(fTail).substr(static_cast<std::size_t>(from - fTailBegin),
                                          static_cast<std::size_t>(to - from));
}

}  // namespace orbo::Data
