// A copy of a scene as it was before it is written.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Backup.h"

#include "files/posix/Descriptor.h"
#include "process/CommandError.h"
#include "process/KeptAccess.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <fcntl.h>
#include <fmt/format.h>
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

[[noreturn]] void fail(const std::string& path, int error) {
    throw CommandError(fmt::format("was not written: there is no copy at {}: {}", inQuotes(path),
                                   systemMessage(error)));
}

/// A file of a name that nothing has, which is removed unless it was renamed.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& beside)
        : fPath(beside + ".XXXXXX"), fFile(::mkostemp(fPath.data(), O_CLOEXEC)) {
        if (fFile < 0) fail(beside, errno);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!fRenamed) ::unlink(fPath.c_str());
    }
    [[nodiscard]] int descriptor() const { return fFile; }
    /// Takes the place of a file that this process has made.
    void rename(const std::string& to) {
        if (::rename(fPath.c_str(), to.c_str()) != 0) fail(to, errno);
        fRenamed = true;
    }

  private:
    std::string fPath;
    Descriptor fFile;
    bool fRenamed = false;
};

struct stat statusOf(int descriptor, const std::string& path) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) fail(path, errno);
    return status;
}

void writeAll(int to, const char* bytes, size_t size, const std::string& path) {
    while (size > 0) {
        const ssize_t written = ::write(to, bytes, size);
        if (written < 0 && errno != EINTR) fail(path, errno);
        if (written <= 0) continue;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
}

void copyBytes(int from, int to, const std::string& path) {
    if (::ioctl(to, FICLONE, from) == 0) return;
    constexpr size_t kStep = size_t{1} << 20;
    std::vector<char> buffer(kStep);
    for (;;) {
        Signals::stopIfReceived();
        const ssize_t got = ::read(from, buffer.data(), kStep);
        if (got < 0 && errno != EINTR) fail(path, errno);
        if (got == 0) return;
        if (got > 0) writeAll(to, buffer.data(), static_cast<size_t>(got), path);
    }
}

bool isSame(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// Makes an empty file of the first name that is free.
std::string reserve(const std::string& wanted) {
    constexpr int kMost = 10000;
    for (int number = 1; number < kMost; ++number) {
        std::string path = number == 1 ? wanted : fmt::format("{}.{}", wanted, number);
        const Descriptor made(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (made >= 0) return path;
        if (errno != EEXIST) fail(path, errno);
    }
    fail(wanted, EEXIST);
}

void syncFolderOf(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    const Descriptor opened(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened >= 0) ::fsync(opened);
}

}  // namespace

Backup::Backup(const std::string& scene, const std::string& suffix) {
    const std::string wanted = scene + suffix;
    std::error_code error;
    const std::string real = fs::canonical(scene, error).string();
    const Descriptor from(::open(real.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (error || from < 0) fail(wanted, error ? error.value() : errno);
    const struct stat before = statusOf(from, wanted);
    TemporaryFile copy(wanted);
    keepAccess(copy.descriptor(), real, before);
    copyBytes(from, copy.descriptor(), wanted);
    const timespec times[] = {before.st_atim, before.st_mtim};
    ::futimens(copy.descriptor(), times);
    if (::fsync(copy.descriptor()) != 0) fail(wanted, errno);
    const struct stat after = statusOf(from, wanted);
    if (after.st_size != before.st_size || !isSame(after.st_mtim, before.st_mtim))
        throw Conflict("somebody else writes the scene while it is copied");
    fPath = reserve(wanted);
    try {
        copy.rename(fPath);
    } catch (...) {
        ::unlink(fPath.c_str());
        throw;
    }
    syncFolderOf(fPath);
}

Backup::~Backup() {
    if (!fKept) ::unlink(fPath.c_str());
}

std::string problemOfSuffix(const std::string& suffix) {
    if (suffix.empty()) return "a copy needs another name than the scene";
    if (suffix.find('/') != std::string::npos) return inQuotes(suffix) + " leads to another folder";
    if (suffix.find("metadata-journal") != std::string::npos)
        return inQuotes(suffix) + " is how names of journals end";
    return {};
}

}  // namespace orbo::Quilmeta
