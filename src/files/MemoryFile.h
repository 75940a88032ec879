// Reads bytes in memory like a file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "files/ReadOnlyFile.h"

namespace orbo::Files {

/// The bytes outlive the file.
class MemoryFile : public ReadOnlyFile {
  public:
    explicit MemoryFile(std::string_view bytes) : fBytes(bytes) {}

    [[nodiscard]] std::optional<FileStatus> status() override {
        FileStatus status;
        status.length = fBytes.size();
        return status;
    }
    [[nodiscard]] bool seek(std::uint64_t offset) override {
        if (offset > fBytes.size()) return false;
        fPosition = static_cast<std::size_t>(offset);
        return true;
    }
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override {
        const std::size_t got = fBytes.copy(to, count, fPosition);
        fPosition += got;
        return got;
    }
    [[nodiscard]] LockResult lock(Lock) override { return LockResult::kUnsupported; }
    void unlock() override {}

  private:
    std::string_view fBytes;
    std::size_t fPosition = 0;
};

}  // namespace orbo::Files
