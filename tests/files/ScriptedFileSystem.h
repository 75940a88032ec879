// A file system in memory, any call of which a test can make fail.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>

#include "files/FileAccess.h"

namespace orbo::Files {

enum class Call {
    kResolve,
    kOpen,
    kCreate,
    kNameStatus,
    kRemove,
    kRename,
    kSyncFolder,
    kStatus,
    kLock,
    kSeek,
    kRead,
    kWrite,
    kTruncate,
    kSync,
    kReserve
};

/// One folder. What the tests say about a file, `files` aside, holds by name. A failing write
/// leaves half of its bytes behind.
class ScriptedFileSystem : public FileSystem {
  public:
    std::map<std::string, std::string> files;
    /// Asked once for every call; true makes it fail.
    std::function<bool(Call)> fails = [](Call) { return false; };
    std::set<std::string> readOnly;
    std::map<std::string, FileStatus> statuses;
    std::map<std::string, std::uint64_t> sizesOnDisk;  ///< of sparse files
    bool hasLocks = true;
    bool inodesAreKept = false;  ///< of open files, whatever `statuses` say of the name later

    std::uint64_t bytesRead = 0;
    std::uint64_t bytesWritten = 0;
    std::size_t largestRead = 0;

    /// The `n`-th call (from 0) fails, of any kind or of one; and all later ones of those, too.
    void failAt(int n, bool fromThenOn, std::optional<Call> kind = std::nullopt) {
        fails = [n, fromThenOn, kind, seen = 0](Call call) mutable {
            if (kind && *kind != call) return false;
            const int number = seen++;
            return number == n || (fromThenOn && number > n);
        };
    }

    std::string resolve(const std::string& name, std::error_code& error) override {
        return succeeds(Call::kResolve, files.count(name) > 0, error) ? name : std::string();
    }
    std::unique_ptr<File> open(const std::string& path, Mode mode,
                               std::error_code& error) override {
        const bool allowed = mode == Mode::kRead || readOnly.count(path) == 0;
        if (!succeeds(Call::kOpen, files.count(path) > 0 && allowed, error)) return nullptr;
        return std::make_unique<OpenFile>(*this, path, mode);
    }
    std::unique_ptr<File> create(const std::string& path, const FileAccess&,
                                 std::error_code& error) override {
        if (!succeeds(Call::kCreate, files.count(path) == 0, error)) {
            if (files.count(path) > 0) error = std::make_error_code(std::errc::file_exists);
            return nullptr;
        }
        files[path].clear();
        return std::make_unique<OpenFile>(*this, path, Mode::kReadWrite);
    }
    std::optional<FileStatus> status(const std::string& path, std::error_code& error) override {
        if (!succeeds(Call::kNameStatus, true, error) || files.count(path) == 0) return {};
        return statusOf(path);
    }
    bool remove(const std::string& path, std::error_code& error) override {
        return succeeds(Call::kRemove, files.count(path) > 0, error) && files.erase(path) > 0;
    }
    bool rename(const std::string& from, const std::string& to, std::error_code& error) override {
        if (!succeeds(Call::kRename, files.count(from) > 0, error)) return false;
        files[to] = files[from];
        return files.erase(from) > 0;
    }
    bool syncFolderOf(const std::string&, std::error_code& error) override {
        return succeeds(Call::kSyncFolder, true, error);
    }
    std::uint64_t user() override { return 1; }

  private:
    bool succeeds(Call call, bool possible, std::error_code& error) {
        const bool success = !fails(call) && possible;
        error = success ? std::error_code() : std::make_error_code(std::errc::io_error);
        return success;
    }
    FileStatus statusOf(const std::string& path) {
        const auto told = statuses.find(path);
        FileStatus status = told == statuses.end() ? FileStatus() : told->second;
        if (status.owner == 0) status.owner = user();
        if (status.inode == 0) status.inode = std::hash<std::string>()(path);
        status.length = files.count(path) > 0 ? files[path].size() : 0;
        return status;
    }

    class OpenFile : public File {
      public:
        OpenFile(ScriptedFileSystem& system, const std::string& path, FileSystem::Mode mode)
            : fSystem(system), fPath(path), fWritable(mode == FileSystem::Mode::kReadWrite) {}
        ~OpenFile() override { release(); }

        std::optional<FileStatus> status() override {
            if (!succeeds(Call::kStatus)) return std::nullopt;
            FileStatus status = fSystem.statusOf(fPath);
            if (fSystem.inodesAreKept) status.inode = fInode;
            return status;
        }
        bool seek(std::uint64_t offset) override {
            fPosition = static_cast<std::size_t>(offset);
            return succeeds(Call::kSeek) && offset >> 63 == 0;
        }
        std::optional<std::size_t> read(char* to, std::size_t count) override {
            if (!succeeds(Call::kRead)) return std::nullopt;
            const std::size_t got =
                fPosition < bytes().size() ? bytes().copy(to, count, fPosition) : std::size_t{0};
            fPosition += got;
            fSystem.bytesRead += got;
            fSystem.largestRead = std::max(fSystem.largestRead, got);
            return got;
        }
        bool write(const char* from, std::size_t count) override {
            const bool failing = !succeeds(Call::kWrite) || !fWritable;
            const std::size_t put = failing ? count / 2 : count;
            if (bytes().size() < fPosition + put) bytes().resize(fPosition + put);
            bytes().replace(fPosition, put, from, put);
            fSystem.bytesWritten += put;
            fPosition += put;
            return !failing;
        }
        bool truncate(std::uint64_t length) override {
            if (!succeeds(Call::kTruncate) || !fWritable) return false;
            bytes().resize(static_cast<std::size_t>(length));
            return true;
        }
        bool sync() override { return succeeds(Call::kSync); }
        bool reserve(std::uint64_t, std::uint64_t) override { return succeeds(Call::kReserve); }
        std::optional<std::uint64_t> sizeOnDisk() override {
            const auto told = fSystem.sizesOnDisk.find(fPath);
            return told == fSystem.sizesOnDisk.end() ? size() : told->second;
        }
        LockResult lock(Lock kind) override {
            if (!fSystem.hasLocks) return LockResult::kUnsupported;
            if (!succeeds(Call::kLock)) return LockResult::kFailed;
            release();
            int& holders = fSystem.fLocks[fPath];
            if (holders < 0 || (kind == Lock::kExclusive && holders > 0)) return LockResult::kBusy;
            fHeld = kind == Lock::kExclusive ? -1 : 1;
            holders += fHeld;
            return LockResult::kLocked;
        }
        void unlock() override { release(); }

      private:
        bool succeeds(Call call) {
            const bool success = !fSystem.fails(call);
            if (!success) fError = std::make_error_code(std::errc::io_error);
            return success;
        }
        std::string& bytes() {
            const auto named = fSystem.files.find(fPath);
            return named == fSystem.files.end() ? fNameless : named->second;
        }
        void release() {
            if (fHeld != 0) fSystem.fLocks[fPath] -= fHeld;
            fHeld = 0;
        }

        ScriptedFileSystem& fSystem;
        std::string fPath;
        std::string fNameless;
        std::uint64_t fInode;
        bool fWritable;
        std::size_t fPosition = 0;
        int fHeld = 0;
    };

    std::map<std::string, int> fLocks;  // readers, or -1 for a writer
};

}  // namespace orbo::Files
