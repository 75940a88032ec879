// A rewrite that is narrowed to what changes makes the same file.
// SPDX-License-Identifier: Apache-2.0
#include "files/UnchangedPages.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace orbo::Files {
namespace {

std::uint64_t bytesIn(const std::vector<RewriteRange>& ranges) {
    std::uint64_t bytes = 0;
    for (const RewriteRange& range : ranges) bytes += range.oldBytes.size() + range.newSize();
    return bytes;
}

std::string applied(const std::vector<RewriteRange>& ranges, std::string file) {
    for (const RewriteRange& range : ranges) {
        EXPECT_EQ(file.compare(range.offset, range.oldBytes.size(), range.oldBytes), 0);
        std::string bytes;
        for (const std::string_view piece : range.pieces) bytes += piece;
        if (&range == &ranges.back()) {
            EXPECT_EQ(range.oldEnd(), file.size());
        } else {
            EXPECT_EQ(bytes.size(), range.oldBytes.size());
        }
        file.replace(range.offset, range.oldBytes.size(), bytes);
    }
    return file;
}

TEST(UnchangedPages, AreLeftOutWhateverChanges) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        const std::string old(random() % 40000 + 1, 'a');
        const std::size_t begin = random() % old.size();
        std::string changed = old;
        std::size_t first = changed.size(), last = 0;
        for (auto edits = random() % 3; edits > 0; --edits) {
            const std::size_t at = begin + random() % (old.size() - begin);
            changed[at] = 'b';
            first = std::min(first, at);
            last = std::max(last, at + 1);
        }
        const bool keepsLength = random() % 2 == 0;
        if (!keepsLength) changed.resize(begin + random() % 40000, 'a');
        const std::size_t cut = begin + random() % (changed.size() - begin + 1);
        const std::string_view all = changed;
        std::vector<RewriteRange> ranges = {
            {begin,
             std::string_view(old).substr(begin),
             {all.substr(begin, cut - begin), {}, all.substr(cut)}}};
        leaveOutUnchanged(ranges);
        ASSERT_EQ(applied(ranges, old), changed) << round;
        ASSERT_EQ(ranges.front().pieces.size(), 3u);
        if (!keepsLength) continue;
        const std::uint64_t span = first < last ? last - first + 2 * 4096 : 4096;
        ASSERT_LE(bytesIn(ranges), 2 * span) << round;
    }
}

}  // namespace
}  // namespace orbo::Files
