// The names in folders, each folder read once.
// SPDX-License-Identifier: Apache-2.0
#include "references/FolderLists.h"

#include "process/Messages.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

struct Range {
    Names::const_iterator begin, end;
    [[nodiscard]] auto size() const { return end - begin; }
};

/// The names with this beginning.
Range rangeOf(const Names& names, std::string_view start) {
    const auto cut = [&](const std::string& name) {
        return std::string_view(name).substr(0, start.size());
    };
    const auto begin = std::lower_bound(
        names.begin(), names.end(), start,
        [&](const std::string& name, std::string_view text) { return cut(name) < text; });
    const auto end = std::upper_bound(
        begin, names.end(), start,
        [&](std::string_view text, const std::string& name) { return text < cut(name); });
    return {begin, end};
}

std::string backward(std::string_view text) { return {text.rbegin(), text.rend()}; }

/// A link that leads nowhere is as good as no file.
bool isThere(const fs::directory_entry& entry) {
    std::error_code error;
    return !entry.is_symlink(error) || fs::exists(entry.path(), error);
}

bool meansNoFolder(const std::error_code& error) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

}  // namespace

FolderList::FolderList(const std::string& folder) {
    std::error_code error;
    fs::directory_iterator entry(folder.empty() ? "." : folder, error);
    while (!error && entry != fs::directory_iterator()) {
        if (isThere(*entry)) fNames.push_back(entry->path().filename().string());
        entry.increment(error);
    }
    if (error && !meansNoFolder(error)) fProblem = systemMessage(error.value());
    std::sort(fNames.begin(), fNames.end());
    fBackward.reserve(fNames.size());
    for (const std::string& name : fNames) fBackward.push_back(backward(name));
    std::sort(fBackward.begin(), fBackward.end());
}

bool FolderList::has(std::string_view name) const {
    return std::binary_search(fNames.begin(), fNames.end(), name, std::less<>());
}

void FolderList::visit(std::string_view start, std::string_view end,
                       const std::function<void(const std::string&)>& visit) const {
    const Range forth = rangeOf(fNames, start);
    const Range back = rangeOf(fBackward, backward(end));
    if (forth.size() <= back.size())
        std::for_each(forth.begin, forth.end, visit);
    else
        std::for_each(back.begin, back.end,
                      [&](const std::string& name) { visit(backward(name)); });
}

const FolderList& FolderLists::of(const std::string& folder) {
    std::unique_lock<std::mutex> lock(fMutex);
    Entry& entry = fEntries[folder];
    lock.unlock();
    std::call_once(entry.once, [&] { entry.list = std::make_unique<FolderList>(folder); });
    return *entry.list;
}

}  // namespace orbo::Quilmeta
