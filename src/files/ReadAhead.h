// Small reads of a file, served from memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "files/ReadOnlyFile.h"

namespace orbo::Files {

/// Reads more than it is asked for, in the direction in which it is being read, and keeps it: not
/// for files that change meanwhile.
class ReadAhead : public ReadOnlyFile {
  public:
    static constexpr std::size_t kWindowSize = 128 * 1024;

    /// The file outlives it.
    explicit ReadAhead(File& file) : fFile(file), fWindow(new char[kWindowSize]) {}

    [[nodiscard]] std::optional<FileStatus> status() override { return noting(fFile.status()); }
    [[nodiscard]] bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override;
    [[nodiscard]] LockResult lock(Lock kind) override { return fFile.lock(kind); }
    void unlock() override { fFile.unlock(); }

  private:
    template <typename Result>
    Result noting(Result result) {
        if (!result) fError = fFile.error();
        return result;
    }
    [[nodiscard]] bool inWindow(std::uint64_t position, std::size_t count) const {
        return position >= fBegin && position - fBegin <= fSize &&
               count <= fSize - (position - fBegin);
    }
    /// Has the window hold what it can of these bytes.
    [[nodiscard]] bool load(std::size_t count);

    File& fFile;
    std::unique_ptr<char[]> fWindow;
    std::uint64_t fPosition = 0;
    std::uint64_t fBegin = 0;  // of the window, in the file
    std::size_t fSize = 0;
};

}  // namespace orbo::Files
