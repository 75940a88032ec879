// What all files have in common, and the choice of the file system.
// SPDX-License-Identifier: Apache-2.0
#include "files/File.h"

#include "files/FileAccess.h"
#include "files/posix/PosixFileSystem.h"

namespace orbo::Files {

namespace {

// This is a plain pointer because a thread-local with a destructor would keep the library from
// being unloaded.
thread_local FileSystem* fileSystemOfThisThread = nullptr;

}  // namespace

FileSystem& FileSystem::current() {
    static PosixFileSystem real;
    return fileSystemOfThisThread ? *fileSystemOfThisThread : real;
}

FileSystem::Replacement::Replacement(FileSystem& other) : fPrevious(fileSystemOfThisThread) {
    fileSystemOfThisThread = &other;
}

FileSystem::Replacement::~Replacement() { fileSystemOfThisThread = fPrevious; }

std::optional<std::uint64_t> File::size() {
    const std::optional<FileStatus> found = status();
    if (!found) return std::nullopt;
    return found->length;
}

std::optional<FileAccess> File::access() {
    const std::optional<FileStatus> found = status();
    if (!found) return std::nullopt;
    return FileAccess::of(*found);
}

std::optional<FileAccess> FileSystem::access(const std::string& path, std::error_code& error) {
    const std::optional<FileStatus> found = status(path, error);
    if (!found) return std::nullopt;
    return FileAccess::of(*found);
}

bool FileSystem::isMounted(const std::string&, const FileStatus&) { return false; }

std::optional<std::vector<std::uint64_t>> FileSystem::groupsOf(std::uint64_t) {
    return std::nullopt;
}

std::string FileSystem::describeUser(std::uint64_t user) { return "user " + std::to_string(user); }

bool isNamed(FileSystem& system, const std::string& path, File& file, std::error_code& error) {
    const auto named = system.status(path, error);
    if (error) return false;
    const auto opened = file.status();
    if (!opened) error = file.error();
    return named && opened && named->isSameFile(*opened);
}

bool readExactly(File& file, char* to, std::size_t count) {
    const std::optional<std::size_t> got = file.read(to, count);
    return got && *got == count;
}

bool readExactlyAt(File& file, std::uint64_t offset, char* to, std::size_t count) {
    return file.seek(offset) && readExactly(file, to, count);
}

}  // namespace orbo::Files
