// Opens and writes a scene file the way every command does.
// SPDX-License-Identifier: Apache-2.0
#include "scene/SceneFile.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Outcome.h"
#include "process/Signals.h"
#include "scene/FindingText.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

/// Opening anything but a regular file may wait for ever.
void demandReadableFile(const std::string& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) throw CommandError(systemMessage(error ? error.value() : ENOENT));
    if (fs::is_directory(status)) throw CommandError("is a directory");
    if (!fs::is_regular_file(status)) throw CommandError("is not a regular file");
    if (::access(file.c_str(), R_OK) != 0) throw CommandError(systemMessage(errno));
}

void demandContent(const std::string& file) {
    std::error_code error;
    if (fs::file_size(file, error) == 0 && !error) throw CommandError("is an empty file");
}

std::unique_ptr<Data::Accessor> accessorFor(const std::string& file) {
    std::unique_ptr<Data::Accessor> accessor = Data::Accessor::accessorByExtension(file);
    if (accessor) return accessor;
    throw CommandError(fmt::format("is no scene by its extension (known: {})",
                                   fmt::join(Data::Accessor::supportedExtensions(), ", ")));
}

std::vector<Data::Finding> findingsOf(const std::string& file,
                                      const std::set<std::string>* nodes = nullptr) {
    const std::unique_ptr<Data::Accessor> accessor = accessorFor(file);
    accessor->setPatience(std::chrono::seconds(1));  // it has just been read
    accessor->setReadPolicy({true});
    std::string ignored;
    if (!accessor->read(file, nullptr, nodes, ignored))
        throw CommandError(messagesOf(accessor->findings()));
    return accessor->findings();
}

// Stands for findings about anything.
bool isOfMore(const Data::Finding& finding) { return finding.code == Data::Finding::Code::kMore; }

}  // namespace

std::unique_ptr<Data::Accessor> openScene(const std::string& file, const SceneAccess& access,
                                          bool* complete, const SceneNames* names) {
    demandReadableFile(file);
    demandContent(file);
    std::unique_ptr<Data::Accessor> accessor = accessorFor(file);
    accessor->setReadPolicy({true, access.partial});
    Data::WritePolicy policy = Data::WritePolicy::careful();
    policy.durable = !access.noJournal;
    policy.detectConflicts = access.writes;
    accessor->setWritePolicy(policy);
    accessor->setPatience(access.patience());
    accessor->stopWaitingWhen([] { return Signals::received() != 0; });
    std::string messages;
    if (!accessor->read(file, names ? &names->structures : nullptr,
                        names && names->nodes ? &*names->nodes : nullptr, messages))
        throw CommandError(messagesOf(accessor->findings()));
    complain(file, messagesOf(accessor->findings()));
    // Of several records of a name one was read, and the others are told of.
    const auto isWhole = [](const Data::Finding& finding) {
        return finding.code == Data::Finding::Code::kFileNote ||
               !Data::Finding::isInErrors(finding.code);
    };
    const auto& findings = accessor->findings();
    if (complete) *complete = std::all_of(findings.begin(), findings.end(), isWhole);
    return accessor;
}

std::vector<Data::Finding> checkScene(const std::string& file, const SceneAccess& access) {
    demandReadableFile(file);
    const std::unique_ptr<Data::Accessor> accessor = accessorFor(file);
    accessor->setPatience(access.patience());
    accessor->stopWaitingWhen([] { return Signals::received() != 0; });
    std::vector<Data::Finding> findings = accessor->check(file);
    for (const Data::Finding& finding : findings) {
        if (finding.code == Data::Finding::Code::kFileUnreadable)
            throw CommandError(finding.message);
    }
    return findings;
}

bool isReadable(const std::string& file, const std::set<std::string>& nodes) {
    const auto found = findingsOf(file, &nodes);
    return std::none_of(found.begin(), found.end(), [&](const auto& finding) {
        const bool isAboutText = Data::Finding::isInErrors(finding.code);
        return isOfMore(finding) || (isAboutText && finding.node && nodes.count(*finding.node) > 0);
    });
}

bool lacksStructure(const std::string& file, const std::string& name) {
    const std::string message = fmt::format("Structure '{}' not found", name);
    const auto found = findingsOf(file);
    return std::any_of(found.begin(), found.end(), [&](const auto& finding) {
        return isOfMore(finding) || finding.message.find(message) != std::string::npos;
    });
}

Data::Associations& findNode(Data::Accessor& scene, const std::string& name) {
    auto& nodes = scene.associations();
    const auto found = nodes.find(name);
    if (found != nodes.end()) return found->second;
    const std::string list =
        nameList("nodes", nodes, [](const auto& entry) { return shownNode(entry.first); });
    if (name.empty()) throw CommandError("the scene itself has no metadata" + list);
    throw CommandError(fmt::format("there is no node {}{}", inQuotes(name), list));
}

void writeScene(const Data::Accessor& scene, const SceneAccess& access) {
    Signals::stopIfReceived();
    std::string messages;
    const bool written = access.dryRun ? scene.rehearse(messages) : scene.write(messages);
    if (scene.metConflict())
        throw Conflict("somebody else keeps changing the metadata: " + messages);
    Data::Finding finding;
    finding.message = messages;
    if (!messages.empty()) messages = messagesOf({finding});
    if (!written) throw CommandError(messages.empty() ? "was not written" : messages);
    complain(scene.fileName(), messagesOf(scene.findings()));
}

Outcome repeatAfterConflict(const SceneAccess& access, const std::function<Outcome()>& edit) {
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

}  // namespace orbo::Quilmeta
