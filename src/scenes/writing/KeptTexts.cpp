// Finds the texts of a node that need not be formatted anew.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/KeptTexts.h"

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>

#include "scenes/writing/WrittenModel.h"

namespace orbo::Data {

namespace {

using Range = KeptText::Range;

/// The ranges of the text of one stream, by its outline.
class StreamCut {
  public:
    explicit StreamCut(const StreamOutline& outline) : fOutline(outline) {}

    [[nodiscard]] Range header() const { return {fOutline.begin, elementsBegin()}; }
    [[nodiscard]] Range end() const { return {fOutline.elementsEnd, fOutline.end}; }
    [[nodiscard]] Range all() const { return {elementsBegin(), fOutline.elementsEnd}; }
    [[nodiscard]] Range block(std::size_t number) const {
        const std::vector<std::size_t>& blocks = fOutline.blocks;
        const std::size_t next = number + 1;
        return {blocks[number], next < blocks.size() ? blocks[next] : fOutline.elementsEnd};
    }

  private:
    [[nodiscard]] std::size_t elementsBegin() const {
        return fOutline.blocks.empty() ? fOutline.elementsEnd : fOutline.blocks.front();
    }

    const StreamOutline& fOutline;
};

KeptText keptText(const StreamOutline& outline, const StreamDigest& read, const StreamDigest& now,
                  const RecordBytes& record) {
    const StreamCut cut(outline);
    KeptText kept{record.text(cut.header()), record.text(cut.end()), {}, outline.blockSize};
    if (outline.blockSize == StreamOutline::kUndivided) {
        if (read.blocks == now.blocks) kept.blocks.push_back(cut.all());
        return kept;
    }
    for (std::size_t block = 0; block < now.blocks.size(); ++block) {
        const bool isSame = block < read.blocks.size() && read.blocks[block] == now.blocks[block];
        kept.blocks.push_back(isSame ? cut.block(block) : Range());
    }
    return kept;
}

// Elements that the text has twice, or that could not be stored, make other blocks of the stream.
bool hasTextOfEachBlock(const StreamOutline& outline, const StreamDigest& read) {
    return outline.blockSize == StreamOutline::kUndivided ||
           outline.blocks.size() == read.blocks.size();
}

}  // namespace

std::optional<RecordBytes> RecordBytes::of(const SceneSplicing& splicing, std::string_view bytes,
                                           const std::vector<StreamOutline>& outlines) {
    RecordBytes record(splicing, bytes);
    std::vector<std::size_t>& offsets = record.fOffsets;
    for (const StreamOutline& outline : outlines) {
        offsets.insert(offsets.end(), {outline.begin, outline.elementsEnd, outline.end});
        offsets.insert(offsets.end(), outline.blocks.begin(), outline.blocks.end());
    }
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
    record.fPlaces = splicing.placesOf(bytes, offsets);
    if (record.fPlaces.size() != offsets.size()) return std::nullopt;
    return record;
}

std::size_t RecordBytes::placeOf(std::size_t offset) const {
    const auto found = std::lower_bound(fOffsets.begin(), fOffsets.end(), offset);
    return fPlaces[static_cast<std::size_t>(found - fOffsets.begin())];
}

std::string_view RecordBytes::bytes(const Range& range) const {
    const std::size_t begin = placeOf(range.begin);
    return fBytes.substr(begin, placeOf(range.end) - begin);
}

std::string RecordBytes::text(const Range& range) const { return fSplicing->textOf(bytes(range)); }

KeptTexts keptTexts(const Associations& node, const NodeDigest& now,
                    const ReadSnapshot::NodeText& read, const RecordBytes& record) {
    KeptTexts kept;
    std::size_t number = 0;
    auto outline = read.streams.begin();
    forEachStream(node, [&](const Channel& channel, const Stream& stream) {
        const StreamDigest& digest = now.streams[number++];
        const auto name = std::tie(channel.name(), stream.name());
        outline = std::find_if(outline, read.streams.end(), [&](const StreamOutline& each) {
            return std::tie(each.channel, each.stream) >= name;
        });
        if (outline == read.streams.end()) return false;
        if (std::tie(outline->channel, outline->stream) != name) return true;
        const auto place = static_cast<std::size_t>(outline - read.streams.begin());
        const StreamDigest& then = read.digests[place];
        if (then.header == digest.header && hasTextOfEachBlock(*outline, then)) {
            kept.emplace(&stream, keptText(*outline, then, digest, record));
        }
        return true;
    });
    return kept;
}

}  // namespace orbo::Data
