// The files of the operating system; repeats interrupted calls and continues after short counts.
// SPDX-License-Identifier: Apache-2.0
#ifndef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64
#endif

#include "files/posix/PosixFileSystem.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

#include "files/posix/Descriptor.h"
#include "files/posix/DescriptorLock.h"
#include "files/posix/MountTable.h"
#include "files/posix/PosixAccess.h"
#include "files/posix/SystemCall.h"

namespace orbo::Files {

namespace {

static_assert(sizeof(off_t) >= 8, "offsets in scenes need 64 bits");

// The largest transfer in one call that all systems accept.
constexpr std::size_t kMostPerCall = std::size_t{1} << 30;

bool outcome(int result, std::error_code& error) {
    error = result == 0 ? std::error_code() : lastError();
    return result == 0;
}

bool isOffset(std::uint64_t offset) {
    return offset <= static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
}

// Reserving space does not check the limit of the process, but writing does.
bool isAllowedLength(std::uint64_t length) {
    struct rlimit limit = {};
    return ::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
           length <= limit.rlim_cur;
}

FileStatus statusOf(const struct stat& found) {
    FileStatus status;
    status.device = static_cast<std::uint64_t>(found.st_dev);
    status.inode = static_cast<std::uint64_t>(found.st_ino);
    status.links = static_cast<std::uint64_t>(found.st_nlink);
    status.owner = found.st_uid;
    status.group = found.st_gid;
    status.permissions = found.st_mode & 07777U;
    status.length = found.st_size < 0 ? 0 : static_cast<std::uint64_t>(found.st_size);
    status.modified = std::int64_t{found.st_mtim.tv_sec} * 1'000'000'000 + found.st_mtim.tv_nsec;
    status.isRegular = S_ISREG(found.st_mode);
    return status;
}

class PosixFile : public File {
  public:
    explicit PosixFile(Descriptor&& descriptor) : fDescriptor(std::move(descriptor)) {}
    // A child that is forked just before the file is closed must not keep the lock.
    ~PosixFile() override {
        if (fMayBeLocked) PosixFile::unlock();
    }

    std::optional<FileStatus> status() override {
        struct stat found = {};
        if (!succeeded(::fstat(fDescriptor, &found) == 0)) return std::nullopt;
        return statusOf(found);
    }

    std::optional<FileAccess> access() override { return accessOf(fDescriptor, fError); }

    bool seek(std::uint64_t offset) override {
        errno = EINVAL;
        return succeeded(isOffset(offset) &&
                         ::lseek(fDescriptor, static_cast<off_t>(offset), SEEK_SET) != off_t{-1});
    }

    std::optional<std::size_t> read(char* to, std::size_t count) override {
        std::size_t done = 0;
        while (done < count) {
            const std::size_t most = std::min(count - done, kMostPerCall);
            const ssize_t got =
                untilNotInterrupted([&] { return ::read(fDescriptor, to + done, most); });
            if (!succeeded(got >= 0)) return std::nullopt;
            if (got == 0) break;
            done += static_cast<std::size_t>(got);
        }
        return done;
    }

    bool write(const char* from, std::size_t count) override {
        while (count > 0) {
            const std::size_t most = std::min(count, kMostPerCall);
            errno = EIO;
            const ssize_t put =
                untilNotInterrupted([&] { return ::write(fDescriptor, from, most); });
            if (!succeeded(put > 0)) return false;
            from += put;
            count -= static_cast<std::size_t>(put);
        }
        return true;
    }

    bool truncate(std::uint64_t length) override {
        errno = EFBIG;
        return succeeded(isOffset(length) && untilNotInterrupted([&] {
                                                 return ::ftruncate(fDescriptor,
                                                                    static_cast<off_t>(length));
                                             }) == 0);
    }

    bool sync() override { return succeeded(::fsync(fDescriptor) == 0); }

    bool reserve(std::uint64_t from, std::uint64_t to) override {
        errno = EFBIG;
        if (!succeeded(isAllowedLength(to))) return false;
        if (from == to) return true;
#ifdef FALLOC_FL_KEEP_SIZE
        errno = EFBIG;
        const bool done = isOffset(to) && untilNotInterrupted([&] {
                                              return ::fallocate(fDescriptor, FALLOC_FL_KEEP_SIZE,
                                                                 static_cast<off_t>(from),
                                                                 static_cast<off_t>(to - from));
                                          }) == 0;
        return succeeded(done || isAnyOf(errno, {EOPNOTSUPP, ENOSYS, EINVAL}));
#else
        static_cast<void>(from);
        static_cast<void>(to);
        return true;
#endif
    }

#if defined(SEEK_DATA) && defined(SEEK_HOLE)
    std::optional<std::uint64_t> sizeOnDisk() override {
        std::uint64_t sum = 0;
        for (off_t at = 0;;) {
            const off_t data = ::lseek(fDescriptor, at, SEEK_DATA);
            if (data < 0 && errno == ENXIO) return sum;
            if (data < 0 && errno == EINVAL) return size();
            at = data < 0 ? data : ::lseek(fDescriptor, data, SEEK_HOLE);
            if (!succeeded(at >= 0)) return std::nullopt;
            sum += static_cast<std::uint64_t>(at - data);
        }
    }
#endif

