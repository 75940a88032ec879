// Plug-ins: shared objects that register kinds of scenes, formats and index types.
// SPDX-License-Identifier: Apache-2.0
#include "process/Plugins.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "values/SafeText.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

constexpr const char* kVariable = "QUILMETA_PLUGINS";

/// Returns the files that the variable lists. A relative path would mean another file in each
/// folder, even one that others may write to.
std::vector<std::string> filesOfEnvironment() {
    const char* value = std::getenv(kVariable);
    std::string rest = value ? value : "";
    std::vector<std::string> files;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(':'), rest.size());
        const std::string file = rest.substr(0, end);
        rest.erase(0, end + 1);
        if (file.empty()) continue;
        if (file.front() != '/')
            throw CommandError(
                fmt::format("{}: {} is not an absolute path", kVariable, inQuotes(file)));
        files.push_back(file);
    }
    return files;
}

/// In a folder with the sticky bit, such as /tmp, only the owner of a file may replace it.
bool othersMayReplaceFilesIn(const struct stat& folder) {
    return (folder.st_mode & S_IWOTH) != 0 && (folder.st_mode & S_ISVTX) == 0;
}

/// Says why the file must not be loaded; empty when it may be. `file` has no symbolic links.
std::string objectionTo(const fs::path& file) {
    struct stat plugin {};
    struct stat folder {};
    if (::stat(file.c_str(), &plugin) != 0 || ::stat(file.parent_path().c_str(), &folder) != 0)
        return systemMessage(errno);
    if (S_ISDIR(plugin.st_mode)) return "is a directory";
    if (!S_ISREG(plugin.st_mode)) return "is not a regular file";
    if ((plugin.st_mode & S_IWOTH) != 0) return "every user may write it";
    if (othersMayReplaceFilesIn(folder)) return "every user may write to its folder";
    const bool isTrusted = plugin.st_uid == 0 || plugin.st_uid == ::geteuid();
    if ((folder.st_mode & S_IWOTH) != 0 && !isTrusted)
        return "another user has put it into a folder that every user may write to";
    return {};
}

/// Returns the reason why the file was not loaded; empty when it was.
std::string load(const std::string& file) {
    std::error_code error;
    const fs::path path = fs::canonical(file, error);
    if (error) return systemMessage(error.value());
    if (std::string objection = objectionTo(path); !objection.empty()) return objection;
    // Never closed: the scenes that it reads and the formats that it registers live on.
    if (::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return {};
    const char* reason = ::dlerror();
    return reason ? reason : "cannot be loaded";
}

}  // namespace

void loadPlugins(const std::vector<std::string>& files) {
    std::vector<std::string> all = filesOfEnvironment();
    all.insert(all.end(), files.begin(), files.end());
    // Set-user-ID programs and the like would run the caller's code with rights of their own.
    if (!all.empty() && ::getauxval(AT_SECURE) != 0)
        throw CommandError("a program with more rights than its caller loads no plug-ins");
    for (const std::string& file : all)
        if (const std::string reason = load(file); !reason.empty())
            throw CommandError(
                fmt::format("the plug-in {} was not loaded: {}", inQuotes(file), reason));
}

}  // namespace orbo::Quilmeta
