// Walks the lines of a file from the last to the first, without keeping their text.
// SPDX-License-Identifier: Apache-2.0
#include "files/BackwardLineReader.h"

#include <algorithm>
#include <cstring>

namespace orbo::Files {

namespace {

bool isLineBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

BackwardLineReader::BackwardLineReader(File& file, std::uint64_t begin, std::uint64_t end)
    : fFile(&file),
      fBegin(begin),
      fPosition(std::max(begin, end)),
      fBlockOffset(fPosition),
      fBytes(std::make_unique<char[]>(kBlockSize + LineDescriptor::kHeadSize)) {}

// Blocks are read from the end of the range towards its beginning. Only the last block read, at the
// beginning, may be smaller.
BackwardLineReader::Result BackwardLineReader::loadBlock() {
    const std::uint64_t left = fBlockOffset - fBegin;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, kBlockSize));
    std::memmove(fBytes.get() + count, fBytes.get(), LineDescriptor::kHeadSize);
    fBlockOffset -= count;
    if (!fFile->seek(fBlockOffset)) return Result::kSeekFailed;
    return readExactly(*fFile, fBytes.get(), count) ? Result::kLine : Result::kReadFailed;
}

BackwardLineReader::Result BackwardLineReader::previous(LineDescriptor& line) {
    if (fPosition == fBegin) return Result::kAtBegin;
    line = LineDescriptor();
    line.begin = line.end = fPosition;
    do {
        if (line.begin == fBlockOffset) {
            const Result loaded = loadBlock();
            if (loaded != Result::kLine) return loaded;
        }
    } while (!takeFromBlock(line));
    takeHead(line);
    fPosition = line.begin;
    return Result::kLine;
}

bool BackwardLineReader::takeFromBlock(LineDescriptor& line) {
    const char* const first = fBytes.get();
    const char* at = first + (line.begin - fBlockOffset);
    if (line.begin == line.end && at[-1] == '\n') --at;  // skip the line feed that ends the line
    if (line.blank) {
        const char* last = at;
        while (last != first && isLineBlank(last[-1])) --last;
        if (last != first && last[-1] != '\n') {
            line.blank = false;
            line.closed = last[-1] == ';';
        }
    }
    const void* const feed = ::memrchr(first, '\n', static_cast<std::size_t>(at - first));
    at = feed ? static_cast<const char*>(feed) + 1 : first;
    line.begin = fBlockOffset + static_cast<std::uint64_t>(at - first);
    return at != first || line.begin == fBegin;
}

void BackwardLineReader::takeHead(LineDescriptor& line) const {
    const std::uint64_t size =
        std::min<std::uint64_t>(line.end - line.begin, LineDescriptor::kHeadSize);
    std::memcpy(line.headBytes.data(), fBytes.get() + (line.begin - fBlockOffset),
                static_cast<std::size_t>(size));
    line.headSize = std::min(static_cast<std::size_t>(size),
                             std::string_view(line.headBytes.data(), size).find('\n'));
}

}  // namespace orbo::Files
