// Walks the lines of a file from the last to the first, without keeping their text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "files/File.h"

namespace orbo::Files {

/// Describes a line by its place and what is needed to classify it. A line may be gigabytes long,
/// so its text is read by range, and only when it is wanted.
struct LineDescriptor {
    static constexpr std::size_t kHeadSize = 16;

    std::uint64_t begin = 0;
    /// The offset behind the line feed, or the end of the range for a last line without one.
    std::uint64_t end = 0;
    /// True when the line has only blanks, tabs and carriage returns.
    bool blank = true;
    /// True when the last character that is none of these is a semicolon.
    bool closed = false;
    std::array<char, kHeadSize> headBytes{};
    std::size_t headSize = 0;

    /// The first bytes, without the line feed.
    [[nodiscard]] std::string_view head() const { return {headBytes.data(), headSize}; }
};

/// Reads each byte of the range once, in blocks; its memory is one block however long lines are.
class BackwardLineReader {
  public:
    static constexpr std::size_t kBlockSize = 64 * 1024;

    enum class Result { kLine, kAtBegin, kSeekFailed, kReadFailed };

    /// The range begins at the beginning of a line. The file outlives the reader.
    BackwardLineReader(File& file, std::uint64_t begin, std::uint64_t end);

    /// Gives the line in front of the one given last; the first call gives the last line of the
    /// range. Don't call again after any result but `kLine`.
    Result previous(LineDescriptor& line);

    /// The offset of the block that was read last, or that could not be read.
    [[nodiscard]] std::uint64_t blockOffset() const { return fBlockOffset; }

  private:
    Result loadBlock();
    /// Looks at the part of the line that the block holds; returns true when that reaches the
    /// beginning of the line.
    bool takeFromBlock(LineDescriptor& line);
    void takeHead(LineDescriptor& line) const;

    File* fFile;
    std::uint64_t fBegin;
    std::uint64_t fPosition;     // lines from this offset on have been given
    std::uint64_t fBlockOffset;  // where in the file the block begins
    // The block, followed by the first bytes of the block behind it, so that no head of a line is
    // split.
    std::unique_ptr<char[]> fBytes;
};

}  // namespace orbo::Files
