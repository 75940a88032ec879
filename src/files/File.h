// Bytes on disk: as little of a file system as is needed here, so that a test can fail any call.
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

/// What tells one file from another, and whose it is.
struct FileStatus {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t links = 1;  // names that it has
    std::uint64_t owner = 0;
    std::uint64_t group = 0;
    unsigned permissions = 0;  // as for chmod
    std::uint64_t length = 0;  // in bytes
    /// Nanoseconds since 1970, of the last change of its bytes. Systems count in steps of up to
    /// some milliseconds.
    std::int64_t modified = 0;
    bool isRegular = true;

    [[nodiscard]] bool isSameFile(const FileStatus& other) const {
        return device == other.device && inode == other.inode;
    }
    /// As far as can be told from outside.
    [[nodiscard]] bool hasSameBytes(const FileStatus& other) const {
        return isSameFile(other) && length == other.length && modified == other.modified;
    }
};

/// A regular file with one position, which `seek` sets and `read` and `write` move. Nothing throws;
/// after a failure the position is undefined. Closed, and unlocked, when it is destroyed.
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
    /// Who may read and write it. Empty on failure.
    [[nodiscard]] virtual std::optional<FileAccess> access();
    /// From the start of the file.
    [[nodiscard]] virtual bool seek(std::uint64_t offset) = 0;
    /// The bytes read, which are fewer than `count` only at the end of the file; empty on failure.
    [[nodiscard]] virtual std::optional<std::size_t> read(char* to, std::size_t count) = 0;
    /// When it fails, some of the bytes may have been written.
    [[nodiscard]] virtual bool write(const char* from, std::size_t count) = 0;
    [[nodiscard]] virtual bool truncate(std::uint64_t length) = 0;
    /// True once everything written has reached the disk.
    [[nodiscard]] virtual bool sync() = 0;
    /// Finds room on the disk for the bytes from one offset to another without changing the file's
    /// length. True also where the file system cannot do that. Without any bytes it only asks
    /// whether this process may make the file that long.
    [[nodiscard]] virtual bool reserve(std::uint64_t from, std::uint64_t to) = 0;
    /// An advisory lock on the whole file, in place of one that is held already. Never waits.
    [[nodiscard]] virtual LockResult lock(Lock kind) = 0;
    virtual void unlock() = 0;

    /// In bytes; empty on failure.
    [[nodiscard]] std::optional<std::uint64_t> size();
    /// The size without the holes of a sparse file, as far as the system tells; empty on failure.
    [[nodiscard]] virtual std::optional<std::uint64_t> sizeOnDisk() { return size(); }
    /// Why the last call failed that did.
    [[nodiscard]] const std::error_code& error() const { return fError; }

  protected:
    std::error_code fError;
};

/// Where files are. Paths given to anything but `resolve` are not followed when their last part is
/// a symbolic link. Functions set `error`, or clear it.
class FileSystem {
  public:
    enum class Mode { kRead, kReadWrite };

    /// The real one, unless a `Replacement` is in force in this thread.
    static FileSystem& current();

    virtual ~FileSystem() = default;
    /// The absolute path of what is there, free of symbolic links.
    [[nodiscard]] virtual std::string resolve(const std::string& name, std::error_code& error) = 0;
    /// Null when the file is not there, may not be opened or is no regular file. Never waits.
    [[nodiscard]] virtual std::unique_ptr<File> open(const std::string& path, Mode mode,
                                                     std::error_code& error) = 0;
    /// A new, empty file with the rights of a journal beside a file with the rights `file`. Null
    /// when anything has that name already, and when those rights cannot be had.
    [[nodiscard]] virtual std::unique_ptr<File> create(const std::string& path,
                                                       const FileAccess& file,
                                                       std::error_code& error) = 0;
    /// Empty without an error when there is nothing.
    [[nodiscard]] virtual std::optional<FileStatus> status(const std::string& path,
                                                           std::error_code& error) = 0;
    virtual bool remove(const std::string& path, std::error_code& error) = 0;
    /// May replace what has the new name.
    virtual bool rename(const std::string& from, const std::string& to, std::error_code& error) = 0;
    /// True once the names in the folder of this path have reached the disk.
    virtual bool syncFolderOf(const std::string& path, std::error_code& error) = 0;
    /// Who owns what `create` makes.
    [[nodiscard]] virtual std::uint64_t user() = 0;
    /// Who may read and write what has this name. Empty on failure, and when there is nothing.
    [[nodiscard]] virtual std::optional<FileAccess> access(const std::string& path,
                                                           std::error_code& error);
    /// Whether the file of this path and status is, there or elsewhere, mounted on its own, without
    /// its folder. False also where the system does not tell.
    [[nodiscard]] virtual bool isMounted(const std::string& path, const FileStatus& status);
    /// The groups that a user is in; empty when nobody knows.
    [[nodiscard]] virtual std::optional<std::vector<std::uint64_t>> groupsOf(std::uint64_t user);
    /// For people: the number of a user, and the name if there is one.
    [[nodiscard]] virtual std::string describeUser(std::uint64_t user);

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

/// Whether the path leads to this open file. False also on failure, with an error then.
[[nodiscard]] bool isNamed(FileSystem& system, const std::string& path, File& file,
                           std::error_code& error);

/// False also when the file ends before.
[[nodiscard]] bool readExactly(File& file, char* to, std::size_t count);
/// The same, from an offset.
[[nodiscard]] bool readExactlyAt(File& file, std::uint64_t offset, char* to, std::size_t count);

}  // namespace orbo::Files
