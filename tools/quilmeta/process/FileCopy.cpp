// A copy of a file, complete before it has its name.
// SPDX-License-Identifier: Apache-2.0
#include "process/FileCopy.h"

#include "process/KeptAccess.h"
#include "process/Messages.h"
#include "process/Signals.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

using Files::Descriptor;

namespace {

[[noreturn]] void fail(int error) { throw CommandError(systemMessage(error)); }

struct stat statusOf(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) fail(errno);
    return status;
}

void writeAll(int to, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(to, bytes, size);
        if (written < 0 && errno != EINTR) fail(errno);
        if (written <= 0) continue;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
}

void copyBytes(int from, int to) {
    if (::ioctl(to, FICLONE, from) == 0) return;
    constexpr size_t kStep = size_t{1} << 20;
    std::vector<char> buffer(kStep);
    for (;;) {
        Signals::stopIfReceived();
        const ssize_t got = ::read(from, buffer.data(), kStep);
        if (got < 0 && errno != EINTR) fail(errno);
        if (got == 0) return;
        if (got > 0) writeAll(to, buffer.data(), static_cast<size_t>(got));
    }
}

bool isSame(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

void giveRights(int copy, const std::string& source, const struct stat& there,
                FileCopy::Rights rights) {
    if (rights == FileCopy::Rights::kAll) return keepAccess(copy, source, there);
    constexpr mode_t kRights = 0777;
    const mode_t more = rights == FileCopy::Rights::kWritableMode ? S_IRUSR | S_IWUSR : 0;
    if (::fchmod(copy, (there.st_mode & kRights) | more) != 0) fail(errno);
}

}  // namespace

FileCopy::FileCopy(const std::string& source, const std::string& temporary, Rights rights)
    : fPath(temporary + ".XXXXXX"), fFile(::mkostemp(fPath.data(), O_CLOEXEC)) {
    if (fFile < 0) fail(errno);
    try {
        const Descriptor from(::open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (from < 0) fail(errno);
        const struct stat before = statusOf(from);
        if (!S_ISREG(before.st_mode)) throw CommandError("is not a regular file");
        giveRights(fFile, source, before, rights);
        copyBytes(from, fFile);
        const timespec times[] = {before.st_atim, before.st_mtim};
        ::futimens(fFile, times);
        if (::fsync(fFile) != 0) fail(errno);
        const struct stat after = statusOf(from);
        if (after.st_size != before.st_size || !isSame(after.st_mtim, before.st_mtim) ||
            statusOf(fFile).st_size != before.st_size)
            throw SourceChanged("somebody else writes the file while it is copied");
    } catch (...) {
        ::unlink(fPath.c_str());
        throw;
    }
}

FileCopy::~FileCopy() {
    if (!fPlaced) ::unlink(fPath.c_str());
}

// An empty file of our own holds the name, because not every file system can rename without
// replacing.
bool FileCopy::place(const std::string& path) {
    {
        const Descriptor made(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (made < 0 && errno == EEXIST) return false;
        if (made < 0) fail(errno);
    }
    if (::rename(fPath.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(path.c_str());
        fail(error);
    }
    fPlaced = true;
    return true;
}

std::string problemOfMaking(const std::string& path, std::uint64_t room) {
    struct stat there {};
    if (::lstat(path.c_str(), &there) != 0 && errno != ENOENT) return systemMessage(errno);
    fs::path folder = path;
    std::string name;
    do {
        folder = folder.parent_path();
        name = folder.empty() ? "." : folder.string();
    } while (::lstat(name.c_str(), &there) != 0 && errno == ENOENT);
    // A link that leads nowhere is in the way of the folder to make.
    if (::stat(name.c_str(), &there) != 0) return systemMessage(EEXIST);
    if (!S_ISDIR(there.st_mode)) return systemMessage(ENOTDIR);
    if (::faccessat(AT_FDCWD, name.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return systemMessage(errno);
    std::error_code error;
    const fs::space_info space = fs::space(name, error);
    return !error && space.available < room ? systemMessage(ENOSPC) : std::string();
}

}  // namespace orbo::Quilmeta
