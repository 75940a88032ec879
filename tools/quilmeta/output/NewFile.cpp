// A file that appears complete or not at all.
// SPDX-License-Identifier: Apache-2.0
#include "output/NewFile.h"

#include "output/TargetPath.h"
#include "process/CommandError.h"
#include "process/KeptAccess.h"
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

/// Tells the user what `errno` says.
[[noreturn]] void throwSystemError(const std::string& path) {
    const int error = errno;  // before anything below changes it
    throw CommandError(fmt::format("cannot write {}: {}", inQuotes(path), systemMessage(error)));
}

[[noreturn]] void throwChanged(const std::string& path) {
    throw CommandError(fmt::format("cannot write {}: somebody else has just put another file there",
                                   inQuotes(path)));
}

/// Compares what identifies a file under all its names.
bool isSameFile(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// Not even --force replaces these: their loss cannot be undone.
void demandNoSceneOrJournal(const std::string& name, FileKind kind) {
    if (kind == FileKind::kScene)
        throw CommandError(inQuotes(name) + " is a scene, which is not replaced by anything else");
    if (kind == FileKind::kJournal)
        throw CommandError(inQuotes(name) + " is a journal, which a scene may need");
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
    // Other names of the scene are found as well: links, and paths that lead to the same folder.
    if (exists && ::stat(notOver.c_str(), &kept) == 0 && isSameFile(there, kept))
        throw CommandError(inQuotes(path) + " is the scene itself");
    if (exists && S_ISREG(there.st_mode) && there.st_size > 0)
        demandNoSceneOrJournal(fName, kindOf(fPath));
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
    if (!replacing.force && kindOf(fPath) != replacing.kind)
        throw CommandError(inQuotes(fName) + " is there already; --force replaces it");
    if (!isAsSeen(fPath)) throwChanged(fName);
    openTemporary(S_IRUSR | S_IWUSR);
    keepAccess(fDescriptor, fPath, there);
}

// A block device is refused, because it may hold a whole file system.
void NewFile::openDevice(const struct stat& there) {
    if (S_ISDIR(there.st_mode)) throw CommandError(inQuotes(fName) + " is a directory");
    if (S_ISBLK(there.st_mode)) throw CommandError(inQuotes(fName) + " is a block device");
    openStream(::open(fPath.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    // Somebody may have put a regular file there since we looked, which must not be overwritten.
    struct stat opened {};
    if (::fstat(fDescriptor, &opened) != 0 || S_ISREG(opened.st_mode)) throwChanged(fName);
}

// The bytes go out as they come, and what has gone out cannot be taken back.
void NewFile::openStream(int descriptor) {
    if (descriptor < 0) throwSystemError(fName);
    fDescriptor = descriptor;
    fOutput = std::make_unique<Output>(fDescriptor, fName);
    fOutput->stopOnSignals();
}

void NewFile::openTemporary(unsigned mode) {
    const fs::path folder = fs::path(fPath).parent_path();
    // A process with our number may have left such a file; O_EXCL never opens one that is there.
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

// Only this file is flushed to the disk, not its folder: after a power cut the old file may be
// back, which is complete as well.
void NewFile::commit() {
    fOutput->flush();
    if (fTemporary.empty()) return;
    // Without this, a power cut could leave the name with an empty file.
    if (::fsync(fDescriptor) != 0 || ::close(std::exchange(fDescriptor, -1)) != 0)
        throwSystemError(fName);
    fReplaced ? placeOver() : placeNew();
    fTemporary.clear();
}

void NewFile::placeNew() {
    int result = rename(fTemporary, fPath, Rename::kNeverOver);
    // A hard link never replaces a file either.
    if (result != 0 && errno == ENOSYS) {
        result = ::link(fTemporary.c_str(), fPath.c_str());
        if (result == 0) ::unlink(fTemporary.c_str());
    }
    if (result != 0 && errno == EEXIST) throwChanged(fName);
    if (result != 0) throwSystemError(fName);
}

void NewFile::placeOver() {
    if (rename(fTemporary, fPath, Rename::kExchange) == 0) {
        // The file that was there has our temporary name now, where nobody else replaces it; so
        // this look at it is the last word.
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

// Size and time tell whether somebody has written to the file that we decided to replace.
bool NewFile::isAsSeen(const std::string& path) const {
    struct stat now {};
    return ::lstat(path.c_str(), &now) == 0 && isSameFile(now, *fReplaced) &&
           now.st_size == fReplaced->st_size && now.st_mtim.tv_sec == fReplaced->st_mtim.tv_sec &&
           now.st_mtim.tv_nsec == fReplaced->st_mtim.tv_nsec;
}

}  // namespace orbo::Quilmeta
