// Narrows a rewrite to the part of the file that changes.
// SPDX-License-Identifier: Apache-2.0
#include "files/UnchangedPages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace orbo::Files {

namespace {

// Whole pages stay in: the more bytes a journal has, the surer a recovery tells that nobody else
// has changed the file.
constexpr std::uint64_t kPage = 4096;

std::size_t sameAtBegin(std::string_view left, std::string_view right) {
    const std::size_t size = std::min(left.size(), right.size());
    std::size_t same = 0;
    while (size - same >= kPage && std::memcmp(&left[same], &right[same], kPage) == 0) {
        same += kPage;
    }
    while (same < size && left[same] == right[same]) ++same;
    return same;
}

std::size_t sameAtEnd(std::string_view left, std::string_view right) {
    const std::size_t size = std::min(left.size(), right.size());
    const char* const leftEnd = left.data() + left.size();
    const char* const rightEnd = right.data() + right.size();
    std::size_t same = 0;
    while (size - same >= kPage &&
           std::memcmp(leftEnd - same - kPage, rightEnd - same - kPage, kPage) == 0) {
        same += kPage;
    }
    while (same < size && *(leftEnd - same - 1) == *(rightEnd - same - 1)) ++same;
    return same;
}

// Takes so many bytes, which old and new ones have in common, from the beginning.
void removePrefix(RewriteRange& range, std::size_t count) {
    range.offset += count;
    range.oldBytes.remove_prefix(count);
    for (std::string_view& piece : range.pieces) {
        const std::size_t taken = std::min(count, piece.size());
        piece.remove_prefix(taken);
        count -= taken;
    }
}

// The same from the end.
void removeSuffix(RewriteRange& range, std::size_t count) {
    range.oldBytes.remove_suffix(count);
    for (auto piece = range.pieces.rbegin(); piece != range.pieces.rend(); ++piece) {
        const std::size_t taken = std::min(count, piece->size());
        piece->remove_suffix(taken);
        count -= taken;
    }
}

void leaveOutPrefix(RewriteRange& range) {
    std::size_t same = 0;
    for (const std::string_view piece : range.pieces) {
        const std::size_t more = sameAtBegin(range.oldBytes.substr(same), piece);
        same += more;
        if (more < piece.size()) break;
    }
    const std::uint64_t page = (range.offset + same) / kPage * kPage;
    if (page > range.offset) removePrefix(range, static_cast<std::size_t>(page - range.offset));
}

void leaveOutSuffix(RewriteRange& range) {
    std::size_t same = 0;
    for (auto piece = range.pieces.rbegin(); piece != range.pieces.rend(); ++piece) {
        const std::string_view left = range.oldBytes.substr(0, range.oldBytes.size() - same);
        const std::size_t more = sameAtEnd(left, *piece);
        same += more;
        if (more < piece->size()) break;
    }
    const std::uint64_t end = range.oldEnd();
    const std::uint64_t page = (end - same + kPage - 1) / kPage * kPage;
    if (page < end) removeSuffix(range, static_cast<std::size_t>(end - page));
}

}  // namespace

void leaveOutUnchanged(std::vector<RewriteRange>& ranges) {
    const std::uint64_t end = ranges.back().oldEnd();
    const bool keepsLength = ranges.back().newEnd() == end;
    leaveOutPrefix(ranges.back());
    if (keepsLength) leaveOutSuffix(ranges.back());
    if (ranges.back().oldEnd() < end) ranges.push_back({end, {}, {}});
}

}  // namespace orbo::Files
