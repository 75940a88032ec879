// Replaces the end of a file so that a failure leaves the file as it was.
// SPDX-License-Identifier: Apache-2.0
#include "files/TailRewrite.h"

namespace orbo::Files {

TailRewrite::Outcome TailRewrite::replaceBy(const std::vector<std::string_view>& pieces) {
    if (isOldTail(pieces)) return {};
    Outcome outcome = tryToReplaceBy(pieces);
    if (outcome.failed != Step::kDone && outcome.failed != Step::kSeek) {
        outcome.restored = restore();
    }
    return outcome;
}

bool TailRewrite::isOldTail(const std::vector<std::string_view>& pieces) const {
    std::string_view left = fOldTail;
    for (const std::string_view piece : pieces) {
        if (left.substr(0, piece.size()) != piece) return false;
        left.remove_prefix(piece.size());
    }
    return left.empty();
}

TailRewrite::Outcome TailRewrite::tryToReplaceBy(const std::vector<std::string_view>& pieces) {
    if (!fFile.seek(fOffset)) return {Step::kSeek};
    std::uint64_t end = fOffset;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (!pieces[i].empty() && !fFile.write(pieces[i].data(), pieces[i].size())) {
            return {Step::kWrite, i};
        }
        end += pieces[i].size();
    }
    const bool shorter = end < fOffset + fOldTail.size();
    if (shorter && !fFile.truncate(end)) return {Step::kTruncate};
    if (!fFile.sync()) return {Step::kSync};
    return {};
}

bool TailRewrite::restore() {
    return fFile.seek(fOffset) && fFile.write(fOldTail.data(), fOldTail.size()) &&
           fFile.truncate(fOffset + fOldTail.size()) && fFile.sync();
}

}  // namespace orbo::Files
