// Commands that are programs of their own.
// SPDX-License-Identifier: Apache-2.0
#include "process/ExternalCommand.h"

#include "process/CommandError.h"
#include "process/Messages.h"

#include <sys/auxv.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

bool isPlain(const std::string& name) {
    return !name.empty() && name.front() != '-' &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '-' || c == '_';
           });
}

/// The folders to look in. An empty entry of the path, which means the current folder, is left out.
std::vector<fs::path> folders() {
    std::vector<fs::path> result;
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (!error) result.push_back(program.parent_path());
    const char* variable = std::getenv("PATH");
    for (std::string_view path = variable ? variable : ""; !path.empty();) {
        const size_t end = std::min(path.find(':'), path.size());
        if (end > 0) result.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return result;
}

}  // namespace

void becomeExternalCommand(const std::string& name, char** wordsBehind) {
    if (!isPlain(name) || ::getauxval(AT_SECURE) != 0) return;
    for (const fs::path& folder : folders()) {
        std::string program = (folder / ("quilmeta-" + name)).string();
        std::error_code error;
        if (!fs::is_regular_file(program, error) || ::access(program.c_str(), X_OK) != 0) continue;
        std::vector<char*> words{program.data()};
        while (*wordsBehind) words.push_back(*wordsBehind++);
        words.push_back(nullptr);
        std::signal(SIGXFSZ, SIG_DFL);  // a signal that is ignored stays so in the other program
        ::execv(program.c_str(), words.data());
        throw CommandError(program + ": " + systemMessage(errno));
    }
}

}  // namespace orbo::Quilmeta
