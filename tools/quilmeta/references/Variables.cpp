// Variables in paths, and the home folders that "~" stands for.
// SPDX-License-Identifier: Apache-2.0
#include "references/Variables.h"

#include "process/CommandError.h"
#include "references/NamePattern.h"
#include "values/SafeText.h"

#include <fmt/format.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace orbo::Quilmeta {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }

/// The name that the text begins with; empty when it begins with none.
std::string_view nameAt(std::string_view text) {
    if (text.empty() || !isLetter(text[0])) return {};
    const auto end = std::find_if_not(text.begin(), text.end(),
                                      [](char c) { return isLetter(c) || isDigit(c); });
    return text.substr(0, static_cast<size_t>(end - text.begin()));
}

/// "F", "F4": the frame, not a variable.
bool isFrameName(std::string_view name) {
    return !name.empty() && name[0] == 'F' && std::all_of(name.begin() + 1, name.end(), isDigit);
}

/// The home folder in the list of users; of whoever runs the process when `user` is empty.
std::optional<std::string> listedHome(const std::string& user) {
    constexpr size_t kMost = size_t{1} << 16;
    std::vector<char> texts(kMost);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (user.empty())
        ::getpwuid_r(::geteuid(), &entry, texts.data(), texts.size(), &found);
    else
        ::getpwnam_r(user.c_str(), &entry, texts.data(), texts.size(), &found);
    if (!found || !found->pw_dir) return {};
    return std::string(found->pw_dir);
}

}  // namespace

void Variables::define(const std::string& definition) {
    const size_t end = definition.find('=');
    const std::string name = definition.substr(0, end);
    if (end == definition.npos || name.empty() || nameAt(name) != name)
        throw UsageError(fmt::format("--define takes NAME=VALUE, not {}", inQuotes(definition)));
    fDefinitions[name] = definition.substr(end + 1);
}

Variables::Expanded Variables::expand(std::string_view path) const {
    Expanded result;
    for (size_t at = expandHome(path, result); at < path.size();) {
        const std::string_view rest = path.substr(at);
        const Found found = variableAt(rest);
        const size_t length = std::max<size_t>(found.length, rest.substr(0, 2) == "$$" ? 2 : 1);
        const auto value = found.length > 0 ? valueOf(found.name) : std::nullopt;
        result.text += value ? std::string_view(*value) : rest.substr(0, length);
        auto& undefined = result.undefined;
        if (found.length > 0 && !value &&
            std::find(undefined.begin(), undefined.end(), found.name) == undefined.end())
            undefined.push_back(found.name);
        at += length;
    }
    return result;
}

std::optional<std::string> Variables::valueOf(const std::string& name) const {
    const auto defined = fDefinitions.find(name);
    if (defined != fDefinitions.end()) return defined->second;
    // Nothing in this process changes its environment.
    const char* value = std::getenv(name.c_str());  // NOLINT(concurrency-mt-unsafe)
    return value ? std::optional<std::string>(value) : std::nullopt;
}

Variables::Found Variables::variableAt(std::string_view text) const {
    if (text[0] == '%') return percentVariableAt(text);
    if (text[0] != '$') return {};
    const bool braced = text.substr(0, 2) == "${";
    const std::string name(nameAt(text.substr(braced ? 2 : 1)));
    if (name.empty() || (isFrameName(name) && fDefinitions.count(name) == 0)) return {};
    if (!braced) return {name, name.size() + 1};
    const size_t end = name.size() + 2;
    if (end >= text.size() || text[end] != '}') return {};
    return {name, end + 1};
}

// The second "%" of "%d_%04d" begins a frame. It ends a variable of the name "d_" only where there
// is one.
Variables::Found Variables::percentVariableAt(std::string_view text) const {
    const std::string name(nameAt(text.substr(1)));
    const size_t end = name.size() + 1;
    if (name.empty() || end >= text.size() || text[end] != '%') return {};
    const bool mayBeFrames = frameTokenLength(text) > 0 && frameTokenLength(text.substr(end)) > 0;
    if (mayBeFrames && !valueOf(name)) return {};
    return {name, end + 1};
}

/// Returns how much of the path is done.
size_t Variables::expandHome(std::string_view path, Expanded& result) const {
    if (path.empty() || path[0] != '~') return 0;
    const size_t end = std::min(path.find('/'), path.size());
    const std::string user(path.substr(1, end - 1));
    const auto home = homeOf(user);
    if (!home) {
        result.unknownUser = user;
        return 0;
    }
    result.text = *home;
    return end;
}

std::optional<std::string> Variables::homeOf(const std::string& user) const {
    if (!user.empty()) return listedHome(user);
    const auto home = valueOf("HOME");
    return home && !home->empty() ? home : listedHome(user);
}

}  // namespace orbo::Quilmeta
