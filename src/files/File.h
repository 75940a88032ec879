// A file and a file system as a few virtual calls, so that a test can make any of them fail.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace orbo::Files {

struct FileAccess;

/// Identity, owner and state of a file.
struct FileStatus {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t links = 1;  // number of hard links
    std::uint64_t owner = 0;
    std::uint64_t group = 0;
    unsigned permissions = 0;  // mode bits, as for chmod
    std::uint64_t length = 0;  // in bytes
    /// Time of the last change of its bytes, in nanoseconds since 1970. Systems count in steps of
    /// up to some milliseconds.
    std::int64_t modified = 0;
    bool isRegular = true;

    [[nodiscard]] bool isSameFile(const FileStatus& other) const {
        return device == other.device && inode == other.inode;
    }
    /// True when length and time show no change; a change within one clock step goes unseen.
    [[nodiscard]] bool hasSameBytes(const FileStatus& other) const {
        return isSameFile(other) && length == other.length && modified == other.modified;
    }
};

/// A regular file with one position, which `seek` sets and `read` and `write` move. No function
/// throws. After a failure the position is undefined. The destructor unlocks and closes the file.
class File {
  public:
    enum class Lock { kShared, kExclusive };
    enum class LockResult { kLocked, kBusy, kUnsupported, kFailed };

    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    virtual ~File() = default;

    /// Empty on failure.
    [[nodiscard]] virtual std::optional<FileStatus> status() = 0;
    /// Tells who may read and write the file. Empty on failure.
    [[nodiscard]] virtual std::optional<FileAccess> access();
    /// Sets the position, counted from the start of the file.
    [[nodiscard]] virtual bool seek(std::uint64_t offset) = 0;
    /// Returns the number of bytes read, which is less than `count` only at the end of the file;
    /// empty on failure.
    [[nodiscard]] virtual std::optional<std::size_t> read(char* to, std::size_t count) = 0;
    /// A failed write may have written some of the bytes.
    [[nodiscard]] virtual bool write(const char* from, std::size_t count) = 0;
    [[nodiscard]] virtual bool truncate(std::uint64_t length) = 0;
    /// Returns true once everything written has reached the disk.
    [[nodiscard]] virtual bool sync() = 0;
    /// Reserves disk space for the range `from` to `to` without changing the file's length. Also
    /// returns true where the file system cannot reserve space. An empty range only asks whether
    /// this process may make the file that long.
    [[nodiscard]] virtual bool reserve(std::uint64_t from, std::uint64_t to) = 0;
    /// Takes an advisory lock on the whole file, which replaces the lock held already. Never waits.
    [[nodiscard]] virtual LockResult lock(Lock kind) = 0;
    virtual void unlock() = 0;

    /// The length in bytes; empty on failure.
    [[nodiscard]] std::optional<std::uint64_t> size();
    /// The bytes that the file takes on the disk, without the holes of a sparse file, as far as the
    /// system tells; empty on failure.
    [[nodiscard]] virtual std::optional<std::uint64_t> sizeOnDisk() { return size(); }
    /// The error of the last call that failed.
    [[nodiscard]] const std::error_code& error() const { return fError; }

  protected:
    std::error_code fError;
};

/// Finds, opens, creates and removes files. Only `resolve` follows a symbolic link in the last part
/// of a path. Every function sets `error` or clears it.
class FileSystem {
  public:
    enum class Mode { kRead, kReadWrite };

    /// The file system of the operating system, unless this thread has a `Replacement`.
    static FileSystem& current();

    virtual ~FileSystem() = default;
    /// Returns the absolute path of an existing file, free of symbolic links.
    [[nodiscard]] virtual std::string resolve(const std::string& name, std::error_code& error) = 0;
    /// Returns null when the file does not exist, may not be opened or is not a regular file. Never
    /// waits.
    [[nodiscard]] virtual std::unique_ptr<File> open(const std::string& path, Mode mode,
                                                     std::error_code& error) = 0;
    /// Creates an empty file with the rights of a journal beside a file with the rights `file`.
    /// Returns null when the name is taken, and when those rights cannot be granted.
    [[nodiscard]] virtual std::unique_ptr<File> create(const std::string& path,
                                                       const FileAccess& file,
                                                       std::error_code& error) = 0;
    /// Empty, without an error, when nothing has this name.
    [[nodiscard]] virtual std::optional<FileStatus> status(const std::string& path,
                                                           std::error_code& error) = 0;
    virtual bool remove(const std::string& path, std::error_code& error) = 0;
    /// Replaces a file that has the new name.
    virtual bool rename(const std::string& from, const std::string& to, std::error_code& error) = 0;
    /// Returns true once the names in the folder of this path have reached the disk.
    virtual bool syncFolderOf(const std::string& path, std::error_code& error) = 0;
    /// The user who owns what `create` makes.
    [[nodiscard]] virtual std::uint64_t user() = 0;
    /// Who may read and write the file of this name. Empty on failure, and when there is none.
    [[nodiscard]] virtual std::optional<FileAccess> access(const std::string& path,
                                                           std::error_code& error);
    /// Whether the file itself, and not just its folder, is mounted somewhere, under this path or
    /// another one. False also where the system does not tell.
    [[nodiscard]] virtual bool isMounted(const std::string& path, const FileStatus& status);
    /// The groups of a user; empty when the system does not know them.
    [[nodiscard]] virtual std::optional<std::vector<std::uint64_t>> groupsOf(std::uint64_t user);
    /// Describes a user for messages: the number, and the name if there is one.
    [[nodiscard]] virtual std::string describeUser(std::uint64_t user);

    /// While it lives, this thread uses the other file system.
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

/// Whether the path leads to this open file. Returns false, with an error, on failure.
[[nodiscard]] bool isNamed(FileSystem& system, const std::string& path, File& file,
                           std::error_code& error);

/// Reads `count` bytes; returns false also when the file ends before.
[[nodiscard]] bool readExactly(File& file, char* to, std::size_t count);
/// Does the same from an offset.
[[nodiscard]] bool readExactlyAt(File& file, std::uint64_t offset, char* to, std::size_t count);

}  // namespace orbo::Files
