// Puts changes into the file of a scene.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/SceneRewrite.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "files/FileRewrite.h"
#include "files/UnchangedPages.h"

namespace orbo::Data {

namespace {

using Files::FileRewrite;
using Files::RewriteRange;
using Step = FileRewrite::Step;

// Programs other than `quilmeta` turn `WritePolicy::durable` off.
constexpr const char* kWayOut = " Without one it can be written: quilmeta --no-journal.";

// The ranges have bytes and what is kept behind them one by one.
constexpr std::size_t kViewsOfPiece = 2;

// Suggests to do without a journal only where a journal is forbidden, not on a full disk.
bool isForbidden(const std::error_code& error) {
    return error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
           error == std::errc::read_only_file_system || error == std::errc::filename_too_long;
}

std::string messageOf(const FileRewrite::Outcome& outcome, const FileRewrite& rewrite,
                      const std::vector<SceneChange>& changes) {
    const SceneChange& change = changes.at(std::min(outcome.range, changes.size() - 1));
    const std::string reason = ": " + outcome.error.message();
    switch (outcome.failed) {
        case Step::kDone:
            return {};
        case Step::kPrepare:
            if (outcome.error == std::errc::too_many_links) {
                return std::string("The file has several hard links, which share no journal.") +
                       kWayOut;
            }
            if (outcome.error == std::errc::cross_device_link) {
                return std::string(
                           "The file is mounted on its own, away from its folder, where "
                           "nobody would find the journal.") +
                       kWayOut;
            }
            return "The file cannot be looked at" + reason;
        case Step::kReserve:
            return "There is no room for the change" + reason;
        case Step::kJournal:
            if (!outcome.occupant.empty()) {
                return "Could not write the journal " + rewrite.journalPath() + ": " +
                       outcome.occupant + " is in its place.";
            }
            return "Could not write the journal " + rewrite.journalPath() + reason + '.' +
                   (isForbidden(outcome.error) ? kWayOut : "");
        case Step::kSeek:
            return change.seekFailure;
        case Step::kWrite:
            return change.pieces.at(outcome.piece / kViewsOfPiece).failure;
        case Step::kTruncate:
            return "Could not truncate the file.";
        case Step::kSync:
            return "Could not sync the file.";
        case Step::kCompare:
            return "The file does not hold what was written to it.";
        case Step::kChanged:
            return "Another program has changed the file meanwhile.";
        case Step::kInPlace:
            return "Another program has removed the file, or put a new one in its place.";
        case Step::kCommit:
            return "The change is made, but the removal of the journal " + rewrite.journalPath() +
                   " is not certain" + reason;
    }
    return {};
}

// Says what the file holds now, and what becomes of it.
std::string messageOfRefusedUndo(const FileRewrite::Outcome& outcome, const std::string& journal) {
    using Content = FileRewrite::Content;
    const bool isNew = outcome.content == Content::kNew;
    std::string message = "The old content could not be put back.";
    switch (outcome.content) {
        case Content::kOld:
            message += "\nThe file holds it, though perhaps not on the disk.";
            break;
        case Content::kNew:
            message += "\nThe file holds the new content, though perhaps not on the disk.";
            break;
        case Content::kMixed:
            message += "\nThe file holds some of the new content and some of the old.";
            break;
        case Content::kUnknown:
            message += "\nWhat the file holds now cannot be read.";
            break;
    }
    if (journal.empty()) return message + "\nThere is no journal to put it back from.";
    return message + "\nThe journal " + journal +
           " has both; by it the next one to open the file " +
           (isNew ? "finishes the change." : "puts the old content back.");
}

std::vector<RewriteRange> rangesOf(const std::vector<SceneChange>& changes) {
    std::vector<RewriteRange> ranges;
    for (const SceneChange& change : changes) {
        RewriteRange& range = ranges.emplace_back();
        range.offset = change.offset;
        range.oldBytes = change.oldBytes;
        for (const SceneChange::Piece& piece : change.pieces) {
            range.pieces.insert(range.pieces.end(), {piece.bytes, piece.kept});
        }
    }
    Files::leaveOutUnchanged(ranges);
    return ranges;
}

}  // namespace

RewriteResult rewrite(Files::LockedFile& file, const std::vector<SceneChange>& changes,
                      const WritePolicy& policy, RewriteExtent extent, Findings& findings) {
    FileRewrite rewrite(file, rangesOf(changes), policy.durable);
    const FileRewrite::Outcome outcome =
        extent == RewriteExtent::kWhole ? rewrite.run() : rewrite.rehearse();
    if (outcome.failed == Step::kDone) return RewriteResult::kDone;
    findings.add(Finding::Code::kWriteFailed, messageOf(outcome, rewrite, changes));
    if (outcome.failed == Step::kChanged) return RewriteResult::kConflict;
    if (outcome.holdsNew) return RewriteResult::kUnsure;
    if (!outcome.restored) {
        const std::string journal = policy.durable ? rewrite.journalPath() : std::string();
        findings.add(Finding::Code::kWriteFailed, messageOfRefusedUndo(outcome, journal));
    }
    return RewriteResult::kFailed;
}

}  // namespace orbo::Data
