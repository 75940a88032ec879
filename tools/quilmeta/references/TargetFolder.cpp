// The folder that a collection is copied to.
// SPDX-License-Identifier: Apache-2.0
#include "references/TargetFolder.h"

#include "output/NewFile.h"
#include "process/FileCopy.h"
#include "process/Messages.h"
#include "references/References.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

constexpr const char* kTableChanged = "its table has changed meanwhile";

[[noreturn]] void fail(const std::string& path, const std::string& problem) {
    throw CommandError(fmt::format("{}: {}", inQuotes(path), problem));
}

bool changes(const CollectedFile& file) {
    return std::any_of(file.rows.begin(), file.rows.end(),
                       [](const auto& row) { return row.newPath.has_value(); });
}

/// Gives the scene in `path`, which is `file` or a copy of it, its new paths.
void repath(const CollectedFile& file, const std::string& path, const SceneAccess& access) {
    const Scene scene = openForReferences(path, access, ReferencesFor::kWriting);
    auto planned = file.rows.begin();
    if (Data::Stream* table = tableOf(scene))
        for (Data::StreamIterator row = table->begin(); row.valid(); ++row, ++planned) {
            if (planned == file.rows.end() || referenceOf(*row).resolvedPath != planned->path)
                throw CommandError(kTableChanged);
            if (const auto& changed = planned->newPath) setPaths(*row, *changed, *changed);
        }
    if (planned != file.rows.end()) throw CommandError(kTableChanged);
    Output none(-1, "");
    writeScene(scene, access, none);
}

// Nobody else uses the copy yet, so it needs no journal.
void repathCopy(const CollectedFile& file, const std::string& path, SceneAccess access) {
    struct stat before {};
    if (::stat(file.source.c_str(), &before) != 0) throw CommandError(systemMessage(errno));
    access.writes = true;
    access.noJournal = true;
    repath(file, path, access);
    ::chmod(path.c_str(), before.st_mode & 0777U);
}

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) fail(folder.string(), systemMessage(error.value()));
}

}  // namespace

TargetFolder::TargetFolder(std::string path) : fPath(std::move(path)) {
    if (fPath.empty()) throw UsageError("--to takes the name of a folder");
    std::error_code error;
    const fs::file_status there = fs::status(fPath, error);
    if (!fs::exists(there)) return;
    if (!fs::is_directory(there)) fail(fPath, "is there already, and no folder");
    const bool isEmpty = fs::is_empty(fPath, error);
    if (error) fail(fPath, systemMessage(error.value()));
    if (!isEmpty) fail(fPath, "is there already, and not empty");
}

TargetFolder::~TargetFolder() {
    if (!fMade || fKept) return;
    for (size_t i = 0; i < fProgress.size(); ++i)
        if (fProgress[i] != Progress::kNone) remove(i);
    std::error_code error;
    for (auto folder = fNewFolders.rbegin(); !error && folder != fNewFolders.rend(); ++folder)
        fs::remove(*folder, error);
}

void TargetFolder::make(const std::vector<CollectedFile>& files) {
    fFiles = &files;
    fProgress.assign(files.size(), Progress::kNone);
    fMade = true;
    fs::path folder;
    for (const fs::path& name : fs::path(fPath)) {
        folder /= name;
        std::error_code error;
        if (fs::create_directory(folder, error)) fNewFolders.push_back(folder.string());
        if (error) fail(folder.string(), systemMessage(error.value()));
    }
}

std::string TargetFolder::problemOf(std::uint64_t bytes) const {
    return problemOfMaking((fs::path(fPath) / kManifestName).string(), bytes);
}

std::string TargetFolder::pathOf(size_t file) const {
    return (fs::path(fPath) / (*fFiles)[file].target).string();
}

/// Removes the file if it is ours, and its folders once they are empty.
void TargetFolder::remove(size_t file) const {
    std::error_code error;
    if (fProgress[file] == Progress::kPlaced) fs::remove(pathOf(file), error);
    fs::path folder = fs::path((*fFiles)[file].target).parent_path();
    for (; !error && !folder.empty(); folder = folder.parent_path())
        fs::remove(fs::path(fPath) / folder, error);
}

Digest TargetFolder::copy(size_t file, const SceneAccess& access) {
    const CollectedFile& wanted = (*fFiles)[file];
    const std::string path = pathOf(file);
    const fs::path folder = fs::path(path).parent_path();
    fProgress[file] = Progress::kBegun;
    makeFolder(folder);
    try {
        using Rights = FileCopy::Rights;
        FileCopy copied(wanted.source, (folder / ".quilmeta").string(),
                        changes(wanted) ? Rights::kWritableMode : Rights::kMode);
        if (!copied.place(path)) throw CommandError("somebody else has made it");
        fProgress[file] = Progress::kPlaced;
        if (changes(wanted)) repathCopy(wanted, path, access);
        return digestOf(path);
    } catch (const CommandError& error) {
        throw CommandError(fmt::format("was not copied to {}: {}", inQuotes(path), error.what()));
    }
}

void TargetFolder::rehearse(const CollectedFile& file, SceneAccess access) {
    if (::access(file.source.c_str(), R_OK) != 0) throw CommandError(systemMessage(errno));
    // A copy can always be written, the scene itself perhaps not.
    if (!changes(file) || ::access(file.source.c_str(), W_OK) != 0) return;
    access.writes = true;
    access.dryRun = true;
    repath(file, file.source, access);
}

void TargetFolder::writeManifest(const std::string& text) {
    const std::string path = (fs::path(fPath) / kManifestName).string();
    NewFile manifest(path, "", {FileKind::kOther});
    manifest.output().write(text);
    manifest.commit();
}

}  // namespace orbo::Quilmeta
