// A file that appears complete or not at all.
// SPDX-License-Identifier: Apache-2.0
#include "output/NewFile.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "values/SafeText.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <utility>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

/// The N of /dev/fd/N and its other names. Following these links would lead to the file behind the
/// descriptor, which whoever opened it wants written from where the descriptor stands.
std::optional<int> descriptorNamed(const std::string& path) {
    if (path == "/dev/stdout") return STDOUT_FILENO;
    if (path == "/dev/stderr") return STDERR_FILENO;
    for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
        if (path.compare(0, folder.size(), folder) != 0) continue;
        const std::string digits = path.substr(folder.size());
        const bool isNumber = !digits.empty() && digits.size() < 6 &&
                              digits.find_first_not_of("0123456789") == digits.npos;
        if (isNumber) return std::stoi(digits);
    }
    return {};
}

/// Where the bytes end up when `path` is a symbolic link.
std::string behindLinks(const std::string& path) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    fs::path target = path;
    for (int i = 0; i < kMostLinks; ++i) {
        if (descriptorNamed(target.string())) return target.string();
        if (!fs::is_symlink(target, error)) break;
        target = target.parent_path() / fs::read_symlink(target, error);
    }
    if (target != path && !fs::exists(target, error))
        throw CommandError(inQuotes(path) + " is a symbolic link that leads nowhere");
    return target.string();
}

[[noreturn]] void throwSystemError(const std::string& path) {
    const int error = errno;
    throw CommandError(fmt::format("cannot write {}: {}", inQuotes(path), systemMessage(error)));
}

[[noreturn]] void throwChanged(const std::string& path) {
    throw CommandError(fmt::format("cannot write {}: somebody else has just put another file there",
                                   inQuotes(path)));
}

bool isSameFile(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// Throws `CommandError` when they cannot be read.
std::string headOf(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) throwSystemError(path);
    std::string head(kHeadSize, '\0');
    const ssize_t got = ::pread(file, head.data(), head.size(), 0);
    const int error = errno;
    ::close(file);
    errno = error;
    if (got < 0) throwSystemError(path);
    head.resize(static_cast<size_t>(got));
    return head;
}

void demandNoSceneOrJournal(const std::string& name, FileKind kind) {
    if (kind == FileKind::kScene)
        throw CommandError(inQuotes(name) + " is a scene, which is not replaced by anything else");
    if (kind == FileKind::kJournal)
        throw CommandError(inQuotes(name) + " is a journal, which a scene may need");
}

enum class Rename { kNeverOver, kExchange };

/// An error of ENOSYS means that system or file system cannot do that.
int rename(const std::string& from, const std::string& to, Rename how) {
#ifdef RENAME_EXCHANGE
    const unsigned flags = how == Rename::kExchange ? RENAME_EXCHANGE : RENAME_NOREPLACE;
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags) == 0) return 0;
    if (errno == EINVAL) errno = ENOSYS;
#else
    static_cast<void>(from), static_cast<void>(to), static_cast<void>(how);
    errno = ENOSYS;
#endif
    return -1;
}

}  // namespace

