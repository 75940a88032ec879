// Serves small reads of a file from memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "files/ReadOnlyFile.h"

namespace orbo::Files {

/// Reads ahead once reads follow each other, forwards or backwards, and keeps what it read. Don't
/// use it for a file that changes meanwhile.
class ReadAhead : public FileInFront {
  public:
    static constexpr std::size_t kWindowSize = 64 * 1024;

    /// The file outlives this.
    explicit ReadAhead(File& file) : FileInFront(file), fWindow(new char[kWindowSize]) {}

    [[nodiscard]] bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override;

  private:
    struct Range {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(end - begin); }
        [[nodiscard]] bool contains(const Range& other) const {
            return begin <= other.begin && other.end <= end;
        }
    };

    /// The window to load for these bytes; empty when they should be read alone.
    [[nodiscard]] Range windowFor(const Range& wanted) const;
    [[nodiscard]] std::optional<std::size_t> readFrom(std::uint64_t begin, char* to,
                                                      std::size_t count);
    [[nodiscard]] bool load(const Range& window);

    std::unique_ptr<char[]> fWindow;
    Range fLoaded;  // the range of the file in the window
    Range fLast;    // the last read
    std::uint64_t fPosition = 0;
};

}  // namespace orbo::Files
