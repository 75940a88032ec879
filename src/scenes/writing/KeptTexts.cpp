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

/// The text of one stream, cut by its outline.
class StreamCut {
  public:
    StreamCut(const StreamOutline& outline, std::string_view text)
        : fOutline(outline), fText(text) {}

    [[nodiscard]] std::string_view header() const { return from(fOutline.begin, elementsBegin()); }
    [[nodiscard]] std::string_view end() const { return from(fOutline.elementsEnd, fOutline.end); }
    [[nodiscard]] std::string_view all() const {
        return from(elementsBegin(), fOutline.elementsEnd);
    }
    [[nodiscard]] std::string_view block(std::size_t number) const {
        const std::vector<std::size_t>& blocks = fOutline.blocks;
        const std::size_t next = number + 1;
        return from(blocks[number], next < blocks.size() ? blocks[next] : fOutline.elementsEnd);
    }

  private:
    [[nodiscard]] std::size_t elementsBegin() const {
        return fOutline.blocks.empty() ? fOutline.elementsEnd : fOutline.blocks.front();
    }
    [[nodiscard]] std::string_view from(std::size_t begin, std::size_t end) const {
        return fText.substr(begin, end - begin);
    }

    const StreamOutline& fOutline;
    const std::string_view fText;
};

KeptText keptText(const StreamOutline& outline, const StreamDigest& read, const StreamDigest& now,
                  std::string_view text) {
    const StreamCut cut(outline, text);
    KeptText kept{cut.header(), cut.end(), {}, outline.blockSize};
    if (outline.blockSize == StreamOutline::kUndivided) {
        if (read.blocks == now.blocks) kept.blocks.push_back(cut.all());
        return kept;
    }
    for (std::size_t block = 0; block < now.blocks.size(); ++block) {
        const bool isSame = block < read.blocks.size() && read.blocks[block] == now.blocks[block];
        kept.blocks.push_back(isSame ? cut.block(block) : std::string_view());
    }
    return kept;
}

// Elements that the text has twice, or that could not be stored, make other blocks of the stream.
bool hasTextOfEachBlock(const StreamOutline& outline, const StreamDigest& read) {
    return outline.blockSize == StreamOutline::kUndivided ||
           outline.blocks.size() == read.blocks.size();
}

}  // namespace

KeptTexts keptTexts(const Associations& node, const NodeDigest& now,
                    const ReadSnapshot::NodeText& read, std::string_view text) {
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
            kept.emplace(&stream, keptText(*outline, then, digest, text));
        }
        return true;
    });
    return kept;
}

}  // namespace orbo::Data