NewFile::NewFile(const std::string& path, const std::string& notOver, const Replacing& replacing)
    : fName(path), fPath(behindLinks(path)) {
    if (isJournalName(path) || isJournalName(fPath))
        throw CommandError(inQuotes(path) + " is the name of a journal");
    struct stat there {};
    struct stat kept {};
    const std::optional<int> descriptor = descriptorNamed(fPath);
    const bool exists =
        (descriptor ? ::fstat(*descriptor, &there) : ::stat(fPath.c_str(), &there)) == 0;
    if (exists && ::stat(notOver.c_str(), &kept) == 0 && isSameFile(there, kept))
        throw CommandError(inQuotes(path) + " is the scene itself");
    if (exists && S_ISREG(there.st_mode) && there.st_size > 0)
        demandNoSceneOrJournal(fName, kindOf(headOf(fPath)));
    if (descriptor) {
        openStream(::fcntl(*descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    } else if (!exists) {
        openTemporary(0666u);
    } else if (S_ISREG(there.st_mode)) {
        openToReplace(there, replacing);
    } else {
        openDevice(there);
    }
}

void NewFile::openToReplace(const struct stat& there, const Replacing& replacing) {
    fReplaced = there;
    if (!replacing.force && kindOf(headOf(fPath)) != replacing.kind)
        throw CommandError(inQuotes(fName) + " is there already; --force replaces it");
    if (!isAsSeen(fPath)) throwChanged(fName);
    openTemporary(there.st_mode & 0777u);
    // The mode of a new file goes through the umask; that of a replaced file is kept as it is.
    ::fchmod(fDescriptor, there.st_mode & 0777u);
}

void NewFile::openDevice(const struct stat& there) {
    if (S_ISDIR(there.st_mode)) throw CommandError(inQuotes(fName) + " is a directory");
    if (S_ISBLK(there.st_mode)) throw CommandError(inQuotes(fName) + " is a block device");
    openStream(::open(fPath.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    struct stat opened {};
    if (::fstat(fDescriptor, &opened) != 0 || S_ISREG(opened.st_mode)) throwChanged(fName);
}

void NewFile::openStream(int descriptor) {
    if (descriptor < 0) throwSystemError(fName);
    fDescriptor = descriptor;
    fOutput = std::make_unique<Output>(fDescriptor, fName);
    fOutput->stopOnSignals();
}

void NewFile::openTemporary(unsigned mode) {
    const fs::path folder = fs::path(fPath).parent_path();
    for (unsigned attempt = 0; attempt < 100 && fDescriptor < 0; ++attempt) {
        fTemporary = folder / fmt::format(".quilmeta-{}-{}.tmp", ::getpid(), attempt);
        fDescriptor = ::open(fTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fDescriptor < 0 && errno != EEXIST) break;
    }
    if (fDescriptor < 0) {
        fTemporary.clear();
        throwSystemError(fName);
    }
    fOutput = std::make_unique<Output>(fDescriptor, fName);
    fOutput->stopOnSignals();
}

NewFile::~NewFile() {
    if (fDescriptor >= 0) ::close(fDescriptor);
    if (!fTemporary.empty()) ::unlink(fTemporary.c_str());
}

void NewFile::commit() {
    fOutput->flush();
    if (fTemporary.empty()) return;
    if (::fsync(fDescriptor) != 0 || ::close(std::exchange(fDescriptor, -1)) != 0)
        throwSystemError(fName);
    fReplaced ? placeOver() : placeNew();
    fTemporary.clear();
}

void NewFile::placeNew() {
    int result = rename(fTemporary, fPath, Rename::kNeverOver);
    if (result != 0 && errno == ENOSYS) {
        result = ::link(fTemporary.c_str(), fPath.c_str());
        if (result == 0) ::unlink(fTemporary.c_str());
    }
    if (result != 0 && errno == EEXIST) throwChanged(fName);
    if (result != 0) throwSystemError(fName);
}

// What was there is looked at once more when nobody can exchange it any longer.
void NewFile::placeOver() {
    if (rename(fTemporary, fPath, Rename::kExchange) == 0) {
        if (isAsSeen(fTemporary)) {
            ::unlink(fTemporary.c_str());
            return;
        }
        if (rename(fTemporary, fPath, Rename::kExchange) == 0) throwChanged(fName);
        const std::string found = std::exchange(fTemporary, {});
        throw CommandError(fmt::format("{} was somebody else's new file, which is now {}",
                                       inQuotes(fName), inQuotes(found)));
    }
    if (errno == ENOENT) throwChanged(fName);
    if (errno != ENOSYS) throwSystemError(fName);
    if (!isAsSeen(fPath)) throwChanged(fName);
    if (::rename(fTemporary.c_str(), fPath.c_str()) != 0) throwSystemError(fName);
}

bool NewFile::isAsSeen(const std::string& path) const {
    struct stat now {};
    return ::lstat(path.c_str(), &now) == 0 && isSameFile(now, *fReplaced) &&
           now.st_size == fReplaced->st_size && now.st_mtim.tv_sec == fReplaced->st_mtim.tv_sec &&
           now.st_mtim.tv_nsec == fReplaced->st_mtim.tv_nsec;
}

}  // namespace orbo::Quilmeta
