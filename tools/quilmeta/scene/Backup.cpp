// A copy of a scene as it was before it is written.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Backup.h"

#include "files/posix/Descriptor.h"
#include "process/CommandError.h"
#include "process/FileCopy.h"
#include "process/Messages.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;
using Files::Descriptor;

namespace {

/// Gives the copy the first name that is free.
std::string place(FileCopy& copy, const std::string& wanted) {
    constexpr int kMost = 10000;
    for (int number = 1; number < kMost; ++number) {
        std::string path = number == 1 ? wanted : fmt::format("{}.{}", wanted, number);
        if (copy.place(path)) return path;
    }
    throw CommandError(systemMessage(EEXIST));
}

[[noreturn]] void failFor(const std::string& wanted, const std::string& problem) {
    throw CommandError(
        fmt::format("was not written: there is no copy at {}: {}", inQuotes(wanted), problem));
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
    try {
        std::error_code error;
        const std::string real = fs::canonical(scene, error).string();
        if (error) throw CommandError(systemMessage(error.value()));
        FileCopy copy(real, wanted, FileCopy::Rights::kAll);
        fPath = place(copy, wanted);
    } catch (const SourceChanged&) {
        throw Conflict("somebody else writes the scene while it is copied");
    } catch (const CommandError& error) {
        failFor(wanted, error.what());
    }
    syncFolderOf(fPath);
}

void Backup::rehearse(const std::string& scene, const std::string& suffix) {
    const std::string wanted = scene + suffix;
    std::error_code error;
    const std::uintmax_t size = fs::file_size(scene, error);
    const std::string problem = problemOfMaking(wanted, error ? 0 : size);
    if (!problem.empty()) failFor(wanted, problem);
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
