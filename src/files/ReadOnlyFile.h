// The base of files that are only read.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/File.h"

namespace orbo::Files {

/// Refuses every change.
class ReadOnlyFile : public File {
  public:
    [[nodiscard]] bool write(const char*, std::size_t) final { return refuse(); }
    [[nodiscard]] bool truncate(std::uint64_t) final { return refuse(); }
    [[nodiscard]] bool sync() final { return refuse(); }
    [[nodiscard]] bool reserve(std::uint64_t, std::uint64_t) final { return refuse(); }

  private:
    bool refuse() {
        fError = std::make_error_code(std::errc::bad_file_descriptor);
        return false;
    }
};

/// Stands in front of a file that outlives it, and reads from it in another way.
class FileInFront : public ReadOnlyFile {
  public:
    [[nodiscard]] std::optional<FileStatus> status() override { return noting(fFile.status()); }
    [[nodiscard]] LockResult lock(Lock kind) override { return fFile.lock(kind); }
    void unlock() override { fFile.unlock(); }

  protected:
    explicit FileInFront(File& file) : fFile(file) {}

    /// Takes over the file's error when there is no result.
    template <typename Result>
    Result noting(Result result) {
        if (!result) fError = fFile.error();
        return result;
    }

    File& fFile;
};

}  // namespace orbo::Files
