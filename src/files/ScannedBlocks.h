// Remembers what a scan has read from a file, for those who read it again.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "files/ReadOnlyFile.h"

namespace orbo::Files {

/// Remembers the blocks of a scan from the file's end to its beginning until a record in them is
/// read, so that the system need not deliver them twice, but no more than it has room for: a scan
/// may go through gigabytes. Don't use it for a file that changes meanwhile.
class ScannedBlocks : public FileInFront {
  public:
    static constexpr std::size_t kBlockSize = 64 * 1024;
    static constexpr std::size_t kMostBlocks = 512;

    /// The file outlives this.
    explicit ScannedBlocks(File& file) : FileInFront(file) {}

    [[nodiscard]] bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override;

  private:
    /// Ends where the next one begins.
    struct Block {
        std::uint64_t begin;
        std::size_t size;
        std::unique_ptr<char[]> bytes;
    };

    [[nodiscard]] bool has(std::uint64_t from, std::uint64_t to) const {
        return !fBlocks.empty() && fBlocks.front().begin <= from &&
               to <= fBlocks.back().begin + fBlocks.back().size;
    }
    void copy(std::uint64_t from, char* to, std::size_t count) const;
    void remember(const char* bytes, std::size_t count);
    void forgetFrom(std::uint64_t offset);

    std::uint64_t fPosition = 0;
    std::deque<Block> fBlocks;  // in the order of the file
};

}  // namespace orbo::Files
