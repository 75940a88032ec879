// Opens and writes a scene file the way every command does.
// SPDX-License-Identifier: Apache-2.0
#include "Scene.h"

#include "SafeText.h"
#include "Trouble.h"
#include "Wording.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

/// Opening anything but a regular file may wait for ever.
void demandReadableFile(const std::string& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) throw Trouble(systemMessage(error ? error.value() : ENOENT));
    if (fs::is_directory(status)) throw Trouble("is a directory");
    if (!fs::is_regular_file(status)) throw Trouble("is not a regular file");
    if (::access(file.c_str(), R_OK) != 0) throw Trouble(systemMessage(errno));
    if (fs::file_size(file, error) == 0 && !error) throw Trouble("is an empty file");
}

std::unique_ptr<Data::Accessor> accessorFor(const std::string& file) {
    std::unique_ptr<Data::Accessor> accessor = Data::Accessor::accessorByExtension(file);
    if (accessor) return accessor;
    throw Trouble(fmt::format("is no scene by its extension (known: {})",
                              fmt::join(Data::Accessor::supportedExtensions(), ", ")));
}

std::string messagesOf(const std::string& file, const std::set<std::string>* nodes) {
    const std::unique_ptr<Data::Accessor> accessor = accessorFor(file);
    accessor->setReadPolicy({true});
    std::string messages;
    if (!accessor->read(file, nullptr, nodes, messages)) throw Trouble(messages);
    return messages;
}

}  // namespace

std::unique_ptr<Data::Accessor> openScene(const std::string& file, const SceneAccess& access,
                                          bool* complete, const SceneNames* names) {
    demandReadableFile(file);
    std::unique_ptr<Data::Accessor> accessor = accessorFor(file);
    accessor->setReadPolicy({true});
    Data::WritePolicy policy = Data::WritePolicy::careful();
    policy.durable = !access.noJournal;
    accessor->setWritePolicy(policy);
    accessor->setPatience(access.patience());
    std::string messages;
    if (!accessor->read(file, names ? &names->structures : nullptr,
                        names && names->nodes ? &*names->nodes : nullptr, messages))
        throw Trouble(accessor->isFileSupported(file) ? messages : "is not a scene: " + messages);
    complain(file, messages);
    if (complete) *complete = messages.empty();
    return accessor;
}

bool isReadable(const std::string& file, const std::set<std::string>& nodes) {
    // Messages do not say which node they are about; those about no node come in any case.
    const std::set<std::string> none;
    return messagesOf(file, &nodes) == messagesOf(file, &none);
}

bool lacksStructure(const std::string& file, const std::string& name) {
    const std::string message = fmt::format("Structure '{}' not found", name);
    return messagesOf(file, nullptr).find(message) != std::string::npos;
}

Data::Associations& findNode(Data::Accessor& scene, const std::string& name) {
    auto& nodes = scene.associations();
    const auto found = nodes.find(name);
    if (found != nodes.end()) return found->second;
    const std::string list =
        nameList("nodes", nodes, [](const auto& entry) { return shownNode(entry.first); });
    if (name.empty()) throw Trouble("the scene itself has no metadata" + list);
    throw Trouble(fmt::format("there is no node {}{}", inQuotes(name), list));
}

void writeScene(const Data::Accessor& scene) {
    std::string messages;
    const bool written = scene.write(messages);
    if (scene.metConflict())
        throw Conflict("somebody else keeps changing the metadata: " + messages);
    if (!written) throw Trouble(messages.empty() ? "was not written" : messages);
    complain(scene.fileName(), messages);
}

void repeatAfterConflict(const SceneAccess& access, const std::function<void()>& edit) {
    using Clock = std::chrono::steady_clock;
    constexpr int kFewest = 5;
    const Clock::time_point end = Clock::now() + access.patience();
    for (int attempt = 1;; ++attempt) {
        try {
            return edit();
        } catch (const Conflict&) {
            if (attempt >= kFewest && Clock::now() >= end) throw;
        }
    }
}

}  // namespace orbo::Quilmeta
