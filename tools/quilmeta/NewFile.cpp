// A file that appears complete or not at all.
// SPDX-License-Identifier: Apache-2.0
#include "NewFile.h"

#include "SafeText.h"
#include "Trouble.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

/// Where the bytes end up when `path` is a symbolic link.
std::string behindLinks(const std::string& path) {
    std::error_code error;
    if (!fs::is_symlink(path, error)) return path;
    const fs::path target = fs::canonical(path, error);
    if (error) throw Trouble(inQuotes(path) + " is a symbolic link that leads nowhere");
    return target.string();
}

[[noreturn]] void throwTrouble(const std::string& path) {
    const int error = errno;
    throw Trouble(fmt::format("cannot write {}: {}", inQuotes(path), systemMessage(error)));
}

bool sameFile(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

}  // namespace

NewFile::NewFile(const std::string& path, const std::string& notOver) : fPath(behindLinks(path)) {
    struct stat there {};
    struct stat kept {};
    const bool exists = ::stat(fPath.c_str(), &there) == 0;
    if (exists && ::stat(notOver.c_str(), &kept) == 0 && sameFile(there, kept))
        throw Trouble(inQuotes(path) + " is the scene itself");
    if (exists && !S_ISREG(there.st_mode)) throw Trouble(inQuotes(path) + " is not a regular file");
    open(exists ? there.st_mode & 0777u : 0666u);
    // The mode of a new file goes through the umask; that of a replaced file is kept as it is.
    if (exists) ::fchmod(fDescriptor, there.st_mode & 0777u);
    fOutput = std::make_unique<Output>(fDescriptor, path);
}

void NewFile::open(unsigned mode) {
    const fs::path folder = fs::path(fPath).parent_path();
    for (unsigned attempt = 0; attempt < 100 && fDescriptor < 0; ++attempt) {
        fTemporary = folder / fmt::format(".quilmeta-{}-{}.tmp", ::getpid(), attempt);
        fDescriptor = ::open(fTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fDescriptor < 0 && errno != EEXIST) break;
    }
    if (fDescriptor >= 0) return;
    fTemporary.clear();
    throwTrouble(fPath);
}

NewFile::~NewFile() {
    if (fDescriptor >= 0) ::close(fDescriptor);
    if (!fTemporary.empty()) ::unlink(fTemporary.c_str());
}

void NewFile::commit() {
    fOutput->flush();
    const bool good = ::fsync(fDescriptor) == 0 && ::close(std::exchange(fDescriptor, -1)) == 0 &&
                      ::rename(fTemporary.c_str(), fPath.c_str()) == 0;
    if (!good) throwTrouble(fPath);
    fTemporary.clear();
}

}  // namespace orbo::Quilmeta
