// Replaces parts of a file so that a failure leaves the file as it was.
// SPDX-License-Identifier: Apache-2.0
#include "files/FileRewrite.h"

#include <algorithm>
#include <string>

namespace orbo::Files {

namespace {

constexpr std::size_t kBlockSize = 64 * 1024;

bool isThereAlready(const FileRewrite::Range& range) {
    std::string_view left = range.oldBytes;
    for (const std::string_view piece : range.pieces) {
        if (left.substr(0, piece.size()) != piece) return false;
        left.remove_prefix(piece.size());
    }
    return left.empty();
}

std::uint64_t newEnd(const FileRewrite::Range& range) {
    std::uint64_t end = range.offset;
    for (const std::string_view piece : range.pieces) end += piece.size();
    return end;
}

std::uint64_t oldEnd(const FileRewrite::Range& range) {
    return range.offset + range.oldBytes.size();
}

}  // namespace

FileRewrite::Outcome FileRewrite::run() {
    if (std::all_of(fRanges.begin(), fRanges.end(), isThereAlready)) return {};
    Outcome outcome = tryToRun();
    if (outcome.failed != Step::kDone && fTouched) outcome.restored = restore();
    return outcome;
}

FileRewrite::Outcome FileRewrite::tryToRun() {
    for (std::size_t i = 0; i < fRanges.size(); ++i) {
        const Outcome outcome = write(i);
        if (outcome.failed != Step::kDone) return outcome;
    }
    const Range& tail = fRanges.back();
    if (newEnd(tail) < oldEnd(tail)) {
        fTouched = true;
        if (!fFile.truncate(newEnd(tail))) return {Step::kTruncate};
    }
    if (!fFile.sync()) return {Step::kSync};
    return {};
}

FileRewrite::Outcome FileRewrite::write(std::size_t range) {
    const std::vector<std::string_view>& pieces = fRanges[range].pieces;
    if (!fFile.seek(fRanges[range].offset)) return {Step::kSeek, range};
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].empty()) continue;
        fTouched = true;
        if (fFile.write(pieces[i].data(), pieces[i].size())) continue;
        return {Step::kWrite, range, i};
    }
    return {};
}

bool FileRewrite::restore() { return (writeOld() || holdsOld()) && fFile.sync(); }

bool FileRewrite::writeOld() {
    for (const Range& range : fRanges) {
        if (!fFile.seek(range.offset)) return false;
        if (!fFile.write(range.oldBytes.data(), range.oldBytes.size())) return false;
    }
    return fFile.truncate(oldEnd(fRanges.back()));
}

// Where nothing can be written, not even what is there, nothing may have been overwritten either.
bool FileRewrite::holdsOld() {
    return fFile.size() == oldEnd(fRanges.back()) &&
           std::all_of(fRanges.begin(), fRanges.end(),
                       [this](const Range& range) { return holdsOld(range); });
}

bool FileRewrite::holdsOld(const Range& range) {
    if (!fFile.seek(range.offset)) return false;
    std::string block;
    for (std::string_view left = range.oldBytes; !left.empty(); left.remove_prefix(block.size())) {
        block.resize(std::min(left.size(), kBlockSize));
        if (!readExactly(fFile, block.data(), block.size())) return false;
        if (left.substr(0, block.size()) != block) return false;
    }
    return true;
}

}  // namespace orbo::Files