    LockResult lock(Lock kind) override {
        fMayBeLocked = true;
        return lockDescriptor(fDescriptor, kind, fError);
    }

    void unlock() override {
        unlockDescriptor(fDescriptor);
        fMayBeLocked = false;
    }

  private:
    bool succeeded(bool success) {
        if (!success) fError = lastError();
        return success;
    }

    Descriptor fDescriptor;
    bool fMayBeLocked = false;
};

/// Returns null, with an error, for anything but a regular file.
std::unique_ptr<File> regularFile(Descriptor descriptor, std::error_code& error) {
    error = descriptor < 0 ? lastError() : std::error_code();
    if (descriptor < 0) return nullptr;
    auto file = std::make_unique<PosixFile>(std::move(descriptor));
    const auto status = file->status();
    if (status && status->isRegular) return file;
    error = status ? std::make_error_code(std::errc::operation_not_supported) : file->error();
    return nullptr;
}

}  // namespace

std::string PosixFileSystem::resolve(const std::string& name, std::error_code& error) {
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(name.c_str(), nullptr),
                                                           &std::free);
    outcome(path ? 0 : -1, error);
    return path ? path.get() : std::string();
}

std::unique_ptr<File> PosixFileSystem::open(const std::string& path, Mode mode,
                                            std::error_code& error) {
    // Without O_NONBLOCK opening a named pipe would wait for its other end.
    const int flags =
        (mode == Mode::kRead ? O_RDONLY : O_RDWR) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
    auto descriptor = Descriptor::opened(
        [&] { return untilNotInterrupted([&] { return ::open(path.c_str(), flags); }); });
    return regularFile(std::move(descriptor), error);
}

std::unique_ptr<File> PosixFileSystem::create(const std::string& path, const FileAccess& like,
                                              std::error_code& error) {
    // Nobody else opens it before its rights are the final ones.
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    const int descriptor =
        untilNotInterrupted([&] { return ::open(path.c_str(), kFlags, S_IRUSR | S_IWUSR); });
    auto file = regularFile(Descriptor(descriptor), error);
    if (!file || giveJournalAccess(descriptor, like, error)) return file;
    std::error_code ignored;
    if (isNamed(*this, path, *file, ignored)) remove(path, ignored);
    return nullptr;
}

std::optional<FileStatus> PosixFileSystem::status(const std::string& path, std::error_code& error) {
    struct stat found = {};
    if (outcome(::lstat(path.c_str(), &found), error)) return statusOf(found);
    // A name that no file can have is nobody's.
    if (isAnyOf(error.value(), {ENOENT, ENOTDIR, ENAMETOOLONG})) error.clear();
    return std::nullopt;
}

bool PosixFileSystem::remove(const std::string& path, std::error_code& error) {
    return outcome(::unlink(path.c_str()), error);
}

bool PosixFileSystem::rename(const std::string& from, const std::string& to,
                             std::error_code& error) {
    return outcome(std::rename(from.c_str(), to.c_str()), error);
}

bool PosixFileSystem::syncFolderOf(const std::string& path, std::error_code& error) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const Descriptor descriptor(untilNotInterrupted([&] {
        return ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }));
    if (descriptor < 0) return outcome(descriptor, error);
    const bool synced = outcome(::fsync(descriptor), error);
    // There are file systems that cannot; their names are on the disk at once or never.
    if (!synced && isAnyOf(error.value(), {EINVAL, ENOTSUP})) error.clear();
    return !error;
}

std::uint64_t PosixFileSystem::user() { return ::geteuid(); }

std::optional<FileAccess> PosixFileSystem::access(const std::string& path, std::error_code& error) {
    error.clear();
    return accessOf(path, error);
}

bool PosixFileSystem::isMounted(const std::string& path, const FileStatus& status) {
    const std::vector<std::string> places = mountsOfFile(path);
    return std::any_of(places.begin(), places.end(), [&](const std::string& place) {
        std::error_code ignored;
        const auto found = this->status(place, ignored);
        return found && found->isSameFile(status);
    });
}

std::optional<std::vector<std::uint64_t>> PosixFileSystem::groupsOf(std::uint64_t user) {
    return groupsOfUser(user);
}

std::string PosixFileSystem::describeUser(std::uint64_t user) {
    const std::string name = nameOfUser(user);
    return FileSystem::describeUser(user) + (name.empty() ? "" : " (" + name + ")");
}

}  // namespace orbo::Files
