// Opens, checks and writes a scene file the way every command does.
// SPDX-License-Identifier: Apache-2.0
#include "scene/SceneFile.h"

#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/Backup.h"
#include "scene/FindingText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;
using Code = Data::Finding::Code;

namespace {

/// We have looked at these files a moment ago, so nobody is likely to hold a lock on them.
constexpr std::chrono::seconds kShortPatience(1);

/// Opening a pipe or a device could block for ever, so only regular files are opened.
void demandReadableFile(const std::string& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) throw CommandError(systemMessage(error ? error.value() : ENOENT));
    if (::access(file.c_str(), R_OK) != 0) throw CommandError(systemMessage(errno));
    if (fs::is_directory(status)) throw CommandError("is a directory");
    if (!fs::is_regular_file(status)) throw CommandError("is not a regular file");
}

/// Makes an accessor that waits as the user allows, and no longer once a signal has come.
std::unique_ptr<Data::Accessor> accessorFor(const std::string& kindName,
                                            std::chrono::milliseconds patience) {
    std::unique_ptr<Data::Accessor> accessor = Data::Accessor::accessorByExtension(kindName);
    if (!accessor)
        throw CommandError(fmt::format("is no scene by its extension (known: {})",
                                       fmt::join(Data::Accessor::supportedExtensions(), ", ")));
    accessor->setPatience(patience);
    accessor->stopWaitingWhen([] { return Signals::received() != 0; });
    return accessor;
}

/// Throws `CommandError` when there is nothing to work on.
void read(Data::Accessor& accessor, const std::string& file,
          const std::set<std::string>* structures, const std::set<std::string>* nodes) {
    std::string ignored;  // the findings say more
    if (accessor.read(file, structures, nodes, ignored)) return;
    std::error_code error;
    if (fs::file_size(file, error) == 0 && !error) throw CommandError("is an empty file");
    throw CommandError(messagesOf(accessor.findings()));
}

/// Reads these nodes, or all of them, and returns what the read found.
std::vector<Data::Finding> findingsOf(const std::string& file,
                                      const std::set<std::string>* nodes = nullptr) {
    const std::unique_ptr<Data::Accessor> accessor = accessorFor(file, kShortPatience);
    accessor->setReadPolicy({true});
    read(*accessor, file, nullptr, nodes);
    return accessor->findings();
}

/// Findings beyond the library's limit are lumped into one, which may be about anything.
bool isOfMore(const Data::Finding& finding) { return finding.code == Code::kMore; }

/// False for findings about metadata that was not read. Of several records with one name the first
/// is read, and a finding that is not in the errors tells of the others.
bool leavesSceneComplete(const Data::Finding& finding) {
    return finding.code == Code::kFileNote || !Data::Finding::isInErrors(finding.code);
}

bool endsRead(const Data::Finding& finding) { return finding.code == Code::kFileUnreadable; }

/// An accessor with the policies that commands have, which has not read the file.
Scene newScene(const std::string& file, const SceneAccess& access) {
    demandReadableFile(file);
    Scene scene{accessorFor(access.kindName.empty() ? file : access.kindName, access.patience())};
    Data::Accessor& accessor = *scene.accessor;
    Data::ReadPolicy reading;
    reading.unknownIndexTypesAsText = true;
    reading.partialNodes = access.partial;
    reading.threads = threadsForEachFile();
    reading.preparesEdits = !access.looksFirst;
    accessor.setReadPolicy(reading);
    Data::WritePolicy policy = Data::WritePolicy::careful();
    policy.durable = !access.noJournal;
    policy.detectConflicts = access.writes;
    accessor.setWritePolicy(policy);
    return scene;
}

void tellFindings(const std::string& file, const std::vector<Data::Finding>& findings,
                  Scene& scene) {
    complain(file, messagesOf(findings));
    scene.complete = isComplete(findings);
}

/// Says why a write failed. Accessors that leave no finding have only their error text.
std::string messagesOfFailure(const Data::Accessor& scene, const std::string& errors) {
    std::vector<Data::Finding> failures;
    for (const Data::Finding& finding : scene.findings())
        if (finding.code == Code::kWriteFailed) failures.push_back(finding);
    if (failures.empty() && !errors.empty()) failures.emplace_back().message = errors;
    return failures.empty() ? "was not written" : messagesOf(failures);
}

/// Reads what the scene's file has now, without a word about what cannot be read.
std::unique_ptr<Data::Accessor> readAgain(const Scene& scene, const SceneAccess& access) {
    const std::string& file = scene.accessor->fileName();
    std::unique_ptr<Data::Accessor> accessor =
        accessorFor(access.kindName.empty() ? file : access.kindName, access.patience());
    Data::ReadPolicy policy = scene.accessor->readPolicy();
    policy.preparesEdits = false;
    accessor->setReadPolicy(policy);
    const auto& names = scene.names;
    read(*accessor, file, names ? &names->structures : nullptr,
         names && names->nodes ? &*names->nodes : nullptr);
    return accessor;
}

