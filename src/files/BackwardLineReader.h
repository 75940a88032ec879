// Walks the lines of a file from the last to the first, without keeping their text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "files/File.h"

namespace orbo::Files {

/// Where a line lies and the little that tells lines apart. A line may be gigabytes long: its text
/// is read by range, once it is known to be wanted.
struct LineDescriptor {
    static constexpr std::size_t kHeadSize = 16;

    std::uint64_t begin = 0;
    /// Behind the line feed, or the end of the range for a last line without one.
    std::uint64_t end = 0;
    /// Nothing but blanks, tabs and carriage returns.
    bool blank = true;
    /// The last character that is none of these is a semicolon.
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

    /// The line in front of the one given last; at first the last line of the range. After anything
    /// but `kLine` there is nothing more to ask for.
    Result previous(LineDescriptor& line);

    /// Where the block begins that was read last, or that could not be.
    [[nodiscard]] std::uint64_t blockOffset() const { return fBlockOffset; }

  private:
    Result loadBlock();
    /// Looks at what the block holds of the line; true when that reaches the line's beginning.
    bool takeFromBlock(LineDescriptor& line);
    void takeHead(LineDescriptor& line) const;

    File* fFile;
    std::uint64_t fBegin;
    std::uint64_t fPosition;     // the lines from here on have been given
    std::uint64_t fBlockOffset;  // of what is in the block, in the file
    // The block, with the first bytes of the one behind it, so that heads are in one piece.
    std::unique_ptr<char[]> fBytes;
};

}  // namespace orbo::Files
