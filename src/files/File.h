// Bytes on disk: as little of a file as is needed here, so that a test can fail any call.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace orbo::Files {

/// A regular file with one position, which `seek` sets and `read` and `write` move. Nothing throws;
/// after a failure the position is undefined. Closed when it is destroyed.
class File {
  public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    virtual ~File() = default;

    /// In bytes; empty on failure.
    [[nodiscard]] virtual std::optional<std::uint64_t> size() = 0;
    /// From the start of the file.
    [[nodiscard]] virtual bool seek(std::uint64_t offset) = 0;
    /// The bytes read, which are fewer than `count` only at the end of the file; empty on failure.
    [[nodiscard]] virtual std::optional<std::size_t> read(char* to, std::size_t count) = 0;
    /// When it fails, some of the bytes may have been written.
    [[nodiscard]] virtual bool write(const char* from, std::size_t count) = 0;
    [[nodiscard]] virtual bool truncate(std::uint64_t length) = 0;
    /// True once everything written has reached the disk.
    [[nodiscard]] virtual bool sync() = 0;
};

/// Where files are opened.
class FileSystem {
  public:
    enum class Mode { kRead, kReadWrite };

    /// The real one, unless a `Replacement` is in force in this thread.
    static FileSystem& current();

    virtual ~FileSystem() = default;
    /// Null when the file is not there, may not be opened or is no regular file. Never waits.
    [[nodiscard]] virtual std::unique_ptr<File> open(const std::string& name, Mode mode) = 0;

    /// While it lives, this thread opens its files elsewhere.
    class Replacement {
      public:
        explicit Replacement(FileSystem& other);
        Replacement(const Replacement&) = delete;
        Replacement& operator=(const Replacement&) = delete;
        ~Replacement();

      private:
        FileSystem* fPrevious;
    };
};

/// False also when the file ends before.
[[nodiscard]] bool readExactly(File& file, char* to, std::size_t count);

}  // namespace orbo::Files
