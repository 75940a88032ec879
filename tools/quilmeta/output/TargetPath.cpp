// Where the bytes go that a user asks to write to a path.
// SPDX-License-Identifier: Apache-2.0
#include "output/TargetPath.h"

#include "process/CommandError.h"
#include "values/SafeText.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

// A number of six digits is beyond what systems allow, and would overflow before long.
std::optional<int> descriptorNamed(const std::string& path) {
    if (path == "/dev/stdout") return STDOUT_FILENO;
    if (path == "/dev/stderr") return STDERR_FILENO;
    for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
        if (path.compare(0, folder.size(), folder) != 0) continue;
        const std::string digits = path.substr(folder.size());
        const bool isNumber = !digits.empty() && digits.size() < 6 &&
                              digits.find_first_not_of("0123456789") == digits.npos;
        if (isNumber) return std::stoi(digits);
    }
    return {};
}

std::string behindLinks(const std::string& path) {
    constexpr int kMostLinks = 40;  // the limit of the kernel; links may lead in circles
    std::error_code error;
    fs::path target = path;
    for (int i = 0; i < kMostLinks; ++i) {
        if (descriptorNamed(target.string())) return target.string();
        if (!fs::is_symlink(target, error)) break;
        target = target.parent_path() / fs::read_symlink(target, error);
    }
    if (target != path && !fs::exists(target, error))
        throw CommandError(inQuotes(path) + " is a symbolic link that leads nowhere");
    return target.string();
}

int rename(const std::string& from, const std::string& to, Rename how) {
#ifdef RENAME_EXCHANGE
    const unsigned flags = how == Rename::kExchange ? RENAME_EXCHANGE : RENAME_NOREPLACE;
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags) == 0) return 0;
    // File systems answer EINVAL to flags that they do not know.
    if (errno == EINVAL) errno = ENOSYS;
#else
    static_cast<void>(from), static_cast<void>(to), static_cast<void>(how);
    errno = ENOSYS;
#endif
    return -1;
}

}  // namespace orbo::Quilmeta