/// Makes the copy that the user asks for, and writes.
bool write(const Data::Accessor& scene, const SceneAccess& access, std::string& errors) {
    const bool copies = !access.backup.empty() && scene.isEdited();
    if (access.dryRun) {
        if (copies) Backup::rehearse(scene.fileName(), access.backup);
        return scene.rehearse(errors);
    }
    if (!copies) return scene.write(errors);
    // What is refused anyway needs no copy.
    if (!scene.rehearse(errors)) return false;
    Backup copy(scene.fileName(), access.backup);
    const bool written = scene.write(errors);
    // After a write that failed in the middle somebody may need the copy.
    if (!scene.metConflict()) copy.keep();
    return written;
}

}  // namespace

bool isComplete(const std::vector<Data::Finding>& findings) {
    return std::all_of(findings.begin(), findings.end(), leavesSceneComplete);
}

Scene openScene(const std::string& file, const SceneAccess& access, const SceneNames* names) {
    Scene scene = newScene(file, access);
    if (names) scene.names = *names;
    read(*scene.accessor, file, names ? &names->structures : nullptr,
         names && names->nodes ? &*names->nodes : nullptr);
    tellFindings(file, scene.accessor->findings(), scene);
    return scene;
}

TwoScenes& lastingScenes() {
    static auto* const scenes = new TwoScenes;  // for ever
    return *scenes;
}

Scene openSelected(const std::string& file, const SceneAccess& access, const Selection& selection) {
    if (selection.nodes.empty()) return openScene(file, access);
    Scene scene = newScene(file, access);
    Data::Accessor& accessor = *scene.accessor;
    Data::ReadPolicy policy = accessor.readPolicy();
    policy.nodesOnDemand = true;
    accessor.setReadPolicy(policy);
    read(accessor, file, nullptr, nullptr);
    std::vector<Data::Finding> findings = accessor.findings();
    std::string ignored;
    for (const std::string& node : accessor.unloadedNodes()) {
        if (!selection.wantsNode(node)) continue;
        const bool isLoaded = accessor.load(node, ignored);
        const std::vector<Data::Finding>& found = accessor.findings();
        // A program has written the file since; one read of everything holds its lock throughout.
        const bool isOver = !isLoaded && std::any_of(found.begin(), found.end(), endsRead);
        if (isOver) return openScene(file, access);
        findings.insert(findings.end(), found.begin(), found.end());
    }
    tellFindings(file, findings, scene);
    return scene;
}

bool isScene(const std::string& file) {
    const std::unique_ptr<Data::Accessor> accessor = Data::Accessor::accessorByExtension(file);
    if (!accessor) return false;
    accessor->setPatience(kShortPatience);
    return accessor->isFileSupported(file);
}

CheckedScene checkScene(const std::string& file, const SceneAccess& access) {
    demandReadableFile(file);
    CheckedScene scene{accessorFor(file, access.patience()), {}};
    scene.findings = scene.accessor->check(file);
    for (const Data::Finding& finding : scene.findings)
        if (finding.code == Code::kFileUnreadable) throw CommandError(finding.message);
    return scene;
}

// Findings that are not in the errors are about metadata that was read.
bool isReadable(const std::string& file, const std::set<std::string>& nodes) {
    const auto found = findingsOf(file, &nodes);
    return std::none_of(found.begin(), found.end(), [&](const auto& finding) {
        const bool isAboutText = Data::Finding::isInErrors(finding.code);
        return isOfMore(finding) || (isAboutText && finding.node && nodes.count(*finding.node) > 0);
    });
}

bool lacksStructure(const std::string& file, const std::string& name) {
    const auto found = findingsOf(file);
    return std::any_of(found.begin(), found.end(), [&](const auto& finding) {
        return isOfMore(finding) ||
               (finding.code == Code::kStructureMissing && finding.structure == name);
    });
}

// A signal that came while the scene was read ends the command here, with the file untouched.
bool writeScene(const Scene& scene, const SceneAccess& access, Output& output) {
    Signals::stopIfReceived();
    const Data::Accessor& accessor = *scene.accessor;
    std::string errors;
    const bool written = write(accessor, access, errors);
    if (accessor.metConflict())
        throw Conflict("somebody else keeps changing the metadata: " +
                       messagesOfFailure(accessor, errors));
    if (!written) throw CommandError(messagesOfFailure(accessor, errors));
    complain(accessor.fileName(), messagesOf(accessor.findings()));
    if (access.dryRun && access.showChanges)
        access.showChanges(*readAgain(scene, access), accessor, output);
    return accessor.metEdits();
}

// A few attempts are made even without any patience, because they cost little.
FileResult repeatAfterConflict(const SceneAccess& access, const std::function<FileResult()>& edit) {
    using Clock = std::chrono::steady_clock;
    constexpr int kFewest = 5;
    const Clock::time_point end = Clock::now() + access.patience();
    for (int attempt = 1;; ++attempt) {
        try {
            return edit();
        } catch (const Conflict&) {
            if (attempt >= kFewest && Clock::now() >= end) throw;
            Signals::stopIfReceived();
        }
    }
}

Outcome editFiles(const std::vector<std::string>& files, const SceneAccess& access,
                  const EachFile& how, Output& output, const FileWork& edit) {
    return forEachFile(files, how, output, [&](const FileTurn& turn) {
        return repeatAfterConflict(access, [&] { return edit(turn); });
    });
}

}  // namespace orbo::Quilmeta
